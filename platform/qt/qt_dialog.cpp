// Dialogs on Qt: items from a template, their controls, the modal loop.
#include "platform/qt/qt_dialog.h"

#include "platform/app.h"
#include "platform/qt/dialogitems.h"
#include "platform/qt/queue.h"
#include "platform/text.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <QVBoxLayout>
#include <algorithm>

namespace
{
constexpr int kListWidthChars = 52; // initial; the user can resize the dialog
constexpr int kListHeightRows = 14;
constexpr int kLabelChars = 4096; // more than any path has

// An entry is as wide as the list. A long text is cut in the middle, and its tool tip shows the whole text.
class ListWidthDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return {1, QStyledItemDelegate::sizeHint(option, index).height()};
    }
};

// Returns the text as a tool tip without markup: Qt would interpret markup in it.
QString ToolTipOf(const QString& text)
{
    return text.toHtmlEscaped().prepend(QLatin1String("<span>"));
}

// A label of one line, cut in the middle.
class PathLabel : public QLabel
{
public:
    explicit PathLabel(QWidget* parent) : QLabel(parent)
    {
        setTextFormat(Qt::PlainText);
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, width());
        style()->drawItemText(&painter, rect(), Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(),
                              shown, foregroundRole());
        setToolTip(shown == text() ? QString() : ToolTipOf(text()));
    }
};

bool IsInBrackets(std::string_view entry)
{
    return entry.starts_with('[') && entry.ends_with(']');
}

// Compares the names without the closing bracket, so that "[a]" is before "[a 2]".
bool BracketsComeBefore(std::string_view entry, std::string_view other)
{
    return ComesBefore(entry.substr(0, entry.size() - 1), other.substr(0, other.size() - 1));
}

QString WithoutMarks(QString text)
{
    text.remove(QLatin1Char('&'));
    return text.endsWith(QLatin1Char(':')) ? text.chopped(1) : text;
}

template <class Widget>
Widget* WidgetOf(const CWnd* window)
{
    return window->Peer() ? dynamic_cast<Widget*>(window->Peer()->Widget()) : nullptr;
}

template <class Widget>
Widget* ControlOf(const CDialog* dialog, UINT id)
{
    const DialogWidget* widget = DialogOf(dialog);
    return widget ? dynamic_cast<Widget*>(widget->Control(id)) : nullptr;
}

} // namespace

QString Showable(QString text)
{
    for (QChar& c : text) {
        const char16_t code = c.unicode();
        if (c.category() == QChar::Other_Control || (code >= 0x2028 && code <= 0x202e) ||
            (code >= 0x2066 && code <= 0x2069) || code == 0x200e || code == 0x200f || code == 0x061c)
            c = QChar(QChar::ReplacementCharacter);
    }
    return text;
}

void NameModel::Set(std::vector<CString> names)
{
    beginResetModel();
    m_names = std::move(names);
    const auto without_brackets = std::partition(m_names.begin(), m_names.end(), IsInBrackets);
    std::sort(m_names.begin(), without_brackets, BracketsComeBefore);
    std::sort(without_brackets, m_names.end(), ComesBefore);
    endResetModel();
}

int NameModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_names.size());
}

QVariant NameModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole))
        return {};
    const QString shown = Showable(ToQString(m_names[static_cast<size_t>(index.row())]));
    return role == Qt::ToolTipRole ? ToolTipOf(shown) : shown;
}

NameList::NameList(QWidget* parent) : QListView(parent), m_model(new NameModel(this))
{
    setModel(m_model);
    setItemDelegate(new ListWidthDelegate(this));
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setUniformItemSizes(true); // otherwise Qt measures each entry
    setTextElideMode(Qt::ElideMiddle);
    setTabKeyNavigation(false);
    connect(this, &QAbstractItemView::doubleClicked, this, [this] {
        if (!m_is_left) // Qt reports double clicks of all buttons
            return;
        m_is_handled = true;
        notify(LBN_DBLCLK);
    });
}

void NameList::mousePressEvent(QMouseEvent* event)
{
    m_is_handled = false;
    QListView::mousePressEvent(event);
}

// After a double click the button is still down, and the list may already have other entries. Without this,
// the smallest movement would select one of them.
void NameList::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_is_handled || event->buttons() == Qt::NoButton)
        QListView::mouseMoveEvent(event);
}

