// SPDX-License-Identifier: MIT
// The parts of dialogs that do not use Qt: buttons, the exchange of values, and directory listings.
#include "platform/dialog.h"

#include "platform/app.h"
#include "platform/directory.h"
#include "platform/text.h"

#include <charconv>
#include <utility>

const CRuntimeClass CDialog::classRecord{"CDialog", &CWnd::classRecord, nullptr};
const CRuntimeClass CListBox::classRecord{"CListBox", &CWnd::classRecord, nullptr};
const CRuntimeClass CComboBox::classRecord{"CComboBox", &CWnd::classRecord, nullptr};

void CDataExchange::Fail(UINT id, const CString& message)
{
    m_failed = true;
    AfxMessageBox(message);
    m_pDlgWnd->GotoDlgCtrl(id);
}

CDialog::CDialog(UINT template_number) : m_template(template_number) {}

CDialog::~CDialog() = default;

bool CDialog::DestroyWindow()
{
    if (!IsWindow())
        return false;
    EndDialog(IDCANCEL);
    return true;
}

bool CDialog::UpdateData(bool save)
{
    CDataExchange exchange(this, save);
    DoDataExchange(&exchange);
    return !exchange.HasFailed();
}

bool CDialog::OnInitDialog()
{
    UpdateData(false);
    return true;
}

void CDialog::OnOK()
{
    if (UpdateData())
        EndDialog(IDOK);
}

void CDialog::OnCancel()
{
    EndDialog(IDCANCEL);
}

void CDialog::DoDataExchange(CDataExchange*) {}

bool CDialog::OnWork()
{
    return false;
}

bool CDialog::RunWorkStep()
{
    return !m_ended && OnWork() && !m_ended;
}

bool CDialog::OnCommandMessage(UINT command)
{
    if (!IsWindow() || m_ended)
        return false; // Qt still sends notifications while the dialog ends
    if (const MessageEntry* entry = GetMessageMap().Find(MessageEntry::Kind::control, command)) {
        entry->invoke(*this, command, 0);
        return true;
    }
    if (command == IDOK)
        OnOK();
    else if (command == IDCANCEL)
        OnCancel();
    else
        return false;
    return true;
}

LRESULT CDialog::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    return message == WM_CLOSE ? SendMessage(WM_COMMAND, IDCANCEL)
                               : CWnd::DefWindowProc(message, wParam, lParam);
}

void DDX_Check(CDataExchange* exchange, UINT id, bool& value)
{
    if (exchange->HasFailed())
        return;
    if (exchange->m_bSaveAndValidate)
        value = exchange->m_pDlgWnd->IsDlgButtonChecked(id);
    else
        exchange->m_pDlgWnd->CheckDlgButton(id, value);
}

void DDX_Text(CDataExchange* exchange, UINT id, CString& value)
{
    if (exchange->HasFailed())
        return;
    if (exchange->m_bSaveAndValidate)
        value = exchange->m_pDlgWnd->GetDlgItemText(id);
    else
        exchange->m_pDlgWnd->SetDlgItemText(id, value);
}

void DDX_Number(CDataExchange* exchange, UINT id, int32_t& value, int32_t minimum, int32_t maximum)
{
    if (exchange->HasFailed())
        return;
    if (!exchange->m_bSaveAndValidate) {
        exchange->m_pDlgWnd->SetDlgItemText(id, std::to_string(value));
        return;
    }
    const CString field = exchange->m_pDlgWnd->GetDlgItemText(id);
    std::string_view text = Trimmed(field, " \t");
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc{} && end == text.data() + text.size() && number >= minimum && number <= maximum) {
        value = number;
        return;
    }
    CString message;
    message.Format("Enter an integer between %d and %d.", minimum, maximum);
    exchange->Fail(id, message);
}

void DDX_Control(CDataExchange* exchange, UINT id, CWnd& control)
{
    if (!exchange->m_bSaveAndValidate)
        exchange->m_pDlgWnd->BindControl(id, control);
}

bool DlgDirList(CDialog& dialog, CString* target, UINT list, UINT path, UINT types)
{
    if (target->GetLength() > kLongestPath)
        return false;
    const int name_start = target->ReverseFind('/') + 1;
    const CString patterns = target->Mid(name_start);
    const CString directory = name_start == 0 ? CString(".") : target->Left(name_start);
    const bool new_only = (types & DDL_EXCLUSIVE) != 0;
    CCmdTarget::BeginWaitCursor();
    const DirectoryListing listing =
        ListDirectory(directory, patterns, new_only ? Marks::read : Marks::leave);
    CCmdTarget::EndWaitCursor();
    if (listing.error != 0)
        return false;

    const bool is_root = directory.View().find_first_not_of('/') == std::string_view::npos;
    std::vector<CString> entries;
    entries.reserve(listing.entries.size() + 1);
    if ((types & DDL_DIRECTORY) != 0 && !is_root)
        entries.emplace_back("[..]");
    for (const DirectoryEntry& entry : listing.entries) {
        if (!entry.status.IsDirectory()) {
            if (!new_only || ((types & DDL_ARCHIVE) != 0 && !entry.is_viewed))
                entries.push_back(entry.name);
        } else if ((types & DDL_DIRECTORY) != 0) {
            entries.push_back(CString("[") + entry.name + "]");
        }
    }
    CListBox box;
    dialog.BindControl(list, box);
    box.SetContent(std::move(entries));
    *target = patterns;
    dialog.SetDlgItemText(path, is_root || name_start == 0
                                    ? directory
                                    : directory.Left(directory.GetLength() - 1)); // without the last "/"
    return true;
}
