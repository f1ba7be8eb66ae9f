// The toolkit's own dialog for files, with a label under its lists and word of every selection.
#include "platform/qt/filedialogpeer.h"

#include "platform/dialog.h"
#include "platform/qt/dialogpeer.h"
#include "platform/qt/queue.h"
#include "platform/qt/services.h"
#include "platform/viewedmark.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QStyledItemDelegate>
#include <QTreeView>

std::function<void(CFileDialog&)> g_file_dialog_hook;

const CRuntimeClass CFileDialog::classRecord{"CFileDialog", &CWnd::classRecord, nullptr};

namespace
{
constexpr int kDialogWidthChars = 110; // at first; the dialog can be resized
constexpr int kPlacesWidthChars = 22;
constexpr int kNameColumn = 0; // of the toolkit's list in detail
constexpr int kKindColumn = 2;
constexpr int kRowBelowLists = 2; // of the toolkit's layout: the directory, the lists, then name and buttons

class NameDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QString displayText(const QVariant& value, const QLocale& locale) const override
    {
        return Showable(QStyledItemDelegate::displayText(value, locale));
    }
};

// "text (pattern)" for each pair, as the toolkit wants it.
QStringList NameFilters(const CString& filter)
{
    QStringList names;
    const QStringList parts = ToQString(filter).split(QLatin1Char('|'));
    for (int i = 0; i + 1 < parts.size() && !parts[i].isEmpty(); i += 2) {
        QStringList patterns = parts[i + 1].split(QLatin1Char(';'));
        for (QString& pattern : patterns) {
            pattern = pattern.trimmed();
            if (pattern == QLatin1String("*.*"))
                pattern = QStringLiteral("*"); // the toolkit would want a dot in the name
        }
        names << QStringLiteral("%1 (%2)").arg(parts[i].trimmed(), patterns.join(QLatin1Char(' ')));
    }
    return names;
}

// The nearest existing directory: `path` or one above it. If there is none, the working directory.
QString NearestDirectory(QString path)
{
    while (!path.isEmpty() && !QDir(path).exists())
        path.truncate(path.chopped(1).lastIndexOf(QLatin1Char('/')) + 1);
    return path.isEmpty() ? QDir::currentPath() : path;
}

// The path without "." and "..", unless links make that another file.
QString Cleaned(const QString& path)
{
    const QString clean = QDir::cleanPath(path);
    return QFileInfo(clean).canonicalFilePath() == QFileInfo(path).canonicalFilePath() ? clean : path;
}
} // namespace

FileDialogWidget* FileDialogOf(const CFileDialog* dialog)
{
    const auto* peer = dynamic_cast<const FileDialogPeer*>(dialog->Peer());
    return peer ? peer->Dialog() : nullptr;
}

FileDialogWidget::FileDialogWidget(CFileDialog* owner, const CString& filter, StatusIcons* icons,
                                   QWidget* parent)
    : QFileDialog(parent, QStringLiteral("Open")), m_owner(owner), m_label(new QLabel(this))
{
    // Read-only: nothing is renamed, deleted or made from here.
    setOptions(DontUseNativeDialog | ReadOnly | HideNameFilterDetails | DontUseCustomDirectoryIcons |
               DontResolveSymlinks);
    setIconProvider(icons);
    setAcceptMode(AcceptOpen);
    setFileMode(ExistingFile);
    if (const QStringList names = NameFilters(filter); !names.isEmpty())
        setNameFilters(names);
    PlaceLabel();
    PlaceColumns();
    m_model = findChild<QFileSystemModel*>();
    m_name = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    connect(m_model, &QFileSystemModel::rootPathChanged, this,
            [this] { m_owner->OnLBSelChangedNotify(kFileDialogDirectories, -1, CD_LBSELCHANGE); });
    connect(Views().first()->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &FileDialogWidget::SelectionChanged);
    for (QAbstractItemView* view : Views()) {
        view->setItemDelegateForColumn(kNameColumn, new NameDelegate(view));
        connect(view, &QAbstractItemView::pressed, this, [this] { m_is_typed = false; });
    }
    connect(Views().first()->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { m_is_typed = false; });
    if (m_name) {
        connect(m_name, &QLineEdit::textEdited, this, [this] { m_is_typed = true; });
        // Qt disables the button if the list does not show the named file.
        connect(m_name, &QLineEdit::textChanged, this, [this] {
            if (auto* button = findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open))
                button->setEnabled(button->isEnabled() || !Named().isEmpty());
        });
    }
}

QList<QAbstractItemView*> FileDialogWidget::Views() const
{
    QList<QAbstractItemView*> views;
    for (auto* view : findChildren<QAbstractItemView*>())
        if (view->model() == m_model)
            views << view;
    return views;
}

// Between the lists and the rows below them, which move down by one.
void FileDialogWidget::PlaceLabel()
{
    m_label->setTextFormat(Qt::PlainText);
    m_label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed); // a long name does not widen the dialog
    auto* grid = qobject_cast<QGridLayout*>(layout());
    if (!grid) {
        layout()->addWidget(m_label);
        return;
    }
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

