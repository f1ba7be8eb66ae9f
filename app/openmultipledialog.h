// Chooses several page files of one directory, to be viewed one after the other.
#pragma once

#include "platform/dialog.h"

#include <vector>

// The caller sets directory, filter and mark flag, and takes them back with the names after IDOK. The list
// holds files, sub-directories and the way up alike; the brackets tell what an entry is, so a file whose own
// name begins with a bracket cannot be chosen.
class COpenMultipleDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    COpenMultipleDialog();

    // Fills the list from directory, filter and flags. False, and nothing changed, where that cannot be done.
    bool RefillList();
    // The same; where a directory cannot be listed, the nearest one above it. False: none can.
    bool RefillNearest();
    bool SelectFilter(); // shows the filter in the combo box; false if that has no such entry
    void TakeFilter();   // from the combo box

    CListBox m_wndList;
    CComboBox m_wndType;
    bool m_bShowViewed = false;   // list also what has been viewed
    bool m_bMarkViewed = true;    // mark what is viewed from now on
    CString m_szListSpec;         // directory and pattern; the pattern alone once it has been listed
    CString m_strDirectory;       // closed by a separator; empty at the start: the process's own
    CString m_strFilter;          // as "*.fax"
    std::vector<CString> m_Files; // names without directory, in the list's order
    CString m_strStartDirectory;  // the process's when the dialog opened; it stays that all the time

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    bool OnInitDialog() override;
    void OnOK() override;
    void DoDataExchange(CDataExchange* exchange) override;

    void OnShowViewed();
    void OnTypeChanged();
    void OnListDoubleClick();

private:
    static const MessageEntry entries[];
    bool ShowDirectory(const CString& directory); // false, and nothing has changed, if it cannot be listed
};
