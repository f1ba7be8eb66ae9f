// SPDX-License-Identifier: MIT
// The functions of testing.h for the application and its event loop.
#include "platform/testing/testing.h"

#include "platform/qt/framewidget.h"
#include "platform/qt/qt_run.h"
#include "platform/qt/queue.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QCursor>
#include <QElapsedTimer>

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
    SetControlState(false); // a test may have ended after a key with Control
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

void CallFromLoop(std::function<void()> function)
{
    QMetaObject::invokeMethod(qApp, std::move(function), Qt::QueuedConnection);
}

bool IsWaitCursorShown()
{
    const QCursor* const cursor = QGuiApplication::overrideCursor();
    return cursor && cursor->shape() == Qt::WaitCursor;
}
