// The functions of testing.h, except those for dialogs.
#include "platform/testing/testing.h"

#include "platform/hooks.h"
#include "platform/qt/longwork.h"
#include "platform/qt/peer.h"
#include "platform/qt/qt_run.h"
#include "platform/qt/queue.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QBackingStore>
#include <QCursor>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QUrl>
#include <QWheelEvent>
#include <QWindow>
#include <cmath>
#include <cstring>
#include <unordered_map>

// An internal function of Qt. Offers a key to the shortcuts first, as Qt does with keys from the display.
extern bool qt_sendShortcutOverrideEvent(QObject* object, ulong timestamp, int key,
                                         Qt::KeyboardModifiers modifiers, const QString& text, bool repeated,
                                         ushort count);

class TestApplication::Private
{
public:
    Private(int& argc, char** argv) : application(argc, argv) {}
    QApplication application;
};

TestApplication::TestApplication(int& argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    m_private = std::make_unique<Private>(argc, argv);
    PrepareProcess();
}

TestApplication::~TestApplication() = default;

void StartApplication(CWinApp& app, const CString& command_line)
{
    app.m_lpCmdLine = command_line;
    app.InitInstance();
    PumpUntilIdle();
}

int EndApplication(CWinApp& app)
{
    if (app.m_pMainWnd)
        app.m_pMainWnd->SendMessage(WM_CLOSE);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    SetControlState(false);
    return app.ExitInstance();
}

bool PumpUntil(const std::function<bool()>& condition, int limit_ms)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > limit_ms)
            return false;
        // Without a time limit, this handles one round of events. With a limit it would handle many rounds
        // before the condition is checked again.
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

bool PumpUntilIdle(int limit_ms)
{
    // At least one round, because events from the display may start the work.
    QCoreApplication::processEvents();
    const auto is_idle = [] {
        for (const QWidget* widget : QApplication::topLevelWidgets())
            if (const auto* frame = dynamic_cast<const FrameWidget*>(widget); frame && frame->IsPlacing())
                return false;
        return Queue::Get().IsIdle();
    };
    return PumpUntil(
        [&] {
            if (!is_idle())
                return false;
            QCoreApplication::processEvents(); // the last message may have posted another one
            return is_idle();
        },
        limit_ms);
}

int TimerCount()
{
    return static_cast<int>(QAbstractEventDispatcher::instance()->registeredTimers(&Queue::Get()).size());
}

bool IsWaitCursorShown()
{
    const QCursor* const cursor = QGuiApplication::overrideCursor();
    return cursor && cursor->shape() == Qt::WaitCursor;
}

GrabbedPixels GrabWindow(CWnd& window)
{
    GrabbedPixels grabbed;
    ViewWidget* view = ViewOf(&window);
    if (!view || view->DeviceRect().IsEmpty())
        return grabbed;
    // Handles the copies to the screen that are due and nothing else, then reads Qt's backing store. After a
    // scroll step on X11 the store lacks the pixels that the display has moved.
    QWidget* top = view->window();
    QCoreApplication::sendPostedEvents(top, QEvent::UpdateRequest);
    QBackingStore* store = top->backingStore();
    QPaintDevice* device = store ? store->paintDevice() : nullptr;
    const QImage shown = device && device->devType() == QInternal::Image ? *static_cast<QImage*>(device)
                                                                         : top->grab().toImage();
    const CRect rect = view->DeviceRect();
    const QImage image = shown.copy(QRect(rect.left, rect.top, rect.Width(), rect.Height()) & shown.rect())
                             .convertToFormat(QImage::Format_RGB32);
    grabbed.width = image.width();
    grabbed.height = image.height();
    grabbed.pixels.resize(static_cast<size_t>(image.width()) * static_cast<size_t>(image.height()));
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(grabbed.pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(image.width()),
                    image.constScanLine(y), static_cast<size_t>(image.width()) * sizeof(uint32_t));
    return grabbed;
}

GrabbedPixels CopyBuffer(CWnd& window)
{
    GrabbedPixels copied;
    ViewWidget* view = ViewOf(&window);
    if (!view)
        return copied;
    const PixelBuffer buffer = view->Pixels();
    copied.width = buffer.width;
    copied.height = buffer.height;
    for (int y = 0; y < buffer.height; ++y)
        copied.pixels.insert(copied.pixels.end(), buffer.Row(y), buffer.Row(y) + buffer.width);
    return copied;
}

COLORREF BackgroundOf(const CWnd& window)
{
    const ViewWidget* view = ViewOf(&window);
    return view ? view->Background() : 0;
}

void CallFromLoop(std::function<void()> function)
{
    QMetaObject::invokeMethod(qApp, std::move(function), Qt::QueuedConnection);
}

