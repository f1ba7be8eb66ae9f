// Moves pixels of a widget that are on the screen already. The display copies them inside the window, which
// costs a fraction of sending them again. Only on X11.
#pragma once

#include <QPoint>
#include <QRect>
#include <cstdint>
#include <functional>

class QWidget;

class ScreenMove
{
public:
    // Calls `exposed` if the display has lost pixels of the widget's window or shows them for the first time.
    // All pixels of the widget must then be sent again: Qt's backing store does not have the moved ones.
    ScreenMove(const QWidget* widget, std::function<void()> exposed);
    ScreenMove(const ScreenMove&) = delete;
    ScreenMove& operator=(const ScreenMove&) = delete;
    ~ScreenMove();

    // Moves the pixels of `area`, in device pixels of the top-level window, by `by`. Those that would leave the
    // area are dropped. The uncovered pixels are unchanged. Returns false if nothing was moved: the platform is
    // not X11, the scale factor is not a whole number, or pixels were missing lately, because another window
    // covered them.
    bool Move(const QRect& area, QPoint by);

private:
    friend class ExposureFilter;
    void Exposed(bool missing);

    const QWidget* m_widget;
    std::function<void()> m_exposed;
    uint32_t m_window = 0;  // for which m_context was created
    uint32_t m_context = 0; // graphics context
    int m_pause = 0;        // moves that are refused yet
};
