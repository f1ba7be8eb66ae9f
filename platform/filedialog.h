// The dialog that asks for one file to open, with a line of text under its lists.
#pragma once

#include "platform/wnd.h"

constexpr UINT kFileDialogLabel = 1000;       // the line under the lists
constexpr UINT kFileDialogFiles = 1120;       // files of the directory that shows
constexpr UINT kFileDialogDirectories = 1121; // its sub-directories
constexpr UINT CD_LBSELCHANGE = 0;            // code of a plain change of selection

// Lives on the stack of whoever shows it, any number of times. Files and directories share one list on the
// screen; which of both an entry belongs to is told by what it is. Hidden names and special files are left
// out.
class CFileDialog : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // filter: pairs "text|pattern|text|pattern||"; blanks round each are dropped, the text alone is shown.
    // A pattern may be several, between semicolons; case does not count, and "*.*" matches every name. No
    // pair at all shows every file.
    explicit CFileDialog(const CString& filter);
    ~CFileDialog() override;

    // Shows the dialog over the main window. IDOK: m_strFileName is the full path of a file that was there
    // when it was chosen; IDCANCEL: it is empty; -1, and nothing changed: no toolkit, or open already.
    int DoModal();
    bool DestroyWindow() override; // ends it as cancelled

    CString m_strInitialDir; // empty, or not there: the process's own
    CString m_strFileName;   // out
    // Of the pair, from 1. In: 0 and what is none leave the choice to the dialog, which takes the first. Out:
    // the pair that showed at the end, however the dialog ended; 0 where there are none.
    int m_nFilterIndex = 0;

    // While it is open; else empty, -1 and no effect. `index` counts the entries as they show; it holds until
    // the directory changes.
    void SetDlgItemText(UINT id, const CString& text); // kFileDialogLabel alone
    CString GetDlgItemText(UINT id) const;
    int GetCurSel(UINT list) const;        // -1: none of that list
    CString GetEntryText(int index) const; // full path, empty for none

protected:
    // The selection of a list has become `index` (-1: none), or another directory shows (its list, -1).
    virtual void OnLBSelChangedNotify(UINT list, int index, UINT code);

private:
    friend class FileDialogWidget;
    const CString m_filter;
};
