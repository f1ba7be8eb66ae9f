// SPDX-License-Identifier: MIT
// A dialog that asks for one file to open, with a line of text under its list. Receives a directory and
// filters. Returns the path of the file.
#pragma once

#include "platform/wnd.h"

constexpr UINT kFileDialogLabel = 1000;       // the line of text under the list
constexpr UINT kFileDialogFiles = 1120;       // the files of the shown directory
constexpr UINT kFileDialogDirectories = 1121; // the sub-directories of the shown directory
constexpr UINT CD_LBSELCHANGE = 0;            // notification code: the selection has changed

// The caller creates the dialog on its stack and may show it any number of times. Files and directories are
// in one list on the screen. Special files are not listed. Hidden names are listed only if the user asks for
// them.
class CFileDialog : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // filter: pairs "text|pattern|text|pattern||". Blanks around texts and patterns are dropped. Only the
    // text is shown. A pattern may be several patterns with semicolons between them. Patterns ignore case,
    // and "*.*" matches every name. A filter without pairs shows every file.
    explicit CFileDialog(const CString& filter);
    ~CFileDialog() override;

    // Shows the dialog and returns how it ended.
    //   IDOK      m_strFileName is the full path of a regular file that existed when it was chosen
    //   IDCANCEL  m_strFileName is empty
    //   -1        the dialog is open already, or there is no application to show it; nothing has changed
    int DoModal();
    bool DestroyWindow() override; // ends the dialog as cancelled; false if it is not open

    // The directory that is shown first, or the nearest existing directory above it. If it is empty, the
    // dialog starts in the working directory of the process.
    CString m_strInitialDir;
    CString m_strFileName; // result of DoModal
    // Number of the selected filter pair, from 1. In: 0 or out of range selects the first. Out: the pair that
    // was selected when the dialog ended, also after IDCANCEL; 0 if the filter has no pairs.
    int m_nFilterIndex = 0;

    // These work only while the dialog is open. An index counts the entries in the order shown, and is valid
    // until the directory changes.
    void SetDlgItemText(UINT id, const CString& text); // id: only kFileDialogLabel
    [[nodiscard]] CString GetDlgItemText(UINT id) const;
    [[nodiscard]] int GetCurSel(UINT list) const;        // -1: nothing in this list is selected
    [[nodiscard]] CString GetEntryText(int index) const; // full path; empty if there is no such entry

    // Called after a selection: `index` is the selected entry of `list`, or -1 if none is selected. Also
    // called with kFileDialogDirectories and -1 after the dialog shows another directory.
    virtual void OnLBSelChangedNotify(UINT list, int index, UINT code);

private:
    const CString m_filter;
};
