// Message boxes, and the wait cursor.
#include "platform/app.h"
#include "platform/frame.h"
#include "platform/qt/peer.h"
#include "platform/qt/queue.h"
#include "platform/qt/services.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <xcb/xcb.h>

std::function<void(const CString&)> g_message_box_hook;

namespace
{
constexpr qint64 kWaitCursorAfterMs = 100;

int g_wait_depth = 0;
bool g_wait_shown = false;
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
