// SPDX-License-Identifier: MIT
// The start, the message loop and the end of the program. Creates Qt's application object, and runs
// InitInstance and ExitInstance of the CWinApp.
#include "platform/run.h"

#include "platform/qt/longwork.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_run.h"
#include "platform/qt/qt_wnd.h"
#include "platform/qt/queue.h"

#include <QApplication>
#include <QDialog>
#include <QSettings>
#include <QSocketNotifier>
#include <QStringList>
#include <QTimer>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace
{
bool g_loop_running = false;

// ---- Qt's messages on the standard error stream ----------------------------------------------------------

struct QtMessage {
    QtMsgType type;
    QByteArray category;
    QString text;
};

QtMessageHandler g_qt_handler = nullptr; // Qt's own handler
std::string g_program_name;
std::atomic<bool> g_is_starting = false;
std::mutex g_held_mutex; // plugins may have their own threads
std::vector<QtMessage> g_held;

[[noreturn]] void EndWithoutDisplay()
{
    QStringList reasons;
    {
        const std::lock_guard lock(g_held_mutex);
        for (const QtMessage& message : g_held)
            if (message.type != QtInfoMsg)
                reasons << message.text.simplified();
    }
    std::string line = g_program_name + ": no display";
    if (!reasons.isEmpty())
        line += ": " + reasons.join(QLatin1String("; ")).toStdString();
    line += '\n';
    fputs(line.c_str(), stderr);
    _exit(EXIT_FAILURE); // destructors would fail on an incomplete application object
}

// Returns true for Qt's warning that windows are drawn into shared memory. RunApplication has chosen this.
bool IsAboutBufferIntegration(const QMessageLogContext& context, const QString& text)
{
    return context.category && qstrcmp(context.category, "qt.qpa.wayland") == 0 &&
           text.contains(QLatin1String("client buffer integration"));
}

// If Qt finds no display, it writes several lines and calls abort(). So its messages, except debug messages,
// are held while the application object is created. They then become the reasons in the line that ends the
// program, or are passed on.
void HandleQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (g_is_starting && type == QtFatalMsg)
        EndWithoutDisplay();
    if (g_is_starting && type != QtDebugMsg) {
        const std::lock_guard lock(g_held_mutex);
        g_held.push_back({type, context.category, text});
    } else if (!IsAboutBufferIntegration(context, text)) {
        g_qt_handler(type, context, text);
    }
}

void BeginStart(const char* program_name)
{
    const std::string_view path = program_name;
    g_program_name = path.substr(path.find_last_of('/') + 1);
    g_is_starting = true;
    g_qt_handler = qInstallMessageHandler(HandleQtMessage);
}

void EndStart()
{
    if (!QGuiApplication::primaryScreen()) // a platform without a screen
        EndWithoutDisplay();
    g_is_starting = false;
    const std::lock_guard lock(g_held_mutex);
    for (const QtMessage& message : std::exchange(g_held, {}))
        g_qt_handler(
            message.type,
            {nullptr, 0, nullptr, message.category.isNull() ? nullptr : message.category.constData()},
            message.text);
}

// ---- Signals ---------------------------------------------------------------------------------------------

constexpr int kCancelAgainMs = 20; // interval until the next box or dialog is cancelled

struct EndSignal {
    int number;
    bool is_handled;
} g_end_signals[] = {{SIGTERM, false}, {SIGINT, false}, {SIGHUP, false}};
int g_end_event = -1;

void RestoreEndSignals()
{
    for (const EndSignal& signal : g_end_signals)
        if (signal.is_handled)
            std::signal(signal.number, SIG_DFL);
}

void OnEndSignal(int)
{
    const int error = errno;
    RestoreEndSignals(); // the next signal ends the process
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(g_end_event, &one, sizeof one);
    errno = error;
}

