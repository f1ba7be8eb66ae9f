// The hands of tests inside the dialog for files.
#include "platform/testing.h"

#include "platform/dialog.h"
#include "platform/qt/filedialogpeer.h"
#include "platform/qt/services.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>

void SetFileDialogHook(std::function<void(CFileDialog&)> hook)
{
    g_file_dialog_hook = std::move(hook);
}

std::vector<CString> ShownFiles(CFileDialog& dialog)
{
    std::vector<CString> names;
    const FileDialogWidget* widget = FileDialogOf(&dialog);
    for (int row = 0; widget && row < widget->Model()->rowCount(widget->Directory()); ++row)
        names.push_back(FromQString(widget->Model()->index(row, 0, widget->Directory()).data().toString()));
    return names;
}

bool ClickFile(CFileDialog& dialog, int index, bool twice)
{
    const FileDialogWidget* widget = FileDialogOf(&dialog);
    if (!widget)
        return false;
    const QModelIndex entry = widget->Model()->index(index, 0, widget->Directory());
    for (QAbstractItemView* view : widget->Views()) {
        if (!view->isVisible() || !entry.isValid())
            continue;
        view->scrollTo(entry);
        const QPointF point = view->visualRect(entry).center();
        const QPointer<QWidget> target = view->viewport();
        constexpr QEvent::Type kClicks[] = {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                            QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease};
        for (int i = 0; target && i < (twice ? 4 : 2); ++i) {
            const bool down = kClicks[i] != QEvent::MouseButtonRelease;
            QMouseEvent event(kClicks[i], point, target->mapToGlobal(point), Qt::LeftButton,
                              down ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
            QCoreApplication::sendEvent(target, &event);
        }
        return true;
    }
    return false;
}

void TypeFileName(CFileDialog& dialog, const CString& name)
{
    if (const FileDialogWidget* widget = FileDialogOf(&dialog)) {
        auto* edit = widget->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        edit->setFocus();
        edit->selectAll();
        edit->insert(ToQString(name)); // as if typed
    }
}

void ChooseFilter(CFileDialog& dialog, int index)
{
    if (const FileDialogWidget* widget = FileDialogOf(&dialog)) {
        auto* combo = widget->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
        combo->setCurrentIndex(index - 1);
        emit combo->activated(index - 1); // as by the user
    }
}

void ClickFileButton(CFileDialog& dialog, int result)
{
    if (const FileDialogWidget* widget = FileDialogOf(&dialog))
        widget->findChild<QDialogButtonBox*>()
            ->button(result == IDOK ? QDialogButtonBox::Open : QDialogButtonBox::Cancel)
            ->click();
}

std::vector<CString> DescribeFileDialog(CFileDialog& dialog)
{
    std::vector<CString> lines;
    if (const FileDialogWidget* widget = FileDialogOf(&dialog)) {
        lines.push_back(FromQString(widget->windowTitle()));
        const auto* combo = widget->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
        for (int i = 0; i < combo->count(); ++i)
            lines.push_back((i == combo->currentIndex() ? CString("> ") : CString("  ")) +
                            FromQString(combo->itemText(i)));
    }
    return lines;
}
