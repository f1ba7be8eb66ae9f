// SPDX-License-Identifier: MIT
// The place of a frame on the screen: position, size, and the full screen. Requests a place from the window
// manager, and compares it with the place that the window manager reports.
#include "platform/qt/display.h"
#include "platform/qt/framewidget.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
// Returns the smallest number of logical units that covers the device pixels.
int CoveringUnits(int64_t device_pixels, double ratio)
{
    // ToDevicePixels rounds its result. So the result for a whole number of units may be up to half a pixel
    // too large, and must still convert back to this number.
    constexpr double kRounding = 0.5;
    return static_cast<int>(std::ceil((static_cast<double>(device_pixels) - kRounding) / ratio));
}

int ToLogical(int device_pixels, double ratio)
{
    return static_cast<int>(std::floor(device_pixels / ratio + 0.5));
}
} // namespace

CRect FrameWidget::FrameToDevice() const
{
    const double ratio = devicePixelRatioF();
    const QRect frame = frameGeometry();
    return {ToDevicePixels(frame.left(), ratio), ToDevicePixels(frame.top(), ratio),
            ToDevicePixels(frame.left() + frame.width(), ratio),
            ToDevicePixels(frame.top() + frame.height(), ratio)};
}

void FrameWidget::PlaceFrame(const CRect& rect)
{
    const double ratio = devicePixelRatioF();
    const QScreen* const screen = QGuiApplication::primaryScreen();
    QRect wanted = screen ? screen->geometry() : QRect(QPoint(0, 0), kLeastSize);
    // The settings may contain any numbers. So the size is limited to that of all screens together. A place
    // that is on no screen is not used.
    const QSize most = screen ? screen->virtualSize() : wanted.size();
    const QRect bounded(QPoint(ToLogical(rect.left, ratio), ToLogical(rect.top, ratio)),
                        QSize(CoveringUnits(int64_t{rect.right} - rect.left, ratio),
                              CoveringUnits(int64_t{rect.bottom} - rect.top, ratio))
                            .boundedTo(most));
    if (IsOnAScreen(bounded))
        wanted = bounded;
    m_wanted = {ToDevicePixels(wanted.left(), ratio), ToDevicePixels(wanted.top(), ratio),
                ToDevicePixels(wanted.left() + wanted.width(), ratio),
                ToDevicePixels(wanted.top() + wanted.height(), ratio)};
    m_normal = m_wanted;
    if (isVisible()) // then the margins are known
        m_wanted = {};
    const QSize margins = frameGeometry().size() - size();
    resize(wanted.size() - margins);
    if (!IsWayland()) // on Wayland a program cannot place its windows
        move(wanted.topLeft());
}

bool FrameWidget::IsTooLarge() const
{
    return IsWayland() && screen() && width() >= screen()->geometry().width() &&
           height() >= screen()->geometry().height();
}

// If the user later ends the maximised state, the window has three quarters of the size of the screen.
void FrameWidget::ShowInsteadMaximized()
{
    m_wanted = {};
    resize(screen()->geometry().size() * 3 / 4);
    showMaximized();
}

void FrameWidget::PlaceClient(CPoint corner, CSize client)
{
    m_wanted = {};
    const QSize most = AllScreens();
    client = {std::min(client.cx, most.width()), std::min(client.cy, most.height())};
    m_wantedClient = client;
    setMinimumSize(1, 1);
    const double ratio = devicePixelRatioF();
    resize(std::max(1, CoveringUnits(client.cx, ratio)), std::max(1, CoveringUnits(client.cy, ratio)));
    if (!IsWayland())
        move(ToLogical(corner.x, ratio), ToLogical(corner.y, ratio));
}

// Size hints may have made the client area a pixel too small. If so, requests one more logical pixel. This is
// done only once.
void FrameWidget::MatchClient()
{
    if (m_wantedClient.cx == 0 && m_wantedClient.cy == 0)
        return;
    const CSize wanted = std::exchange(m_wantedClient, {});
    const double ratio = devicePixelRatioF();
    const auto grown = [ratio](int shown, int device_pixels) {
        const int covering = CoveringUnits(device_pixels, ratio);
        return ToDevicePixels(shown, ratio) < device_pixels && shown + 1 >= covering ? covering + 1 : shown;
    };
    const QSize size_wanted(grown(width(), wanted.cx), grown(height(), wanted.cy));
    if (size_wanted != size())
        resize(size_wanted);
}

void FrameWidget::MatchPlace()
{
    if (m_wanted.IsEmpty() || m_fullScreen ||
        (windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen | Qt::WindowMinimized)))
        return;
    const double ratio = devicePixelRatioF();
    const QSize wanted(CoveringUnits(m_wanted.Width(), ratio), CoveringUnits(m_wanted.Height(), ratio));
    m_wanted = {};
    const QSize margins = frameGeometry().size() - size();
    if (!margins.isNull() && size() + margins != wanted)
        resize(wanted - margins);
    RecordPlace();
}

// The margins are known now. The window manager may still correct the size.
void FrameWidget::Shown()
{
    MatchPlace();
    if (m_wantedClient.cx != 0 || m_wantedClient.cy != 0)
        m_settle.start();
}

// A window that is maximised from the start has its margins only after the maximised state ends. Several
// events report this, in an order that depends on the window manager. So the place is matched after the last
// of them.
void FrameWidget::MatchPlaceSoon()
{
    if (isVisible() && !m_placing && !m_wanted.IsEmpty())
        m_settle.start();
}

void FrameWidget::RecordPlace()
{
    if (isVisible() && m_wanted.IsEmpty() && !m_fullScreen &&
        !(windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen | Qt::WindowMinimized)))
        m_normal = FrameToDevice();
}

void FrameWidget::ShowFullScreen(bool on)
{
    if (on == m_fullScreen)
        return;
    if (on && !m_restoring)
        m_wasMaximized = isMaximized();
    m_restoring = !on;
    m_stateRetries = 1;
    SetFullScreen(on);
    SetFullScreenState();
}

void FrameWidget::SetFullScreen(bool on)
{
    m_fullScreen = on;
    if (!on)
        m_wanted = m_normal; // as at the start, size and margins arrive by several events
    if (QWidget* const menu = menuWidget())
        menu->setVisible(!on);
    for (QShortcut* const key : m_fullScreenKeys)
        key->setEnabled(on);
}

// A window manager may report other states before the requested one. For example, a window that becomes
// maximised may first be a normal one. A request during this time may be lost. So MatchFullScreen checks the
// state when no more reports arrive.
void FrameWidget::SetFullScreenState()
{
    if (m_fullScreen)
        setWindowState(windowState() | Qt::WindowFullScreen);
    else
        setWindowState(m_wasMaximized ? Qt::WindowMaximized : Qt::WindowNoState);
    m_settle.start();
}

void FrameWidget::MatchFullScreen()
{
    const bool is_as_requested =
        isFullScreen() == m_fullScreen && (!m_restoring || isMinimized() || isMaximized() == m_wasMaximized);
    if (!is_as_requested && m_stateRetries > 0) {
        --m_stateRetries;
        SetFullScreenState();
        return;
    }
    m_restoring = false;
    m_stateRetries = 0;
    if (isFullScreen() != m_fullScreen) { // the window manager has changed it
        m_wasMaximized = isMaximized();
        SetFullScreen(isFullScreen());
    }
}