// Names take what sizes and dates leave; the kind of a page file says nothing.
void FileDialogWidget::PlaceColumns()
{
    auto* tree = findChild<QTreeView*>(QStringLiteral("treeView"));
    if (!tree)
        return;
    tree->header()->setResizeContentsPrecision(0); // of the entries that show, not of ten thousand
    tree->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    tree->header()->setSectionResizeMode(kNameColumn, QHeaderView::Stretch);
    tree->hideColumn(kKindColumn);
    resize(fontMetrics().averageCharWidth() * kDialogWidthChars, sizeHint().height());
    if (auto* splitter = findChild<QSplitter*>(QStringLiteral("splitter"))) {
        const int places = fontMetrics().averageCharWidth() * kPlacesWidthChars;
        splitter->setSizes({places, width() - places});
    }
}

// The entry itself: Qt goes by the text of the name, and would read quotation marks in it as separators.
QModelIndex FileDialogWidget::Selected() const
{
    const QModelIndex directory = Directory();
    const QItemSelectionModel* const selection = Views().first()->selectionModel();
    const QModelIndex current = selection->currentIndex().siblingAtColumn(0);
    if (current.parent() == directory && selection->isRowSelected(current.row(), directory))
        return current;
    for (const QModelIndex& index : Views().first()->selectionModel()->selectedRows())
        if (index.parent() == directory)
            return index;
    return {};
}

// A file whose name really has quotation marks or begins with "~/" comes first.
QString FileDialogWidget::Named() const
{
    const QString text = m_name ? m_name->text() : QString();
    QStringList forms{text};
    if (text.size() > 2 && text.startsWith(QLatin1Char('"')) && text.endsWith(QLatin1Char('"')))
        forms << text.mid(1, text.size() - 2);
    if (text.startsWith(QLatin1String("~/")))
        forms << QDir::homePath() + text.mid(1);
    for (const QString& form : forms)
        if (const QString path = directory().absoluteFilePath(form);
            !form.isEmpty() && QFileInfo::exists(path))
            return path;
    return {};
}

void FileDialogWidget::accept()
{
    const QModelIndex selected = Selected();
    const QString wanted = !m_is_typed && selected.isValid() ? m_model->filePath(selected) : Named();
    const FileStatus status = FileStatusOf(FromQString(wanted));
    if (status.kind != FileStatus::Kind::none && !status.IsDirectory()) {
        if (status.IsFile()) { // the dialog stays open for a device or another special file
            m_chosen = Cleaned(wanted);
            done(Accepted);
        }
        return;
    }
    if (m_is_typed) // else Qt would take the selected entry
        Views().first()->selectionModel()->clearSelection();
    QFileDialog::accept();
    if (result() == Accepted)
        m_chosen = selectedFiles().value(0);
}

void FileDialogWidget::SelectionChanged()
{
    const QModelIndex selected = Selected();
    const UINT list =
        selected.isValid() && m_model->isDir(selected) ? kFileDialogDirectories : kFileDialogFiles;
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
    // By number, because two pairs may have the same text.
    const QPointer<QComboBox> filters = widget->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
    if (filters && m_nFilterIndex > 0 && m_nFilterIndex <= filters->count()) {
        filters->setCurrentIndex(m_nFilterIndex - 1);
        emit filters->activated(m_nFilterIndex - 1); // as if the user had chosen it
    }
    widget->setDirectory(NearestDirectory(ToQString(m_strInitialDir)));
    if (g_file_dialog_hook)
        RunHookWhenShown(
            widget, [this] { g_file_dialog_hook(*this); }, [widget] { widget->reject(); });
    const bool accepted = widget->exec() == QDialog::Accepted;
    if (widget) {
        if (accepted)
            m_strFileName = FromQString(widget->Chosen());
        m_nFilterIndex = filters && !NameFilters(m_filter).isEmpty() ? filters->currentIndex() + 1 : 0;
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

void CFileDialog::SetDlgItemText(UINT id, const CString& text)
{
    if (FileDialogWidget* widget = id == kFileDialogLabel ? FileDialogOf(this) : nullptr)
        ControlPeer(widget->Label()).SetText(ToQString(text));
}

CString CFileDialog::GetDlgItemText(UINT id) const
{
    const FileDialogWidget* widget = id == kFileDialogLabel ? FileDialogOf(this) : nullptr;
    return widget ? FromQString(widget->Label()->text()) : CString{};
}

int CFileDialog::GetCurSel(UINT list) const
{
    const FileDialogWidget* widget = FileDialogOf(this);
    const QModelIndex selected = widget ? widget->Selected() : QModelIndex();
    if (!selected.isValid() || widget->Model()->isDir(selected) != (list == kFileDialogDirectories))
        return -1;
    return selected.row();
}

CString CFileDialog::GetEntryText(int index) const
{
    const FileDialogWidget* widget = FileDialogOf(this);
    const QModelIndex entry =
        widget && index >= 0 ? widget->Model()->index(index, 0, widget->Directory()) : QModelIndex();
    return entry.isValid() ? FromQString(widget->Model()->filePath(entry)) : CString{};
}

void CFileDialog::OnLBSelChangedNotify(UINT, int, UINT) {}
