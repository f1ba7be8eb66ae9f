// SPDX-License-Identifier: MIT
// Moves pixels with a request of X11 that copies an area of a window. The X server reports with events which
// pixels it could not copy.
#include "platform/qt/screenmove.h"

#include "platform/qt/display.h"

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QWidget>
#include <QWindow>
#include <algorithm>
#include <cmath>
#include <vector>
#include <xcb/xcb.h>

namespace
{
// If a window is partly covered, each move lacks pixels. So after a move that lacked pixels, this number of
// moves is refused. The caller then sends all pixels instead.
constexpr int kPauseAfterMissing = 50;

std::vector<ScreenMove*> g_moves; // of all views
} // namespace

class ExposureFilter : public QAbstractNativeEventFilter
{
public:
    bool nativeEventFilter(const QByteArray& kind, void* message, qintptr*) override
    {
        if (kind != "xcb_generic_event_t")
            return false;
        const auto* const event = static_cast<const xcb_graphics_exposure_event_t*>(message);
        if ((event->response_type & 0x7F) == XCB_GRAPHICS_EXPOSURE) // the top bit says that a client sent it
            for (ScreenMove* const move : g_moves)
                if (move->m_window == event->drawable)
                    move->Missing();
        return false;
    }
};

ScreenMove::ScreenMove(const QWidget* widget, std::function<void()> missing)
    : m_widget(widget), m_missing(std::move(missing))
{
    static ExposureFilter filter;
    QCoreApplication::instance()->installNativeEventFilter(&filter); // only the first call has an effect
    g_moves.push_back(this);
}

ScreenMove::~ScreenMove()
{
    g_moves.erase(std::find(g_moves.begin(), g_moves.end(), this));
    if (m_context != 0)
        if (xcb_connection_t* const connection = XConnection())
            xcb_free_gc(connection, m_context);
}

void ScreenMove::Missing()
{
    m_pause = kPauseAfterMissing;
    m_missing();
}

bool ScreenMove::Move(const QRect& area, QPoint by)
{
    xcb_connection_t* const connection = XConnection();
    const QWindow* const handle = m_widget->window()->windowHandle();
    if (!connection || !handle || handle->surfaceType() != QSurface::RasterSurface)
        return false;
    const auto window = static_cast<xcb_window_t>(m_widget->window()->internalWinId());
    const double ratio = handle->devicePixelRatio();
    // At other scale factors Qt may copy pixels at the edge of an update from its backing store, which does
    // not have the moved pixels.
    if (window == 0 || ratio != std::floor(ratio))
        return false;
    if (m_pause > 0) {
        --m_pause;
        return false;
    }
    const QRect target = area & area.translated(by);
    if (target.isEmpty())
        return true;
    if (m_window != window) {
        if (m_context != 0)
            xcb_free_gc(connection, m_context);
        m_window = window;
        m_context = xcb_generate_id(connection);
        const uint32_t wants_exposures = 1;
        xcb_create_gc(connection, m_context, window, XCB_GC_GRAPHICS_EXPOSURES, &wants_exposures);
    }
    const QRect source = target.translated(-by);
    // The protocol has 16 bits for positions and sizes. No window is larger.
    xcb_copy_area(connection, window, window, m_context, static_cast<int16_t>(source.x()),
                  static_cast<int16_t>(source.y()), static_cast<int16_t>(target.x()),
                  static_cast<int16_t>(target.y()), static_cast<uint16_t>(target.width()),
                  static_cast<uint16_t>(target.height()));
    return true;
}
