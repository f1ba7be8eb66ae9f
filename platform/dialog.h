// SPDX-License-Identifier: MIT
// Modal dialogs, their controls, and the exchange between the controls and the dialog's own values.
#pragma once

#include "platform/cstring.h"
#include "platform/wnd.h"

#include <cstdint>
#include <vector>

constexpr int IDOK = 1; // results of DoModal; also the numbers of the two buttons
constexpr int IDCANCEL = 2;

// Notifications of controls, see OnControl.
constexpr UINT BN_CLICKED = 0;
constexpr UINT LBN_DBLCLK = 2;    // a double click, or Ctrl+Enter on the focused entry
constexpr UINT CBN_SELCHANGE = 1; // the user has selected another entry; not sent by SetCurSel

// A bar of a chart.
struct ChartBar {
    double share = 0; // height as a share of the chart's height, 0 to 1
    CString text;     // its tool tip
};

class CDialog;

// One exchange by UpdateData, in one direction. After a failure, the remaining controls are skipped.
class CDataExchange
{
public:
    CDataExchange(CDialog* dialog, bool save) : m_pDlgWnd(dialog), m_bSaveAndValidate(save) {}

    // Makes the exchange fail: shows the message and moves the focus to the control. The dialog stays open.
    void Fail(UINT id, const CString& message);
    [[nodiscard]] bool HasFailed() const { return m_failed; }

    CDialog* const m_pDlgWnd;
    const bool m_bSaveAndValidate; // true: from the controls to the values; false: the reverse

private:
    bool m_failed = false;
};

// The caller creates a dialog on its stack and may show it any number of times. While it is open, no paint
// message and no posted message reaches any other window. Its controls exist only while it is open.
class CDialog : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    explicit CDialog(UINT template_number); // number of a template in the application's resources
    ~CDialog() override;

    // Shows the dialog over the active window, and returns after it has ended: IDOK, IDCANCEL, or the result
    // that EndDialog received. Returns -1 if there is no such template or no application to show it, or if
    // the dialog is open already.
    int DoModal();
    // Ends the dialog: DoModal returns `result`. Has no effect if the dialog is not open. OnInitDialog may
    // call this function.
    void EndDialog(int result);
    bool DestroyWindow() override; // ends the dialog as cancelled; false if it is not open

    // Copies the values to the controls, or with `save` the controls to the values. Returns false if the
    // content of a control is not valid; the user has then seen a message.
    bool UpdateData(bool save = true);

    // If there is no such control, these functions do nothing, and return empty text or false.
    void SetDlgItemText(UINT id, const CString& text);
    [[nodiscard]] CString GetDlgItemText(UINT id) const;
    void CheckDlgButton(UINT id, bool on);
    [[nodiscard]] bool IsDlgButtonChecked(UINT id) const;
    void GotoDlgCtrl(UINT id);                // moves the focus to it and selects its text
    void BindControl(UINT id, CWnd& control); // see DDX_Control
    void SetDlgItemRows(UINT id, const std::vector<NamedText>& rows);
    // percent: 0 to 100
    void SetDlgItemProgress(UINT id, int percent);
    void SetDlgItemBars(UINT id, std::vector<ChartBar> bars);

    // Work in steps while the dialog is open. After StartWork, the dialog's loop calls OnWork again and again
    // while it returns true. Input and paints are handled between two calls, so a call should take only a few
    // milliseconds. If a call opens a box, the next call comes after the box has closed.
    void StartWork();
    void StopWork();
    // The dialog's loop calls this for each step of the work. Calls OnWork, unless the dialog has ended.
    // Returns true if the work needs a further step.
    bool RunWorkStep();

protected:
    // Called before the dialog is shown. If it returns true, the first control receives the focus. It returns
    // false if it has set the focus itself.
    virtual bool OnInitDialog();
    virtual void OnOK();     // copies the controls to the values; if they are valid, ends with IDOK
    virtual void OnCancel(); // ends with IDCANCEL
    // Called by UpdateData: calls a DDX function for each value.
    virtual void DoDataExchange(CDataExchange* exchange);
    [[nodiscard]] virtual bool OnWork(); // a step of the work; returns false after the last step

    bool OnCommandMessage(UINT command) override;
    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    const UINT m_template;
    int m_result = IDCANCEL;
    bool m_ended = false;
};

// A list box. Its entries are sorted: entries in brackets first, then by name, see ComesBefore. Entries are
// bytes. On the screen, characters that cannot be displayed are replaced.
class CListBox : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    void SetContent(std::vector<CString> entries); // replaces all entries; no entry is selected
    [[nodiscard]] int GetCount() const;
    [[nodiscard]] CString GetText(int index) const;     // empty if there is no such entry
    [[nodiscard]] std::vector<int> GetSelItems() const; // ascending
};

class CComboBox : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    [[nodiscard]] int GetCount() const;
    [[nodiscard]] CString GetLBText(int index) const; // empty if there is no such entry
    // -1 selects no entry.
    void SetCurSel(int index);
};

// Each DDX function exchanges one control with one value, and does nothing after a failure.
void DDX_Check(CDataExchange* exchange, UINT id, bool& value);
void DDX_Text(CDataExchange* exchange, UINT id, CString& value);
// Exchanges an integer. If the field does not hold an integer from minimum to maximum, shows a message with
// the two limits and fails.
void DDX_Number(CDataExchange* exchange, UINT id, int32_t& value, int32_t minimum, int32_t maximum);
// Binds `control` to the dialog's control with this number, while the dialog is open.
void DDX_Control(CDataExchange* exchange, UINT id, CWnd& control);

// Selects what DlgDirList lists. Flags may be combined.
enum DirectoryListFlag : UINT {
    DDL_DIRECTORY = 0x10,   // sub-directories as "[name]", and "[..]" except at the root
    DDL_ARCHIVE = 0x20,     // with DDL_EXCLUSIVE: files not viewed yet
    DDL_DRIVES = 0x4000,    // no effect: there are no drives
    DDL_EXCLUSIVE = 0x8000, // only the files selected by other flags; without it, all files are listed
};

// Fills a dialog's list box with the entries of a directory. *target is the directory, ending with "/",
// followed by patterns. Without a directory, the working directory of the process is listed. Afterwards
// *target holds only the patterns. The control `path` shows the directory. Returns false and changes nothing
// if the directory cannot be listed, or if *target has more than kLongestPath bytes.
[[nodiscard]] bool DlgDirList(CDialog& dialog, CString* target, UINT list, UINT path, UINT types);
