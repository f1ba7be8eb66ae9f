// SPDX-License-Identifier: MIT
// The display: its kind, its screens, and the conversion of Qt's logical units to device pixels.
#pragma once

#include <QRect>
#include <QSize>

struct xcb_connection_t;

// Converts Qt's logical units to device pixels, rounded to nearest, halves up, as Qt does when it places
// widgets.
[[nodiscard]] int ToDevicePixels(double logical, double ratio);

[[nodiscard]] bool IsWayland();
[[nodiscard]] xcb_connection_t* XConnection(); // null if the display is not X11

// Returns the size of all screens together, in device pixels. No window needs to be larger.
[[nodiscard]] QSize AllScreens();

// Returns true if a part of the rectangle, in logical units, is on a screen.
[[nodiscard]] bool IsOnAScreen(const QRect& rect);