// Ends the program after a signal as a user would: cancels the modal windows, the innermost first, and then
// closes the main window.
class SignalCloser : public QObject
{
public:
    SignalCloser() : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
        if (m_event < 0)
            return; // signals end the program at once, as without a handler
        m_again.setInterval(kCancelAgainMs);
        connect(&m_again, &QTimer::timeout, this, &SignalCloser::CloseNext);
        auto* notifier = new QSocketNotifier(m_event, QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
            notifier->setEnabled(false);
            m_again.start();
            CloseNext();
        });
        g_end_event = m_event;
        struct sigaction action = {};
        action.sa_handler = OnEndSignal;
        action.sa_flags = SA_RESTART;
        for (EndSignal& signal : g_end_signals) {
            struct sigaction inherited;
            signal.is_handled = sigaction(signal.number, nullptr, &inherited) == 0 &&
                                inherited.sa_handler == SIG_DFL &&
                                sigaction(signal.number, &action, nullptr) == 0;
        }
    }
    SignalCloser(const SignalCloser&) = delete;
    SignalCloser& operator=(const SignalCloser&) = delete;
    ~SignalCloser() override
    {
        RestoreEndSignals();
        if (m_event >= 0)
            close(m_event);
    }

private:
    void CloseNext()
    {
        LongWork& work = LongWork::Get();
        if (work.IsChecking()) { // the work must end first
            work.InterruptForExit();
            return;
        }
        if (QWidget* const popup = QApplication::activePopupWidget())
            popup->close();
        if (QWidget* const modal = QApplication::activeModalWidget()) {
            if (auto* const dialog = qobject_cast<QDialog*>(modal))
                dialog->reject();
            else
                modal->close();
            return;
        }
        CWnd* const main = AfxGetMainWnd();
        if (Queue::Get().IsModal() || !main || !main->Peer())
            return; // a box is about to open or to close; try again later
        m_again.stop();
        main->Peer()->Widget()->close();
    }

    const int m_event;
    QTimer m_again;
};
} // namespace

// QCoreApplication::quit would first ask every open window to close, but only their owners may close them.
void CWinApp::QuitMessageLoop()
{
    if (g_loop_running)
        QCoreApplication::exit();
}

void PrepareProcess()
{
    // Qt has set the user's locale, but displayed numbers have a decimal point everywhere.
    std::setlocale(LC_NUMERIC, "C");
    // A temporary file beyond the limit for file sizes must fail, and not end the program.
    std::signal(SIGXFSZ, SIG_IGN);
    // The main window ends the loop. Closing the last box does not.
    QApplication::setQuitOnLastWindowClosed(false);
    // Qt's own dialogs store their last places and columns in a settings file of all programs, which this
    // program must not change. So the path of that file is set to a place where no file can be created. Our
    // own settings do not use this format.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
}

int RunApplication(CWinApp& app, const char* program_name, const CString& command_line)
{
    // On Wayland Qt loads a renderer of 60 MB, which this program never uses. Without it Qt draws no title
    // bars, but most desktops draw them.
    setenv("QT_WAYLAND_CLIENT_BUFFER_INTEGRATION", "none", 0);
    std::string name = program_name ? program_name : "";
    char* arguments[] = {name.data(), nullptr};
    int count = 1;
    BeginStart(name.c_str());
    QApplication application(count, arguments);
    EndStart();
    PrepareProcess();
    const SignalCloser signal_closer;
    if (const char* const entry = app.GetResources().desktop_entry)
        QApplication::setDesktopFileName(QString::fromLatin1(entry));
    QApplication::setApplicationName(ToQString(app.LoadString(AFX_IDS_APP_TITLE)));
    app.m_lpCmdLine = command_line;
    const bool started = app.InitInstance();
    if (started && app.m_pMainWnd) {
        g_loop_running = true;
        QApplication::exec();
        g_loop_running = false;
    }
    if (CWnd* main = app.m_pMainWnd) // the loop has ended without closing it
        main->SendMessage(WM_CLOSE);
    return app.ExitInstance();
}
