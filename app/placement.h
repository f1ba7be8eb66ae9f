// SPDX-License-Identifier: MIT
// Converts the place of the main window on the screen to a text for the settings, and back.
#pragma once

#include "platform/cstring.h"
#include "platform/types.h"

#include <optional>

// Returns a rectangle as a text "left top right bottom".
[[nodiscard]] CString FormatPlacement(const CRect& rect);
// Reads a rectangle from such a text. Returns nothing if the text does not begin with four numbers, or if a
// side of the rectangle is below 1 or above INT32_MAX.
[[nodiscard]] std::optional<CRect> ParsePlacement(const CString& text);
