// SPDX-License-Identifier: MIT
// The input of a view. Receives Qt's events of keys, pointer, wheel and focus. Sends them to the CView as
// messages, and keys through the queue.
#include "platform/framewnd.h"
#include "platform/qt/display.h"
#include "platform/qt/queue.h"
#include "platform/qt/viewwidget.h"
#include "platform/resources.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <utility>

namespace
{
constexpr int kWheelStep = 48;   // device pixels per notch
constexpr int kWheelNotch = 120; // Qt's count for one notch

UINT KeyFor(int key)
{
    switch (key) {
    case Qt::Key_Left: return VK_LEFT;
    case Qt::Key_Right: return VK_RIGHT;
    case Qt::Key_Up: return VK_UP;
    case Qt::Key_Down: return VK_DOWN;
    case Qt::Key_PageUp: return VK_PRIOR;
    case Qt::Key_PageDown: return VK_NEXT;
    case Qt::Key_Home: return VK_HOME;
    case Qt::Key_End: return VK_END;
    case Qt::Key_Escape: return VK_ESCAPE;
    default: return 0;
    }
}

UINT FlagsOf(const QMouseEvent* event)
{
    UINT flags = 0;
    if (event->buttons() & Qt::LeftButton)
        flags |= MK_LBUTTON;
    if (event->buttons() & Qt::RightButton)
        flags |= MK_RBUTTON;
    if (event->modifiers() & Qt::ShiftModifier)
        flags |= MK_SHIFT;
    if (event->modifiers() & Qt::ControlModifier)
        flags |= MK_CONTROL;
    if (event->button() == Qt::BackButton)
        flags |= XBUTTON1 << 16;
    else if (event->button() == Qt::ForwardButton)
        flags |= XBUTTON2 << 16;
    return flags;
}
} // namespace

QPointer<ViewWidget> ViewWidget::s_pointerView;

void ViewWidget::SetShape(CursorShape shape)
{
    m_shapeSet = true;
    const Qt::CursorShape wanted =
        shape == CursorShape::fourHeadedArrow ? Qt::SizeAllCursor : Qt::ArrowCursor;
    if (cursor().shape() != wanted)
        setCursor(wanted);
}

void SetCursor(CursorShape shape)
{
    if (ViewWidget* const view = ViewWidget::PointerView())
        view->SetShape(shape);
}

void ViewWidget::keyPressEvent(QKeyEvent* event)
{
    const UINT key = KeyFor(event->key());
    const QString text = event->text();
    const UINT character = text.size() == 1 ? text[0].unicode() : 0;
    if (!m_owner || (key == 0 && character == 0)) {
        QWidget::keyPressEvent(event);
        return;
    }
    Queue::Get().AddKey(m_owner, key, character, event->modifiers() & Qt::ControlModifier);
}

void ViewWidget::PointerMessage(UINT message, WPARAM flags, CPoint point)
{
    if (!m_owner)
        return;
    Queue::Get().DispatchKeys();
    if (!m_owner)
        return;
    m_shapeSet = false;
    const QPointer<ViewWidget> self(this);
    const QPointer<ViewWidget> before = std::exchange(s_pointerView, self);
    m_owner->SendMessage(message, flags, PackPoint(point.x, point.y));
    if (!self || !m_owner)
        return;
    s_pointerView = before;
    if (!m_shapeSet && cursor().shape() != Qt::ArrowCursor)
        unsetCursor();
    Queue::Get().InputHandled();
}

void ViewWidget::SendMouse(UINT message, QMouseEvent* event)
{
    SetControlState(event->modifiers() & Qt::ControlModifier);
    const double ratio = devicePixelRatioF();
    const CRect rect = DeviceRect();
    const QPointF scene = event->scenePosition();
    PointerMessage(
        message, FlagsOf(event),
        {ToDevicePixels(scene.x(), ratio) - rect.left, ToDevicePixels(scene.y(), ratio) - rect.top});
}

void ViewWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        SendMouse(WM_LBUTTONDOWN, event);
    else if (event->button() == Qt::RightButton)
        SendMouse(WM_RBUTTONDOWN, event);
    else if (event->button() == Qt::BackButton || event->button() == Qt::ForwardButton)
        SendMouse(WM_XBUTTONDOWN, event);
}

void ViewWidget::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        SendMouse(WM_LBUTTONUP, event);
    else if (event->button() == Qt::RightButton)
        SendMouse(WM_RBUTTONUP, event);
}

void ViewWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        SendMouse(WM_LBUTTONDBLCLK, event);
    else if (event->button() == Qt::RightButton)
        SendMouse(WM_RBUTTONDBLCLK, event);
    else
        mousePressEvent(event); // the other buttons have no double clicks
}

void ViewWidget::mouseMoveEvent(QMouseEvent* event)
{
    SendMouse(WM_MOUSEMOVE, event);
}

void ViewWidget::leaveEvent(QEvent* event)
{
    QWidget::leaveEvent(event);
    PointerMessage(WM_MOUSELEAVE, 0, {});
}

void ViewWidget::wheelEvent(QWheelEvent* event)
{
    event->accept();
    Wheel(event);
}

void ViewWidget::Wheel(const QWheelEvent* event)
{
    QPoint move; // in 120ths of a device pixel
    // Pixel deltas are used only on Wayland. On X11 Qt computes them, and the result depends on the driver.
    if (IsWayland() && !event->pixelDelta().isNull())
        move = event->pixelDelta() * kWheelNotch;
    else
        move = event->angleDelta() * kWheelStep;
    if (event->modifiers() & Qt::ShiftModifier)
        move = move.transposed();
    m_wheelRest -= move; // turning the wheel up or left moves to lower positions
    const QPoint whole(m_wheelRest.x() / kWheelNotch, m_wheelRest.y() / kWheelNotch);
    m_wheelRest -= whole * kWheelNotch;
    if (!whole.isNull())
        PointerMessage(WM_MOUSEWHEEL, 0, {whole.x(), whole.y()});
}

void ViewWidget::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    if (CFrameWnd* frame = m_owner ? m_owner->GetParentFrame() : nullptr)
        frame->SetActiveView(m_owner);
}
