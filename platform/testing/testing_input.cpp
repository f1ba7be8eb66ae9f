// SPDX-License-Identifier: MIT
// The functions of testing.h that send keys and mouse events to a window.
#include "platform/testing/testing.h"

#include "platform/qt/display.h"
#include "platform/qt/qt_framewnd.h"
#include "platform/qt/qt_view.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

// An internal function of Qt. Offers a key to the shortcuts first, as Qt does with keys from the display.
extern bool qt_sendShortcutOverrideEvent(QObject* object, ulong timestamp, int key,
                                         Qt::KeyboardModifiers modifiers, const QString& text, bool repeated,
                                         ushort count);

namespace
{
constexpr Qt::Key kQtKeys[] = {
    Qt::Key_Left,     Qt::Key_Right, Qt::Key_Up,  Qt::Key_Down,  Qt::Key_PageUp,
    Qt::Key_PageDown, Qt::Key_Home,  Qt::Key_End, Qt::Key_Escape}; // in the order of TestKey

// Qt's coordinates of a device pixel of the client area. ToDevicePixels converts them back to the same pixel.
struct MousePlace {
    QPointF local;
    QPointF scene;
    QPointF global;
};

MousePlace PlaceOf(ViewWidget* view, CPoint point)
{
    const double ratio = view->devicePixelRatioF();
    const CRect rect = view->DeviceRect();
    const QPointF scene((rect.left + point.x) / ratio, (rect.top + point.y) / ratio);
    return {scene - QPointF(view->mapTo(view->window(), QPoint(0, 0))), scene,
            scene + QPointF(view->window()->mapToGlobal(QPoint(0, 0)))};
}

void SendMouseEvent(ViewWidget* view, QEvent::Type type, CPoint point, Qt::MouseButton button,
                    Qt::MouseButtons buttons)
{
    if (!view)
        return;
    const MousePlace place = PlaceOf(view, point);
    QMouseEvent event(type, place.local, place.scene, place.global, button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &event);
}

Qt::MouseButtons g_buttons = Qt::NoButton;
} // namespace

void PressKey(CWnd& window, TestKey key, bool control, int times)
{
    ViewWidget* view = ViewOf(&window);
    for (int i = 0; view && i < times; ++i) {
        const Qt::KeyboardModifiers modifiers = control ? Qt::ControlModifier : Qt::NoModifier;
        const QString text = key == TestKey::escape ? QStringLiteral("\x1b") : QString();
        QKeyEvent press(QEvent::KeyPress, kQtKeys[static_cast<size_t>(key)], modifiers, text, i > 0);
        QCoreApplication::sendEvent(view, &press);
    }
}

void PressAccelerator(CWnd& window, const char* keys)
{
    const QKeySequence wanted(QString::fromLatin1(keys));
    FrameWidget* const frame = FrameOf(&window);
    if (!frame || wanted.isEmpty())
        return;
    if (!frame->isActiveWindow())
        ActivateByUser(window);
    qt_sendShortcutOverrideEvent(frame, 0, wanted[0].key(), wanted[0].keyboardModifiers(), QString(), false,
                                 1);
}

void LeaveWithMouse(CWnd& window)
{
    QEvent event(QEvent::Leave);
    if (ViewWidget* view = ViewOf(&window))
        QCoreApplication::sendEvent(view, &event);
}

void MoveMouse(CWnd& window, CPoint point)
{
    SendMouseEvent(ViewOf(&window), QEvent::MouseMove, point, Qt::NoButton, g_buttons);
}

namespace
{
Qt::MouseButton ButtonOf(bool right)
{
    return right ? Qt::RightButton : Qt::LeftButton;
}

void Press(ViewWidget* view, CPoint point, Qt::MouseButton button,
           QEvent::Type type = QEvent::MouseButtonPress)
{
    g_buttons |= button;
    SendMouseEvent(view, type, point, button, g_buttons);
}

void Release(ViewWidget* view, CPoint point, Qt::MouseButton button)
{
    g_buttons &= ~Qt::MouseButtons(button);
    SendMouseEvent(view, QEvent::MouseButtonRelease, point, button, g_buttons);
}
} // namespace

void PressMouse(CWnd& window, CPoint point, bool right)
{
    Press(ViewOf(&window), point, ButtonOf(right));
}

void ReleaseMouse(CWnd& window, CPoint point, bool right)
{
    Release(ViewOf(&window), point, ButtonOf(right));
}

void DoubleClick(CWnd& window, CPoint point, bool right)
{
    const QPointer<ViewWidget> view(ViewOf(&window)); // any of the four events may destroy the window
    Press(view, point, ButtonOf(right));
    Release(view, point, ButtonOf(right));
    Press(view, point, ButtonOf(right), QEvent::MouseButtonDblClick);
    Release(view, point, ButtonOf(right));
}

void ClickXButton(CWnd& window, CPoint point, XButton button, int times)
{
    const QPointer<ViewWidget> view(ViewOf(&window)); // any of the events may destroy the window
    const Qt::MouseButton pressed = button == XBUTTON1 ? Qt::BackButton : Qt::ForwardButton;
    for (int i = 0; i < times; ++i) {
        Press(view, point, pressed, i % 2 ? QEvent::MouseButtonDblClick : QEvent::MouseButtonPress);
        Release(view, point, pressed);
    }
}

void TurnWheel(CWnd& window, int angle_x, int angle_y, bool shift, CPoint pixels)
{
    ViewWidget* view = ViewOf(&window);
    if (!view)
        return;
    const MousePlace place = PlaceOf(view, {1, 1});
    QWheelEvent event(place.local, place.global, QPoint(pixels.x, pixels.y), QPoint(angle_x, angle_y),
                      Qt::NoButton, shift ? Qt::ShiftModifier : Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(view, &event);
}
