// Start and message loop, boxes, the hourglass.
#include "platform/app.h"
#include "platform/frame.h"
#include "platform/qt/peer.h"
#include "platform/qt/queue.h"
#include "platform/qt/services.h"
#include "platform/run.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QSettings>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <xcb/xcb.h>

std::function<void(const CString&)> g_message_box_hook;

namespace
{
constexpr qint64 kWaitCursorAfterMs = 100;

int g_wait_depth = 0;
bool g_wait_shown = false;
bool g_loop_running = false;
QElapsedTimer g_wait_since;

// Changes of the pointer's shape are sent with the toolkit's next message to the display, which would be
// after the work that they announce.
void FlushDisplay()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return;
    if (auto* display = qApp->nativeInterface<QNativeInterface::QX11Application>())
        xcb_flush(display->connection());
}
} // namespace

void CCmdTarget::BeginWaitCursor()
{
    if (g_wait_depth++ == 0)
        g_wait_since.start();
}

void CCmdTarget::EndWaitCursor()
{
    if (g_wait_depth == 0 || --g_wait_depth > 0 || !g_wait_shown)
        return;
    g_wait_shown = false;
    QGuiApplication::restoreOverrideCursor();
}

void CCmdTarget::ShowWaitCursorIfDue()
{
    if (g_wait_depth == 0 || g_wait_shown || g_wait_since.elapsed() < kWaitCursorAfterMs || !qApp)
        return;
    g_wait_shown = true;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    FlushDisplay();
}

void AfxMessageBox(const CString& text)
{
    if (g_message_box_hook) {
        g_message_box_hook(text);
        return;
    }
    const ModalScope modal;
    if (g_wait_shown) { // the box is not waited for
        g_wait_shown = false;
        QGuiApplication::restoreOverrideCursor();
    }
    const CWnd* main = AfxGetMainWnd();
    QWidget* const above = QApplication::activeModalWidget(); // as the preview
    QMessageBox box(above ? above : main && main->Peer() ? main->Peer()->Widget()->window() : nullptr);
    box.setIcon(QMessageBox::Warning);
    box.setTextFormat(Qt::PlainText);
    box.setWindowTitle(ToQString(AfxGetApp() ? AfxGetApp()->LoadString(AFX_IDS_APP_TITLE) : CString{}));
    box.setText(ToQString(text));
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
}

// Not quit, which first asks every window that is still open, and those let only their owners close them.
void CWinApp::QuitMessageLoop()
{
    if (g_loop_running)
        QCoreApplication::exit();
}

namespace
{
bool IsSet(const char* name)
{
    const char* value = std::getenv(name);
    return value && *value;
}
} // namespace

bool HasDisplay()
{
    if (IsSet("QT_QPA_PLATFORM") || IsSet("WAYLAND_DISPLAY"))
        return true;
    if (!IsSet("DISPLAY"))
        return false;
    // The toolkit ends the program with a core where the server does not answer.
    xcb_connection_t* const probe = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(probe) == 0;
    xcb_disconnect(probe);
    return answers;
}

void PrepareProcess()
{
    // The toolkit has set the user's locale: read-outs have a decimal point everywhere.
    std::setlocale(LC_NUMERIC, "C");
    // A temporary file beyond the limit of file sizes must fail, not end the program.
    std::signal(SIGXFSZ, SIG_IGN);
    // The main window ends the loop, not the last box.
    QApplication::setQuitOnLastWindowClosed(false);
    // The toolkit's own dialogs keep their last places and columns in a settings file for all programs, which
    // is not ours to write: it goes where no file can be made. Our settings are in another format.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
}

int RunApplication(CWinApp& app, const char* program_name, const CString& command_line)
{
    std::string name = program_name ? program_name : "";
    char* arguments[] = {name.data(), nullptr};
    int count = 1;
    QApplication application(count, arguments);
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
