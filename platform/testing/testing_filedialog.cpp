// SPDX-License-Identifier: MIT
// The functions of testing.h for the file dialog.
#include "platform/testing/testing.h"

#include "platform/dialog.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_filedialog.h"
#include "platform/qt/qt_view.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>

// Searches for the list itself, independent of the parts that the dialog has found.
static QAbstractItemView* ViewOf(const CFileDialog& dialog)
{
    const FileDialogWidget* widget = FileDialogOf(&dialog);
    if (widget)
        for (auto* view : widget->findChildren<QAbstractItemView*>())
            if (view->isVisible() && qobject_cast<QFileSystemModel*>(view->model()))
                return view;
    return nullptr;
}

static QModelIndex EntryOf(const QAbstractItemView& view, int row)
{
    const auto* model = static_cast<const QFileSystemModel*>(view.model());
    return model->index(row, 0, model->index(model->rootPath()));
}

std::vector<std::string> ShownFiles(CFileDialog& dialog)
{
    std::vector<std::string> names;
    if (const QAbstractItemView* view = ViewOf(dialog))
        for (int row = 0; EntryOf(*view, row).isValid(); ++row)
            names.push_back(EntryOf(*view, row).data().toString().toStdString());
    return names;
}

bool ClickFile(CFileDialog& dialog, int index, bool twice)
{
    QAbstractItemView* const view = ViewOf(dialog);
    const QModelIndex entry = view ? EntryOf(*view, index) : QModelIndex();
    if (!entry.isValid())
        return false;
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
        emit combo->activated(index - 1); // as if the user had selected it
    }
}

void ClickFileButton(CFileDialog& dialog, int result)
{
    if (const FileDialogWidget* widget = FileDialogOf(&dialog))
        widget->findChild<QDialogButtonBox*>()
            ->button(result == IDOK ? QDialogButtonBox::Open : QDialogButtonBox::Cancel)
            ->click();
}

std::vector<std::string> DescribeFileDialog(CFileDialog& dialog)
{
    std::vector<std::string> lines;
    if (const FileDialogWidget* widget = FileDialogOf(&dialog)) {
        lines.push_back(widget->windowTitle().toStdString());
        const auto* combo = widget->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
        for (int i = 0; i < combo->count(); ++i)
            lines.push_back((i == combo->currentIndex() ? "> " : "  ") + combo->itemText(i).toStdString());
    }
    return lines;
}