void NameList::mouseDoubleClickEvent(QMouseEvent* event)
{
    m_is_left = event->button() == Qt::LeftButton;
    QListView::mouseDoubleClickEvent(event);
}

QSize NameList::sizeHint() const
{
    const QFontMetrics metrics = fontMetrics();
    return {metrics.averageCharWidth() * kListWidthChars, metrics.lineSpacing() * kListHeightRows};
}

void NameList::keyPressEvent(QKeyEvent* event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && (event->modifiers() & Qt::ControlModifier)) {
        // Works like a click on the focused entry, but keeps a selection of several entries.
        if (selectionModel()->selectedIndexes().size() <= 1)
            selectionModel()->select(currentIndex(), QItemSelectionModel::ClearAndSelect);
        notify(LBN_DBLCLK);
    } else if (event->key() == Qt::Key_Space && (event->modifiers() & Qt::ControlModifier)) {
        // Qt would search for the next entry that begins with the key's empty text.
        selectionModel()->select(currentIndex(), QItemSelectionModel::Toggle);
    } else {
        QListView::keyPressEvent(event);
    }
}

DialogWidget::DialogWidget(CDialog* owner, const DialogTemplate& contents, QWidget* parent)
    : QDialog(parent), m_owner(owner), m_contents(contents)
{
    setWindowTitle(QString::fromUtf8(contents.title));
    auto* page = new QVBoxLayout(this);
    auto* top = new QHBoxLayout;
    auto* column = new QVBoxLayout;
    page->addLayout(top, 1);
    auto* buttons = new QDialogButtonBox(this);
    QHBoxLayout* line = nullptr;
    QLabel* label = nullptr; // label without its item yet
    bool grows = false;
    for (const DialogItem& item : contents.items) {
        if (item.kind == DialogItemKind::button || item.kind == DialogItemKind::defaultButton) {
            QPushButton* button = buttons->addButton(QString::fromUtf8(item.text),
                                                     item.id == IDCANCEL ? QDialogButtonBox::RejectRole
                                                                         : QDialogButtonBox::AcceptRole);
            button->setDefault(item.kind == DialogItemKind::defaultButton);
            connect(button, &QPushButton::clicked, this, [this, id = item.id] { Notify(id, BN_CLICKED); });
            m_controls.insert(item.id, button);
            if (!m_first)
                m_first = button;
            continue;
        }
        QWidget* widget = MakeItem(item);
        if (item.id != 0)
            m_controls.insert(item.id, widget);
        if (item.kind == DialogItemKind::icon) {
            top->addWidget(widget, 0, Qt::AlignTop);
            top->addSpacing(style()->pixelMetric(QStyle::PM_LayoutHorizontalSpacing));
            continue;
        }
        if (widget->focusPolicy() != Qt::NoFocus) {
            if (!m_first)
                m_first = widget;
            if (label) {
                label->setBuddy(widget);
                widget->setAccessibleName(WithoutMarks(label->text()));
            }
            label = nullptr;
        } else if (item.kind == DialogItemKind::label) {
            label = static_cast<QLabel*>(widget);
        }
        const bool is_tall =
            item.kind == DialogItemKind::list || (item.kind == DialogItemKind::text && item.lines == 0);
        grows |= is_tall;
        if (item.beside && line) {
            line->insertWidget(line->count() - 1, widget);
            continue;
        }
        line = new QHBoxLayout;
        line->addWidget(widget, 1);
        line->addStretch(0);
        column->addLayout(line, is_tall ? 1 : 0);
        if (item.kind == DialogItemKind::label)
            line->setStretchFactor(widget, 0);
    }
    top->addLayout(column, 1);
    page->addWidget(buttons);
    if (!grows)
        page->setSizeConstraint(QLayout::SetFixedSize);
}

