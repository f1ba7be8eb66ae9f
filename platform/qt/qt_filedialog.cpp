// SPDX-License-Identifier: MIT
// Qt's own file dialog, with a label below its lists and a notification of every selection.
#include "platform/qt/qt_filedialog.h"

#include "platform/dialog.h"
#include "platform/hooks.h"
#include "platform/qt/framewidget.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_dialog.h"
#include "platform/qt/qt_displaytext.h"
#include "platform/qt/queue.h"
#include "platform/viewedmark.h"

#include <QApplication>
#include <QHeaderView>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <algorithm>

const CRuntimeClass CFileDialog::classRecord{"CFileDialog", &CWnd::classRecord, nullptr};

namespace
{
constexpr int kDialogWidthChars = 110; // initial; the user can resize the dialog
constexpr int kPlacesWidthChars = 22;
constexpr int kNameColumn = 0; // in Qt's detailed list
constexpr int kKindColumn = 2;
constexpr int kRowBelowLists = 2; // in Qt's layout: the directory, the lists, then name and buttons

// Shows each name in one line.
class ShowableNameDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QString displayText(const QVariant& value, const QLocale& locale) const override
    {
        return Showable(QStyledItemDelegate::displayText(value, locale));
    }
};

// Returns "text (pattern)" for each pair, as Qt expects it.
QStringList NameFilters(const CString& filter)
{
    QStringList names;
    const QStringList parts = ToQString(filter).split(QLatin1Char('|'));
    for (int i = 0; i + 1 < parts.size() && !parts[i].isEmpty(); i += 2) {
        QStringList patterns = parts[i + 1].split(QLatin1Char(';'));
        for (QString& pattern : patterns) {
            pattern = pattern.trimmed();
            if (pattern == QLatin1String("*.*"))
                pattern = QStringLiteral("*"); // for Qt, "*.*" requires a dot in the name
        }
        names << QStringLiteral("%1 (%2)").arg(parts[i].trimmed(), patterns.join(QLatin1Char(' ')));
    }
    return names;
}

// Returns the nearest existing directory: `path` or one above it. If there is none, returns the working
// directory.
QString NearestDirectory(QString path)
{
    while (!path.isEmpty() && !QDir(path).exists())
        path.truncate(path.chopped(1).lastIndexOf(QLatin1Char('/')) + 1);
    return path.isEmpty() ? QDir::currentPath() : path;
}

// Returns the path without "." and "..", unless links make it a different file.
QString Cleaned(const QString& path)
{
    const QString clean = QDir::cleanPath(path);
    return QFileInfo(clean).canonicalFilePath() == QFileInfo(path).canonicalFilePath() ? clean : path;
}

// Returns the part that was found, or none if a test hides it.
template <class Part>
Part FoundUnlessHidden(Part part)
{
    const auto& hide = Hooks::Get().hide_file_dialog_part;
    return hide && hide() ? Part{} : part;
}
} // namespace

FileDialogWidget* FileDialogOf(const CFileDialog* dialog)
{
    const auto* peer = dynamic_cast<const FileDialogPeer*>(dialog->Peer());
    return peer ? peer->Dialog() : nullptr;
}

FileDialogWidget::FileDialogWidget(CFileDialog* owner, const CString& filter, StatusIcons* icons,
                                   QWidget* parent)
    : QFileDialog(parent, QStringLiteral("Open")), m_owner(owner)
{
    // Read-only: the dialog does not rename, delete or create anything.
    setOptions(DontUseNativeDialog | ReadOnly | HideNameFilterDetails | DontUseCustomDirectoryIcons |
               DontResolveSymlinks);
    setIconProvider(icons);
    setAcceptMode(AcceptOpen);
    setFileMode(ExistingFile);
    if (const QStringList names = NameFilters(filter); !names.isEmpty())
        setNameFilters(names);
    FindParts();
    PlaceColumns();
    if (IsExtended())
        Extend();
}

void FileDialogWidget::FindParts()
{
    m_parts.model = FoundUnlessHidden(findChild<QFileSystemModel*>());
    QList<QAbstractItemView*> views = findChildren<QAbstractItemView*>();
    views.removeIf([this](const QAbstractItemView* view) { return view->model() != m_parts.model; });
    m_parts.views = FoundUnlessHidden(views);
    m_parts.name = FoundUnlessHidden(findChild<QLineEdit*>(QStringLiteral("fileNameEdit")));
    m_parts.buttons = FoundUnlessHidden(findChild<QDialogButtonBox*>());
    m_parts.grid = FoundUnlessHidden(qobject_cast<QGridLayout*>(layout()));
    m_parts.filters = FoundUnlessHidden(findChild<QComboBox*>(QStringLiteral("fileTypeCombo")));
    m_parts.details = FoundUnlessHidden(findChild<QTreeView*>(QStringLiteral("treeView")));
    m_parts.splitter = FoundUnlessHidden(findChild<QSplitter*>(QStringLiteral("splitter")));
}

