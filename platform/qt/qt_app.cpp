// Message boxes.
#include "platform/app.h"

#include "platform/displaytext.h"
#include "platform/framewnd.h"
#include "platform/hooks.h"
#include "platform/qt/framewidget.h"
#include "platform/qt/longwork.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/queue.h"

#include <QApplication>
#include <QMessageBox>

namespace
{
// Most bytes of a text in a message box: the longest path that can be opened, and what is wrong with it.
// Laying out megabytes of text takes minutes.
constexpr size_t kBoxHeadBytes = 4200;
constexpr size_t kBoxTailBytes = 400;
} // namespace

void AfxMessageBox(const CString& text)
{
    if (LongWork::Get().IsClosing()) // no user is there to read it
        return;
    if (const auto& instead = Hooks::Get().message_box) {
        instead(text);
        return;
    }
    const ModalScope modal;
    const LongWork::Pause pause; // the time for reading is not work
    QMessageBox box(ParentForBox());
    box.setIcon(QMessageBox::Warning);
    box.setTextFormat(Qt::PlainText);
    box.setWindowTitle(ToQString(AfxGetApp() ? AfxGetApp()->LoadString(AFX_IDS_APP_TITLE) : CString{}));
    box.setText(ToQString(DisplayBothEnds(text, kBoxHeadBytes, kBoxTailBytes)));
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
}
