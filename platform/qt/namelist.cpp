// SPDX-License-Identifier: MIT
// Sorts the names, and converts each name when it is shown. Adds to Qt's list that Ctrl+Enter works like a
// double click.
#include "platform/qt/namelist.h"

#include "platform/dialog.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_displaytext.h"
#include "platform/text.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyledItemDelegate>
#include <algorithm>
#include <utility>

namespace
{
constexpr int kListWidthChars = 52; // initial; the user can resize the dialog
constexpr int kListHeightRows = 14;

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

bool IsInBrackets(std::string_view entry)
{
    return entry.starts_with('[') && entry.ends_with(']');
}

// Compares the names without the closing bracket, so that "[a]" is before "[a 2]".
bool BracketsComeBefore(std::string_view entry, std::string_view other)
{
    return ComesBefore(entry.substr(0, entry.size() - 1), other.substr(0, other.size() - 1));
}
} // namespace

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
        // Without this, Qt would search for the next entry that begins with the key's text, which is empty.
        selectionModel()->select(currentIndex(), QItemSelectionModel::Toggle);
    } else {
        QListView::keyPressEvent(event);
    }
}