bool FileDialogWidget::IsExtended() const
{
    return m_parts.model && !m_parts.views.isEmpty() && m_parts.name && m_parts.buttons && m_parts.grid;
}

void FileDialogWidget::Extend()
{
    PlaceLabel();
    connect(m_parts.model, &QFileSystemModel::rootPathChanged, this,
            [this] { m_owner->OnLBSelChangedNotify(kFileDialogDirectories, -1, CD_LBSELCHANGE); });
    const QItemSelectionModel* const selection = m_parts.views.first()->selectionModel();
    connect(selection, &QItemSelectionModel::selectionChanged, this, &FileDialogWidget::SelectionChanged);
    connect(selection, &QItemSelectionModel::currentChanged, this, [this] { m_is_typed = false; });
    for (QAbstractItemView* view : m_parts.views) {
        view->setItemDelegateForColumn(kNameColumn, new ShowableNameDelegate(view));
        connect(view, &QAbstractItemView::pressed, this, [this] { m_is_typed = false; });
    }
    connect(m_parts.name, &QLineEdit::textEdited, this, [this] { m_is_typed = true; });
    // Qt disables the button if the list does not show the named file.
    connect(m_parts.name, &QLineEdit::textChanged, this, [this] {
        if (auto* button = m_parts.buttons->button(QDialogButtonBox::Open))
            button->setEnabled(button->isEnabled() || !Named().isEmpty());
    });
}

// Inserts the label below the lists. The rows below it move down by one.
void FileDialogWidget::PlaceLabel()
{
    m_label = new QLabel(this);
    m_label->setTextFormat(Qt::PlainText);
    m_label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed); // a long name must not widen the dialog
    QGridLayout* const grid = m_parts.grid;
    const int columns = grid->columnCount();
    for (int i = grid->count() - 1; i >= 0; --i) {
        int row;
        int column;
        int rows_high;
        int columns_wide;
        grid->getItemPosition(i, &row, &column, &rows_high, &columns_wide);
        if (row < kRowBelowLists)
            continue;
        QLayoutItem* item = grid->takeAt(i);
        grid->addItem(item, row + 1, column, rows_high, columns_wide, item->alignment());
    }
    grid->addWidget(m_label, kRowBelowLists, 0, 1, columns);
}

// The column of the names gets all the width that sizes and dates do not need. Hides the column of the kind,
// which is the same for all page files.
void FileDialogWidget::PlaceColumns()
{
    if (!m_parts.details)
        return;
    QHeaderView* const header = m_parts.details->header();
    header->setResizeContentsPrecision(0); // measure only the visible entries, not ten thousand
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(kNameColumn, QHeaderView::Stretch);
    m_parts.details->hideColumn(kKindColumn);
    resize(fontMetrics().averageCharWidth() * kDialogWidthChars, sizeHint().height());
    if (m_parts.splitter) {
        const int places = fontMetrics().averageCharWidth() * kPlacesWidthChars;
        m_parts.splitter->setSizes({places, width() - places});
    }
}

QModelIndex FileDialogWidget::Entry(int row) const
{
    return IsExtended() && row >= 0 ? m_parts.model->index(row, 0, Directory()) : QModelIndex();
}

// Reads the selection of the list. Qt's own function reads the name field instead, and takes quotation marks
// in a name for separators.
QModelIndex FileDialogWidget::Selected() const
{
    if (!IsExtended())
        return {};
    const QModelIndex directory = Directory();
    const QItemSelectionModel* const selection = m_parts.views.first()->selectionModel();
    const QModelIndex current = selection->currentIndex().siblingAtColumn(0);
    if (current.parent() == directory && selection->isRowSelected(current.row(), directory))
        return current;
    for (const QModelIndex& index : selection->selectedRows())
        if (index.parent() == directory)
            return index;
    return {};
}

// Selects by number, because two filters may have the same text.
void FileDialogWidget::SelectFilter(int number)
{
    if (number < 1 || number > nameFilters().size())
        return;
    if (!m_parts.filters) {
        selectNameFilter(nameFilters().at(number - 1));
        return;
    }
    m_parts.filters->setCurrentIndex(number - 1);
    emit m_parts.filters->activated(number - 1); // as if the user had selected it
}