QWidget* DialogWidget::MakeItem(const DialogItem& item)
{
    const QString text = QString::fromUtf8(item.text);
    switch (item.kind) {
    case DialogItemKind::path: return new PathLabel(this);
    case DialogItemKind::number: return new QLineEdit(this);
    case DialogItemKind::list: {
        auto* list = new NameList(this);
        list->notify = [this, id = item.id](UINT code) { Notify(id, code); };
        return list;
    }
    case DialogItemKind::combo: {
        auto* combo = new QComboBox(this);
        std::vector<CString> entries(item.entries.begin(), item.entries.end());
        std::sort(entries.begin(), entries.end(), ComesBefore);
        for (const CString& entry : entries)
            combo->addItem(ToQString(entry));
        combo->setCurrentIndex(-1);
        connect(combo, &QComboBox::currentIndexChanged, this,
                [this, id = item.id] { Notify(id, CBN_SELCHANGE); });
        return combo;
    }
    case DialogItemKind::check: {
        auto* check = new QCheckBox(text, this);
        connect(check, &QCheckBox::clicked, this, [this, id = item.id] { Notify(id, BN_CLICKED); });
        return check;
    }
    case DialogItemKind::text: return new RowsText(this, item.lines);
    case DialogItemKind::progress: {
        auto* progress = new QProgressBar(this);
        progress->setAccessibleName(text);
        progress->setValue(0);
        return progress;
    }
    case DialogItemKind::bars: {
        auto* bars = new BarChart(this);
        bars->setAccessibleName(text);
        return bars;
    }
    case DialogItemKind::icon: {
        auto* icon = new QLabel(this);
        if (const char* const* picture = AfxGetApp()->GetResources().icon)
            icon->setPixmap(QPixmap(picture));
        return icon;
    }
    default: {
        auto* label = new QLabel(text, this);
        label->setTextFormat(Qt::PlainText);
        return label;
    }
    }
}

void DialogWidget::Notify(UINT id, UINT code)
{
    if (m_owner)
        m_owner->SendMessage(WM_COMMAND, code << 16 | id);
}

void DialogWidget::StartWork()
{
    m_wants_work = true;
    if (!m_is_working)
        m_work.start(0, this);
}

void DialogWidget::StopWork()
{
    m_wants_work = false;
    m_work.stop();
}

// Calls OnWork once. Between two calls the loop handles events from the display. The timer is stopped during
// the call, because a box within the call has its own loop.
void DialogWidget::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != m_work.timerId()) {
        QDialog::timerEvent(event);
        return;
    }
    m_work.stop();
    if (!m_owner)
        return;
    const QPointer<DialogWidget> self = this;
    m_is_working = true;
    const bool more = m_owner->RunWorkStep();
    if (!self)
        return;
    m_is_working = false;
    m_wants_work = m_wants_work && more && m_owner;
    if (m_wants_work)
        m_work.start(0, this);
}

void DialogWidget::reject()
{
    Notify(IDCANCEL, BN_CLICKED);
}

DialogPeer::DialogPeer(CDialog* owner, const DialogTemplate& contents, QWidget* parent)
    : m_widget(new DialogWidget(owner, contents, parent))
{
}

DialogPeer::~DialogPeer()
{
    if (!m_widget)
        return;
    // Deleted at once: the dialog's loop has ended, so none of its handlers is running.
    m_widget->Detach();
    delete m_widget.data();
}

QString ControlPeer::Text() const
{
    if (const auto* combo = qobject_cast<const QComboBox*>(m_widget))
        return combo->currentText();
    if (const auto* edit = qobject_cast<const QLineEdit*>(m_widget))
        return edit->text();
    if (const auto* label = qobject_cast<const QLabel*>(m_widget))
        return label->text();
    if (const auto* text = qobject_cast<const QPlainTextEdit*>(m_widget))
        return text->toPlainText();
    if (const auto* button = qobject_cast<const QAbstractButton*>(m_widget))
        return button->text();
    return {};
}

void ControlPeer::SetText(const QString& text)
{
    if (auto* edit = qobject_cast<QLineEdit*>(m_widget))
        edit->setText(text);
    else if (auto* label = qobject_cast<QLabel*>(m_widget))
        label->setText(Showable(text.left(kLabelChars)));
    else if (auto* button = qobject_cast<QAbstractButton*>(m_widget))
        button->setText(text);
}

int CDialog::DoModal()
{
    const CWinApp* app = AfxGetApp();
    const DialogTemplate* contents = app ? app->GetResources().FindDialog(m_template) : nullptr;
    if (!contents || IsWindow() || !qApp)
        return -1;
    const ModalScope modal;
    m_parent = AfxGetMainWnd();
    m_result = IDCANCEL;
    m_ended = false;
    m_peer = std::make_unique<DialogPeer>(this, *contents, ParentForBox());
    const QPointer<DialogWidget> widget = DialogOf(this);
    if (OnInitDialog() && widget && widget->FirstControl())
        widget->FirstControl()->setFocus();
    if (widget && !m_ended)
        widget->exec();
    m_ended = true;
    Queue::Get().Forget(this);
    m_peer.reset();
    m_parent = nullptr;
    return m_result;
}

