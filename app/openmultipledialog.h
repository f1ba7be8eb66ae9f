// SPDX-License-Identifier: MIT
// The Open Multiple dialog: asks for page files of one directory. CLumentaApp then shows them one after the
// other.
#pragma once

#include "platform/dialog.h"

#include <vector>

// The caller sets m_strDirectory, m_strFilter and m_bMarkViewed. If DoModal returns IDOK, these members and
// m_Files hold the user's choices. The list shows directories in brackets. "[..]" is the directory above. The
// user cannot choose a file whose name begins with "[", because only the brackets distinguish directories
// from files.
class COpenMultipleDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    COpenMultipleDialog();

    // Fills the list according to m_strDirectory, m_strFilter and m_bShowViewed. Returns false, and leaves
    // the list unchanged, if the directory cannot be listed.
    bool RefillList();
    // Fills the list in the same way. If the directory cannot be listed, changes m_strDirectory to the
    // nearest directory above it that can be listed. Returns false if there is none.
    bool RefillNearest();
    bool SelectFilter(); // selects m_strFilter in the combo box; returns false if it has no such entry
    void TakeFilter();   // sets m_strFilter from the combo box

    CListBox m_wndList;
    CComboBox m_wndType;
    bool m_bShowViewed = false;   // also list files that are marked as viewed
    bool m_bMarkViewed = true;    // mark pages as viewed when they are opened
    CString m_szListSpec;         // for DlgDirList: directory and pattern; it removes the directory
    CString m_strDirectory;       // ends with a separator. In: empty means the working directory
    CString m_strFilter;          // a pattern such as "*.fax"
    std::vector<CString> m_Files; // names without directory, in the order of the list
    CString m_strStartDirectory;  // working directory of the process; the dialog does not change it

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    bool OnInitDialog() override;
    void OnOK() override;
    void DoDataExchange(CDataExchange* exchange) override;

    void OnShowViewed();
    void OnTypeChanged();
    void OnListDoubleClick();

private:
    static const MessageEntry entries[];
    // Lists a directory. Returns false, and changes nothing, if it cannot be listed.
    bool ShowDirectory(const CString& directory);
};
