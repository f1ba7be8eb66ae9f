// SPDX-License-Identifier: MIT
// The operations of windows that use Qt.
#include "platform/qt/qt_wnd.h"

#include "platform/qt/display.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_dialog.h"
#include "platform/qt/qt_framewnd.h"
#include "platform/qt/qt_view.h"
#include "platform/qt/queue.h"

WindowPeer::~WindowPeer() = default;

// In a title, "[*]" is Qt's placeholder for the sign of a modified document. Qt shows "[*][*]" as "[*]".
QString WindowPeer::Text() const
{
    return Widget() ? Widget()->windowTitle().replace(QLatin1String("[*][*]"), QLatin1String("[*]"))
                    : QString();
}

void WindowPeer::SetText(const QString& text)
{
    if (Widget())
        Widget()->setWindowTitle(QString(text).replace(QLatin1String("[*]"), QLatin1String("[*][*]")));
}

CWnd::CWnd() = default;

CWnd::~CWnd()
{
    ReleasePeer();
}

void CWnd::ReleasePeer()
{
    Queue::Get().Forget(this);
    m_peer.reset();
}

bool CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (!IsWindow())
        return false;
    Queue::Get().Post(this, message, wParam, lParam);
    return true;
}

void CWnd::SetTimer(UINT id, UINT milliseconds)
{
    if (IsWindow())
        Queue::Get().SetTimer(this, id, milliseconds);
}

void CWnd::KillTimer(UINT id)
{
    Queue::Get().KillTimer(this, id);
}

CRect CWnd::GetClientRect() const
{
    if (const ViewWidget* view = ViewOf(this))
        return {0, 0, view->ClientWidth(), view->ClientHeight()};
    const FrameWidget* frame = FrameOf(this);
    if (!frame)
        return {};
    const QSize size = frame->centralWidget() ? frame->centralWidget()->size() : frame->size();
    const double ratio = frame->devicePixelRatioF();
    return {0, 0, ToDevicePixels(size.width(), ratio), ToDevicePixels(size.height(), ratio)};
}

void CWnd::Invalidate(bool erase)
{
    InvalidateRect(GetClientRect(), erase);
}

void CWnd::InvalidateRect(const CRect& rect, bool)
{
    if (ViewWidget* view = ViewOf(this))
        view->Invalidate(rect);
}

void CWnd::UpdateWindow()
{
    ViewWidget* view = ViewOf(this);
    if (view && view->NeedsPaint())
        Queue::Get().PaintNow(view);
    else if (auto* control = PeerOf<ControlPeer>(this); control && control->Widget())
        control->Widget()->repaint();
}

void CWnd::ScrollWindow(int dx, int dy)
{
    if (ViewWidget* view = ViewOf(this))
        view->Scroll(dx, dy);
}

void CWnd::GetScrollRange(int bar, int* minimum, int* maximum) const
{
    const PaneWidget* pane = PaneOf(this);
    *minimum = 0;
    *maximum = pane ? pane->Range(bar) : 0;
}

int CWnd::GetScrollPos(int bar) const
{
    const PaneWidget* pane = PaneOf(this);
    return pane ? pane->Position(bar) : 0;
}

int CWnd::SetScrollPos(int bar, int position, bool)
{
    PaneWidget* pane = PaneOf(this);
    if (!pane)
        return 0;
    const int old = pane->Position(bar);
    pane->SetPosition(bar, position);
    return old;
}

// While a mouse button is down, Qt sends mouse events to the widget in which it was pressed, even if the
// pointer is outside. So there is nothing to do.
void CWnd::SetCapture() {}
void CWnd::ReleaseCapture() {}

void CWnd::SetWindowText(const CString& text)
{
    if (m_peer && m_peer->Text() != ToQString(text))
        m_peer->SetText(ToQString(text));
}

CString CWnd::GetWindowText() const
{
    return m_peer ? FromQString(m_peer->Text()) : CString{};
}

void CWnd::SetAccessibleName(const CString& name)
{
    if (QWidget* widget = m_peer ? m_peer->Widget() : nullptr)
        widget->setAccessibleName(ToQString(name));
}

bool CWnd::ShowWindow(int command)
{
    QWidget* widget = m_peer ? m_peer->Widget() : nullptr;
    if (!widget)
        return false;
    const bool was_visible = widget->isVisible();
    FrameWidget* const frame = FrameOf(this);
    const bool is_too_large = frame && !was_visible && frame->IsTooLarge();
    switch (command) {
    case SW_HIDE: widget->hide(); break;
    case SW_SHOWMINIMIZED: widget->showMinimized(); break;
    default:
        if (frame && command != SW_SHOW)
            frame->ForgetRestoring();
        if (is_too_large)
            frame->ShowInsteadMaximized();
        else if (command == SW_SHOWMAXIMIZED)
            widget->showMaximized();
        else if (command == SW_SHOWNORMAL)
            widget->showNormal();
        else
            widget->show();
        break;
    }
    return was_visible;
}

bool CWnd::IsIconic() const
{
    const QWidget* widget = m_peer ? m_peer->Widget() : nullptr;
    return widget && widget->isMinimized();
}

bool CWnd::IsZoomed() const
{
    const QWidget* widget = m_peer ? m_peer->Widget() : nullptr;
    return widget && widget->isMaximized();
}

bool CWnd::IsWindowVisible() const
{
    const QWidget* widget = m_peer ? m_peer->Widget() : nullptr;
    return widget && widget->isVisible();
}

void CWnd::BringWindowToTop()
{
    if (QWidget* widget = m_peer ? m_peer->Widget() : nullptr) {
        widget->raise();
        widget->activateWindow();
    }
    // Even if the frame is active already. A box may open before the frame becomes active.
    if (FrameWidget* frame = FrameOf(this))
        frame->Activated();
}

void CWnd::MoveWindow(const CRect& rect, bool)
{
    if (FrameWidget* frame = FrameOf(this))
        frame->PlaceFrame(rect);
}

WindowPlacement CWnd::GetWindowPlacement() const
{
    WindowPlacement placement;
    if (const FrameWidget* frame = FrameOf(this)) {
        placement.show_command = frame->IsMaximizedOrWas() ? SW_SHOWMAXIMIZED
                                 : frame->isMinimized()    ? SW_SHOWMINIMIZED
                                                           : SW_SHOWNORMAL;
        placement.normal_position = frame->NormalFrame();
    }
    return placement;
}

void CWnd::DragAcceptFiles(bool accept)
{
    if (QWidget* widget = m_peer ? m_peer->Widget() : nullptr)
        widget->setAcceptDrops(accept);
}
