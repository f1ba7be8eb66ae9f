// The toolkit's own dialog for files, with a label under its lists and word of every selection.
#include "platform/qt/filedialogpeer.h"

#include "platform/dialog.h"
#include "platform/qt/dialogpeer.h"
#include "platform/qt/queue.h"
#include "platform/qt/services.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QElapsedTimer>
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
constexpr int kHookWaitMs = 2000;
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

// As the hook of other dialogs: from the loop, once the display shows the dialog and has given it the keys.
void RunHookWhenShown(CFileDialog* owner, FileDialogWidget* widget)
{
    auto* timer = new QTimer(widget);
    QElapsedTimer since;
    since.start();
    QObject::connect(timer, &QTimer::timeout, widget,
                     [owner, widget = QPointer<FileDialogWidget>(widget), timer, since] {
                         const bool ready = widget->isVisible() && widget->isActiveWindow();
                         if (!ready && since.elapsed() < kHookWaitMs)
                             return;
                         timer->stop();
                         g_file_dialog_hook(*owner);
                         if (widget && widget->isVisible())
                             widget->reject();
                     });
    timer->start(0);
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
    if (auto* name = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))) {
        connect(name, &QLineEdit::textEdited, this, [this] { m_is_typed = true; });
        // The toolkit greys the button at the name of a file that the filter hides.
        connect(name, &QLineEdit::textChanged, this, [this](const QString& text) {
            if (auto* button = findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open))
                button->setEnabled(button->isEnabled() || QFileInfo(directory().filePath(text)).isFile());
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

// The one that was chosen, not what the toolkit takes the quotation marks in its name for.
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

void FileDialogWidget::accept()
{
    const QModelIndex selected = Selected();
    if (!m_is_typed && selected.isValid() && QFileInfo(m_model->filePath(selected)).isFile()) {
        m_chosen = m_model->filePath(selected);
        done(Accepted);
        return;
    }
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
    const CWnd* main = AfxGetMainWnd();
    m_strFileName.Empty();
    m_peer = std::make_unique<FileDialogPeer>(
        this, m_filter,
        main && main->Peer() && main->Peer()->Widget() ? main->Peer()->Widget()->window() : nullptr);
    const QPointer<FileDialogWidget> widget = FileDialogOf(this);
    const QStringList filters = widget->nameFilters();
    if (m_nFilterIndex > 0 && m_nFilterIndex <= filters.size())
        widget->selectNameFilter(filters[m_nFilterIndex - 1]);
    const QString start = ToQString(m_strInitialDir);
    widget->setDirectory(!start.isEmpty() && QDir(start).exists() ? start : QDir::currentPath());
    if (g_file_dialog_hook)
        RunHookWhenShown(this, widget);
    const bool accepted = widget->exec() == QDialog::Accepted;
    if (widget) {
        if (accepted)
            m_strFileName = FromQString(widget->Chosen());
        // The toolkit gives the text as it shows, without the pattern.
        const QString shown = widget->selectedNameFilter();
        m_nFilterIndex = 0;
        for (int i = 0; i < filters.size() && m_nFilterIndex == 0 && !m_filter.IsEmpty(); ++i)
            if (filters[i] == shown || filters[i].startsWith(shown + QLatin1String(" (")))
                m_nFilterIndex = i + 1;
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
