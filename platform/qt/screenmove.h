// SPDX-License-Identifier: MIT
// Moves pixels of a widget that are on the screen already. The display copies them inside the window, which
// takes a fraction of the time of sending them again. Works only on X11. Views use it to scroll.
#pragma once

#include <QPoint>
#include <QRect>
#include <cstdint>
#include <functional>

class QWidget;

class ScreenMove
{
public:
    // Calls `missing` if the display could not move some pixels, because another window covered them. All
    // pixels of the widget must then be sent again.
    ScreenMove(const QWidget* widget, std::function<void()> missing);
    ScreenMove(const ScreenMove&) = delete;
    ScreenMove& operator=(const ScreenMove&) = delete;
    ~ScreenMove();

    // Moves the pixels of `area`, in device pixels of the top-level window, by `by`. Those that would leave
    // the area are dropped. The uncovered pixels are unchanged. Qt's backing store does not have the moved
    // pixels. Returns false if nothing was moved: the platform is not X11, the scale factor is not a whole
    // number, or pixels were missing in one of the last moves.
    [[nodiscard]] bool Move(const QRect& area, QPoint by);

private:
    friend class ExposureFilter;
    void Missing();

    const QWidget* m_widget;
    std::function<void()> m_missing;
    uint32_t m_window = 0;  // the window for which m_context was created
    uint32_t m_context = 0; // graphics context
    int m_pause = 0;        // number of moves that are still refused
};
