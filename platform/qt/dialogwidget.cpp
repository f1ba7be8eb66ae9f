// SPDX-License-Identifier: MIT
// Makes the controls of a dialog from top to bottom. Each item begins a new line of the layout, unless it is
// beside the item before it. The buttons are in one row at the bottom.
#include "platform/qt/dialogwidget.h"

#include "platform/app.h"
#include "platform/qt/dialogitems.h"
#include "platform/qt/namelist.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_displaytext.h"
#include "platform/text.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTimerEvent>
#include <QVBoxLayout>
#include <algorithm>
#include <vector>

namespace
{
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

QString WithoutMarks(QString text)
{
    text.remove(QLatin1Char('&'));
    return text.endsWith(QLatin1Char(':')) ? text.chopped(1) : text;
}
} // namespace

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
    QLabel* label = nullptr; // the last label, until the item that it belongs to is made
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
