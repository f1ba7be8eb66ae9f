// SPDX-License-Identifier: MIT
// The functions of dialogs and controls that use Qt: access to the controls, and the modal loop.
#include "platform/qt/qt_dialog.h"

#include "platform/app.h"
#include "platform/qt/dialogitems.h"
#include "platform/qt/framewidget.h"
#include "platform/qt/namelist.h"
#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_displaytext.h"
#include "platform/qt/queue.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QSignalBlocker>
#include <algorithm>

namespace
{
constexpr int kLabelChars = 4096; // more than any path has

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

DialogWidget* DialogOf(const CWnd* window)
{
    const auto* peer = PeerOf<DialogPeer>(window);
    return peer ? peer->Dialog() : nullptr;
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

// Reads the selection as ranges, because reading a hundred thousand single indices would take noticeable
// time.
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
