// Start, end and message loop of the program.
#include "platform/run.h"
#include "platform/qt/peer.h"
#include "platform/qt/services.h"

#include <QApplication>
#include <QSettings>
#include <QStringList>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <unistd.h>
#include <vector>

namespace
{
bool g_loop_running = false;

struct QtMessage {
    QtMsgType type;
    QByteArray category;
    QString text;
};

QtMessageHandler g_qt_handler = nullptr; // Qt's own
std::string g_program_name;
bool g_is_starting = false;
std::mutex g_held_mutex; // plugins may have threads of their own
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
    _exit(EXIT_FAILURE); // the destructors are not made for half an application object
}

// Windows are drawn into shared memory by choice (see RunApplication), and Qt warns about that.
bool IsAboutBufferIntegration(const QMessageLogContext& context, const QString& text)
{
    return context.category && qstrcmp(context.category, "qt.qpa.wayland") == 0 &&
           text.contains(QLatin1String("client buffer integration"));
}

// Qt ends the program by abort() if it finds no display, after several lines. While the application object is
// created, its messages are held: they are either the reasons for the line that ends the program, or passed
// on.
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
    if (!QGuiApplication::primaryScreen()) // a platform that found no screen
        EndWithoutDisplay();
    g_is_starting = false;
    const std::lock_guard lock(g_held_mutex);
    for (const QtMessage& message : std::exchange(g_held, {}))
        g_qt_handler(
            message.type,
            {nullptr, 0, nullptr, message.category.isNull() ? nullptr : message.category.constData()},
            message.text);
}
} // namespace

// Not quit, which first asks every window that is still open, and those let only their owners close them.
void CWinApp::QuitMessageLoop()
{
    if (g_loop_running)
        QCoreApplication::exit();
}

void PrepareProcess()
{
    // Qt has set the user's locale: read-outs have a decimal point everywhere.
    std::setlocale(LC_NUMERIC, "C");
    // A temporary file beyond the limit of file sizes must fail, not end the program.
    std::signal(SIGXFSZ, SIG_IGN);
    // The main window ends the loop, not the last box.
    QApplication::setQuitOnLastWindowClosed(false);
    // Qt's own dialogs keep their last places and columns in a settings file for all programs, which is not
    // ours to write: it goes where no file can be made. Our settings are in another format.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
}

int RunApplication(CWinApp& app, const char* program_name, const CString& command_line)
{
    // On Wayland Qt loads a renderer of 60 MB for windows that are never drawn by one.
    setenv("QT_WAYLAND_CLIENT_BUFFER_INTEGRATION", "none", 0);
    std::string name = program_name ? program_name : "";
    char* arguments[] = {name.data(), nullptr};
    int count = 1;
    BeginStart(name.c_str());
    QApplication application(count, arguments);
    EndStart();
    PrepareProcess();
    QApplication::setApplicationName(ToQString(app.LoadString(AFX_IDS_APP_TITLE)));
    app.m_lpCmdLine = command_line;
    const bool started = app.InitInstance();
    if (started && app.m_pMainWnd) {
        g_loop_running = true;
        QApplication::exec();
        g_loop_running = false;
    }
    if (CWnd* main = app.m_pMainWnd) // the loop was ended from outside
        main->SendMessage(WM_CLOSE);
    return app.ExitInstance();
}