void CDialog::EndDialog(int result)
{
    if (!IsWindow() || m_ended)
        return;
    m_result = result;
    m_ended = true;
    if (DialogWidget* widget = DialogOf(this))
        widget->done(result);
}

void CDialog::SetDlgItemText(UINT id, const CString& text)
{
    if (auto* widget = ControlOf<QWidget>(this, id))
        ControlPeer(widget).SetText(ToQString(text));
}

CString CDialog::GetDlgItemText(UINT id) const
{
    auto* widget = ControlOf<QWidget>(this, id);
    return widget ? FromQString(ControlPeer(widget).Text()) : CString{};
}

void CDialog::CheckDlgButton(UINT id, bool on)
{
    if (auto* button = ControlOf<QCheckBox>(this, id))
        button->setChecked(on);
}

bool CDialog::IsDlgButtonChecked(UINT id) const
{
    const auto* button = ControlOf<QCheckBox>(this, id);
    return button && button->isChecked();
}

void CDialog::SetDlgItemRows(UINT id, const std::vector<NamedText>& rows)
{
    if (auto* text = ControlOf<RowsText>(this, id))
        text->SetRows(rows);
}

void CDialog::SetDlgItemProgress(UINT id, int percent)
{
    if (auto* progress = ControlOf<QProgressBar>(this, id))
        progress->setValue(percent);
}

void CDialog::SetDlgItemBars(UINT id, std::vector<ChartBar> bars)
{
    if (auto* chart = ControlOf<BarChart>(this, id))
        chart->SetBars(std::move(bars));
}

void CDialog::StartWork()
{
    if (DialogWidget* widget = DialogOf(this))
        widget->StartWork();
}

void CDialog::StopWork()
{
    if (DialogWidget* widget = DialogOf(this))
        widget->StopWork();
}

void CDialog::GotoDlgCtrl(UINT id)
{
    if (auto* widget = ControlOf<QWidget>(this, id))
        widget->setFocus();
    if (auto* edit = ControlOf<QLineEdit>(this, id))
        edit->selectAll();
}

void CDialog::BindControl(UINT id, CWnd& control)
{
    control.m_parent = this;
    control.m_peer = std::make_unique<ControlPeer>(ControlOf<QWidget>(this, id));
}

void CListBox::SetContent(std::vector<CString> entries)
{
    auto* list = WidgetOf<NameList>(this);
    if (!list)
        return;
    list->Names().Set(std::move(entries));
    list->scrollToTop();
    // Qt sets the focused entry only when the list itself receives the focus.
    list->selectionModel()->setCurrentIndex(list->model()->index(0, 0), QItemSelectionModel::NoUpdate);
}

int CListBox::GetCount() const
{
    auto* list = WidgetOf<NameList>(this);
    return list ? list->Names().rowCount() : 0;
}

CString CListBox::GetText(int index) const
{
    auto* list = WidgetOf<NameList>(this);
    return list && index >= 0 && index < list->Names().rowCount()
               ? list->Names().Names()[static_cast<size_t>(index)]
               : CString{};
}

// Uses ranges, because a hundred thousand single indices would take noticeable time.
std::vector<int> CListBox::GetSelItems() const
{
    std::vector<int> items;
    auto* list = WidgetOf<NameList>(this);
    if (!list)
        return items;
    for (const QItemSelectionRange& range : list->selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            items.push_back(row);
    std::sort(items.begin(), items.end());
    items.erase(std::unique(items.begin(), items.end()), items.end());
    return items;
}

int CComboBox::GetCount() const
{
    const auto* combo = WidgetOf<QComboBox>(this);
    return combo ? combo->count() : 0;
}

CString CComboBox::GetLBText(int index) const
{
    const auto* combo = WidgetOf<QComboBox>(this);
    return combo ? FromQString(combo->itemText(index)) : CString{};
}

void CComboBox::SetCurSel(int index)
{
    if (auto* combo = WidgetOf<QComboBox>(this)) {
        const QSignalBlocker not_the_user(combo);
        combo->setCurrentIndex(index);
    }
}