int FileDialogWidget::SelectedFilter() const
{
    if (m_parts.filters)
        return m_parts.filters->currentIndex() + 1;
    const QString shown = selectedNameFilter() + QLatin1String(" ("); // Qt returns it without the patterns
    const QStringList filters = nameFilters();
    const auto found = std::find_if(filters.begin(), filters.end(),
                                    [&shown](const QString& filter) { return filter.startsWith(shown); });
    return found == filters.end() ? 0 : static_cast<int>(found - filters.begin()) + 1;
}

// Tries the text as it is first, because a name may really have quotation marks or begin with "~/".
QString FileDialogWidget::Named() const
{
    const QString text = m_parts.name->text();
    QStringList forms{text};
    if (text.size() > 2 && text.startsWith(QLatin1Char('"')) && text.endsWith(QLatin1Char('"')))
        forms << text.mid(1, text.size() - 2);
    if (text.startsWith(QLatin1String("~/")))
        forms << QDir::homePath() + text.mid(1);
    for (const QString& form : forms)
        if (QString path = directory().absoluteFilePath(form); !form.isEmpty() && QFileInfo::exists(path))
            return path;
    return {};
}

bool FileDialogWidget::AcceptWanted()
{
    const QModelIndex selected = Selected();
    const QString wanted = !m_is_typed && selected.isValid() ? Path(selected) : Named();
    const FileStatus status = FileStatusOf(FromQString(wanted));
    if (!status.Exists() || status.IsDirectory()) {
        if (m_is_typed) // otherwise Qt would open the selected entry
            m_parts.views.first()->selectionModel()->clearSelection();
        return false;
    }
    if (status.IsFile()) { // if it is a device or another special file, the dialog stays open
        m_chosen = Cleaned(wanted);
        done(Accepted);
    }
    return true;
}

void FileDialogWidget::accept()
{
    if (IsExtended() && AcceptWanted())
        return;
    QFileDialog::accept();
    if (result() == Accepted)
        m_chosen = selectedFiles().value(0);
}

void FileDialogWidget::SelectionChanged()
{
    const QModelIndex selected = Selected();
    const UINT list = selected.isValid() && IsDirectory(selected) ? kFileDialogDirectories : kFileDialogFiles;
    m_owner->OnLBSelChangedNotify(list, selected.row(), CD_LBSELCHANGE);
}

CFileDialog::CFileDialog(const CString& filter) : m_filter(filter) {}

CFileDialog::~CFileDialog() = default;

int CFileDialog::DoModal()
{
    if (IsWindow() || !qApp)
        return -1;
    const ModalScope modal;
    m_strFileName.Empty();
    m_peer = std::make_unique<FileDialogPeer>(this, m_filter, ParentForBox());
    const QPointer<FileDialogWidget> widget = FileDialogOf(this);
    widget->SelectFilter(m_nFilterIndex);
    widget->setDirectory(NearestDirectory(ToQString(m_strInitialDir)));
    const bool accepted = widget->exec() == QDialog::Accepted;
    if (widget) {
        if (accepted)
            m_strFileName = FromQString(widget->Chosen());
        m_nFilterIndex = NameFilters(m_filter).isEmpty() ? 0 : widget->SelectedFilter();
    }
    Queue::Get().Forget(this);
    m_peer.reset();
    return accepted ? IDOK : IDCANCEL;
}

bool CFileDialog::DestroyWindow()
{
    FileDialogWidget* widget = FileDialogOf(this);
    if (widget)
        widget->reject();
    return widget != nullptr;
}

static QLabel* LabelOf(const CFileDialog* dialog, UINT id)
{
    const FileDialogWidget* widget = id == kFileDialogLabel ? FileDialogOf(dialog) : nullptr;
    return widget ? widget->Label() : nullptr;
}

void CFileDialog::SetDlgItemText(UINT id, const CString& text)
{
    if (QLabel* label = LabelOf(this, id))
        ControlPeer(label).SetText(ToQString(text));
}

CString CFileDialog::GetDlgItemText(UINT id) const
{
    const QLabel* label = LabelOf(this, id);
    return label ? FromQString(label->text()) : CString{};
}

int CFileDialog::GetCurSel(UINT list) const
{
    const FileDialogWidget* widget = FileDialogOf(this);
    const QModelIndex selected = widget ? widget->Selected() : QModelIndex();
    const bool is_in_list =
        selected.isValid() && widget->IsDirectory(selected) == (list == kFileDialogDirectories);
    return is_in_list ? selected.row() : -1;
}

CString CFileDialog::GetEntryText(int index) const
{
    const FileDialogWidget* widget = FileDialogOf(this);
    const QModelIndex entry = widget ? widget->Entry(index) : QModelIndex();
    return entry.isValid() ? FromQString(widget->Path(entry)) : CString{};
}

void CFileDialog::OnLBSelChangedNotify(UINT, int, UINT) {}