namespace
{
int ToQtKey(TestKey key)
{
    switch (key) {
    case TestKey::left: return Qt::Key_Left;
    case TestKey::right: return Qt::Key_Right;
    case TestKey::up: return Qt::Key_Up;
    case TestKey::down: return Qt::Key_Down;
    case TestKey::pageUp: return Qt::Key_PageUp;
    case TestKey::pageDown: return Qt::Key_PageDown;
    case TestKey::home: return Qt::Key_Home;
    case TestKey::end: return Qt::Key_End;
    case TestKey::escape: return Qt::Key_Escape;
    }
    return 0;
}

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
        QKeyEvent press(QEvent::KeyPress, ToQtKey(key), modifiers, text, i > 0);
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

void DropFiles(CWnd& window, const std::vector<CString>& paths)
{
    FrameWidget* frame = FrameOf(&window);
    if (!frame || !frame->acceptDrops())
        return;
    QMimeData data;
    QList<QUrl> urls;
    for (const CString& path : paths) {
        const QByteArray bytes(path.c_str(), path.GetLength());
        urls.push_back(QUrl::fromEncoded("file://" + bytes.toPercentEncoding("/")));
    }
    data.setUrls(urls);
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(frame, &enter);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    if (!enter.isAccepted())
        return;
    QCoreApplication::sendEvent(frame, &drop);
    // A drop opens its files after it has ended.
    QCoreApplication::sendPostedEvents(frame, DroppedFilesEvent::kType);
}

void CloseFrame(CWnd& window)
{
    if (FrameWidget* frame = FrameOf(&window))
        frame->close();
}

void ResizeFrame(CWnd& window, CSize client)
{
    if (FrameWidget* frame = FrameOf(&window)) {
        const double ratio = frame->devicePixelRatioF();
        frame->resize(static_cast<int>(std::ceil(client.cx / ratio)),
                      static_cast<int>(std::ceil(client.cy / ratio)));
        PumpUntilIdle();
    }
}

void UncoverFrame(CWnd& window)
{
    FrameWidget* frame = FrameOf(&window);
    if (!frame || !frame->windowHandle())
        return;
    QPaintEvent event(QRect(QPoint(0, 0), frame->size()));
    QCoreApplication::sendEvent(frame->windowHandle(), &event);
}

void ActivateByUser(CWnd& window)
{
    if (FrameWidget* frame = FrameOf(&window)) {
        frame->activateWindow();
        PumpUntil([frame] { return frame->isActiveWindow(); });
    }
}

std::vector<CString> DescribeMenu(CFrameWnd& window)
{
    std::vector<CString> lines;
    FrameWidget* frame = FrameOf(&window);
    if (!frame)
        return lines;
    for (const QAction* popup : frame->menuBar()->actions()) {
        emit popup->menu()->aboutToShow();
        for (const QAction* action : popup->menu()->actions()) {
            CString line = FromQString(popup->text() + QLatin1Char('/') + action->text());
            if (!action->isEnabled())
                line += " [disabled]";
            if (action->isChecked())
                line += " [checked]";
            if (!action->isSeparator())
                lines.push_back(line);
        }
    }
    return lines;
}

uint64_t PaintCount(const CWnd& window)
{
    static std::unordered_map<const CWnd*, uint64_t> paints;
    auto& before_paint = Hooks::Get().before_paint;
    if (!before_paint)
        before_paint = [](const CWnd& painted) { ++paints[&painted]; };
    return paints[&window];
}

namespace
{
// Counts the device pixels that the view it belongs to copies to the screen.
class CopyCounter : public QObject
{
public:
    explicit CopyCounter(ViewWidget* view) : QObject(view), m_view(view) { view->installEventFilter(this); }
    double Pixels() const { return m_pixels; }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        const double ratio = m_view->devicePixelRatioF();
        if (event->type() == QEvent::Paint)
            for (const QRect& rect : static_cast<QPaintEvent*>(event)->region())
                m_pixels += rect.width() * ratio * rect.height() * ratio;
        return false;
    }

private:
    ViewWidget* const m_view;
    double m_pixels = 0;
};
} // namespace

uint64_t CopiedPixels(CWnd& window)
{
    ViewWidget* view = ViewOf(&window);
    if (!view)
        return 0;
    QCoreApplication::sendPostedEvents(view->window(), QEvent::UpdateRequest);
    for (const QObject* child : view->children())
        if (const auto* counter = dynamic_cast<const CopyCounter*>(child))
            return static_cast<uint64_t>(counter->Pixels());
    new CopyCounter(view); // the view deletes it
    return 0;
}
