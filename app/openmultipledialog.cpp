// SPDX-License-Identifier: MIT
// Lists a directory, changes to another one after a double click, and returns the selected files.
#include "app/openmultipledialog.h"

#include "app/dialogids.h"
#include "app/pagepath.h"
#include "platform/directory.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace
{
constexpr const char* kEveryFile = "*.*";

// Returns the directory above, without a separator at its end unless it is the root. The directory above the
// root is the root. A name without a separator is returned as it is.
CString DirectoryAbove(const CString& directory)
{
    const CString name =
        directory.View().ends_with('/') ? directory.Left(directory.GetLength() - 1) : directory;
    const int separator = name.ReverseFind('/');
    return separator > 0 ? name.Left(separator) : separator == 0 || name.IsEmpty() ? CString("/") : name;
}
} // namespace

const CRuntimeClass COpenMultipleDialog::classRecord{"COpenMultipleDialog", &CDialog::classRecord, nullptr};

const MessageEntry COpenMultipleDialog::entries[] = {
    OnControl<BN_CLICKED, kShowViewedBox, &COpenMultipleDialog::OnShowViewed>(),
    OnControl<CBN_SELCHANGE, kTypeBox, &COpenMultipleDialog::OnTypeChanged>(),
    OnControl<LBN_DBLCLK, kPageList, &COpenMultipleDialog::OnListDoubleClick>(),
};
const MessageMap COpenMultipleDialog::messages{&CDialog::messages, entries};

COpenMultipleDialog::COpenMultipleDialog() : CDialog(kOpenMultipleDialog) {}

void COpenMultipleDialog::DoDataExchange(CDataExchange* exchange)
{
    CDialog::DoDataExchange(exchange);
    DDX_Control(exchange, kPageList, m_wndList);
    DDX_Control(exchange, kTypeBox, m_wndType);
    DDX_Check(exchange, kShowViewedBox, m_bShowViewed);
    DDX_Check(exchange, kMarkViewedBox, m_bMarkViewed);
}

bool COpenMultipleDialog::OnInitDialog()
{
    CDialog::OnInitDialog();
    std::error_code none; // on failure the text is empty
    m_strStartDirectory = std::filesystem::current_path(none).string();
    const CString start = m_strStartDirectory.IsEmpty() ? CString{} : WithSeparator(m_strStartDirectory);
    const bool is_usable = !m_strDirectory.IsEmpty() && m_strDirectory.GetLength() <= kLongestPath;
    m_strDirectory = is_usable ? WithSeparator(m_strDirectory) : start;
    if (!SelectFilter()) {
        m_strFilter = kEveryFile;
        SelectFilter();
    }
    // The directory in the settings may be gone, or may never have been one. With an empty list the user
    // could not go to another directory.
    if (!RefillNearest()) {
        m_strDirectory = start;
        RefillNearest();
    }
    return true;
}

bool COpenMultipleDialog::SelectFilter()
{
    const CString wanted = CString("(") + m_strFilter + ")";
    for (int i = 0; i < m_wndType.GetCount(); ++i) {
        if (m_wndType.GetLBText(i).View().find(wanted.View()) == std::string_view::npos)
            continue;
        m_wndType.SetCurSel(i);
        return true;
    }
    return false;
}

void COpenMultipleDialog::TakeFilter()
{
    const CString text = m_wndType.GetWindowText();
    const CString after_bracket = text.Find('(') < 0 ? CString{} : text.Mid(text.Find('(') + 1);
    m_strFilter = after_bracket.Left(after_bracket.Find(')'));
    if (m_strFilter.IsEmpty()) {
        m_strFilter = kEveryFile;
        SelectFilter();
    }
}

bool COpenMultipleDialog::RefillList()
{
    m_szListSpec = m_strDirectory + m_strFilter;
    UINT types = DDL_DRIVES | DDL_DIRECTORY | DDL_ARCHIVE;
    if (!m_bShowViewed)
        types |= DDL_EXCLUSIVE;
    if (!DlgDirList(*this, &m_szListSpec, kPageList, kDirectoryText, types))
        return false;
    m_wndList.UpdateWindow();
    return true;
}

bool COpenMultipleDialog::RefillNearest()
{
    while (!RefillList()) {
        CString above = WithSeparator(DirectoryAbove(m_strDirectory));
        if (above == m_strDirectory)
            return false;
        m_strDirectory = std::move(above);
    }
    return true;
}

void COpenMultipleDialog::OnShowViewed()
{
    UpdateData();
    RefillList();
}

void COpenMultipleDialog::OnTypeChanged()
{
    UpdateData();
    TakeFilter();
    RefillList();
}

void COpenMultipleDialog::OnListDoubleClick()
{
    const std::vector<int> selected = m_wndList.GetSelItems();
    if (selected.size() != 1)
        return;
    const CString text = m_wndList.GetText(selected.front());
    const std::string_view entry = text;
    if (!entry.starts_with('[') || !entry.ends_with(']')) {
        UpdateData();
        OnOK();
        return;
    }
    if (entry == "[..]") {
        const CString before = std::exchange(m_strDirectory, WithSeparator(DirectoryAbove(m_strDirectory)));
        if (!RefillNearest())
            m_strDirectory = before;
        return;
    }
    const std::string_view name = entry.substr(1, entry.size() - 2);
    // A name such as "-c-" means a drive. If there is no such drive, the entry is a directory of that name.
    if (name.size() == 3 && name[0] == '-' && name[2] == '-' &&
        ShowDirectory(CString(name.substr(1, 1)) + ":"))
        return;
    ShowDirectory(m_strDirectory + name);
}

bool COpenMultipleDialog::ShowDirectory(const CString& directory)
{
    const CString before = std::exchange(m_strDirectory, WithSeparator(directory));
    if (RefillList())
        return true;
    m_strDirectory = before;
    return false;
}

// The working directory need not be restored, here or on Cancel, because the listings do not change it.
void COpenMultipleDialog::OnOK()
{
    m_Files.clear();
    for (const int index : m_wndList.GetSelItems())
        if (CString name = m_wndList.GetText(index); !name.View().starts_with('['))
            m_Files.push_back(std::move(name));
    CDialog::OnOK();
}
