// SPDX-License-Identifier: MIT
// The message box of the application, AfxMessageBox.
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
// Limits of a text in a message box. The start has room for the longest path that can be opened, and the end
// for the reason. The layout of megabytes of text would take minutes.
constexpr size_t kBoxHeadBytes = 4200;
constexpr size_t kBoxTailBytes = 400;
} // namespace

void AfxMessageBox(const CString& text)
{
    if (LongWork::Get().IsClosing()) // the program is ending, and no user waits for messages
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
