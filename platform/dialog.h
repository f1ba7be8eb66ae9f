// Modal dialogs, their controls, and the exchange between controls and the dialog's own values.
#pragma once

#include "platform/cstring.h"
#include "platform/wnd.h"

#include <cstdint>
#include <vector>

constexpr int IDOK = 1; // also the numbers of those two buttons
constexpr int IDCANCEL = 2;

// Notifications of controls, see OnControl.
constexpr UINT BN_CLICKED = 0;
constexpr UINT LBN_DBLCLK = 2;    // a double click, or Ctrl+Enter on the focused entry
constexpr UINT CBN_SELCHANGE = 1; // the user has chosen another entry; not sent by SetCurSel

// A bar of a chart.
struct ChartBar {
    double share = 0; // of the chart's height, 0 to 1
    CString text;     // its tool tip
};

class CDialog;

// One direction of UpdateData. What follows a failure is left alone.
class CDataExchange
{
public:
    CDataExchange(CDialog* dialog, bool save) : m_pDlgWnd(dialog), m_bSaveAndValidate(save) {}

    // Shows the message, then leads back to the control: the dialog stays.
    void Fail(UINT id, const CString& message);
    bool HasFailed() const { return m_failed; }

    CDialog* const m_pDlgWnd;
    const bool m_bSaveAndValidate; // from the controls to the values

private:
    bool m_failed = false;
};

// A dialog lives on the stack of whoever shows it, any number of times. While it is open no paint message and
// no posted message reaches any other window. Its controls answer to their numbers only while it is open.
class CDialog : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    explicit CDialog(UINT template_number); // one of the application's
    ~CDialog() override;

    // Shows the dialog over the main window and comes back when it has been ended: with IDOK, IDCANCEL or
    // what EndDialog was given; -1 where there is no such template, no toolkit, or the dialog is open
    // already.
    int DoModal();
    void EndDialog(int result);    // while it is open, OnInitDialog included
    bool DestroyWindow() override; // ends it as cancelled

    // Values to controls, or with `save` back. False where a control does not hold what it should; the user
    // has then been told.
    bool UpdateData(bool save = true);

    // Empty text, 0 and no effect where there is no such control.
    void SetDlgItemText(UINT id, const CString& text);
    CString GetDlgItemText(UINT id) const;
    void CheckDlgButton(UINT id, bool on);
    bool IsDlgButtonChecked(UINT id) const;
    void GotoDlgCtrl(UINT id);                // gives it the keys, with its text selected
    void BindControl(UINT id, CWnd& control); // see DDX_Control
    void SetDlgItemRows(UINT id, const std::vector<NamedText>& rows);
    void SetDlgItemProgress(UINT id, int percent);
    void SetDlgItemBars(UINT id, std::vector<ChartBar> bars);

    // Work while the dialog is open. From now on OnWork is called from the dialog's loop, again and again
    // while it returns true. Input and paints come between two calls: a call that takes a few milliseconds
    // is not felt. A box may be open within a call; there is no further call meanwhile.
    void StartWork();
    void StopWork();

protected:
    virtual bool OnInitDialog(); // before it shows. True: the first control gets the keys; false: as set
    virtual void OnOK();
    virtual void OnCancel();
    virtual void DoDataExchange(CDataExchange* exchange);
    virtual bool OnWork(); // a step of the work; false: it is done

    bool OnCommandMessage(UINT command) override;
    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    friend class DialogWidget;
    const UINT m_template;
    int m_result = IDCANCEL;
    bool m_ended = false;
};

// The entries are sorted: those in brackets first, then by name, see ComesBefore. They are bytes; only on the
// screen is a replacement shown for what cannot be displayed.
class CListBox : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    void SetContent(std::vector<CString> entries); // replaces all; then nothing is selected
    int GetCount() const;
    CString GetText(int index) const;     // empty if there is no such entry
    std::vector<int> GetSelItems() const; // ascending
};

class CComboBox : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    int GetCount() const;
    CString GetLBText(int index) const; // empty after the end
    void SetCurSel(int index);
};

void DDX_Check(CDataExchange* exchange, UINT id, bool& value);
void DDX_Text(CDataExchange* exchange, UINT id, CString& value);
// A whole number from minimum to maximum, which the user is told if the field holds anything else.
void DDX_Number(CDataExchange* exchange, UINT id, int32_t& value, int32_t minimum, int32_t maximum);
// Makes `control` the dialog's control of that number, for as long as the dialog is open.
void DDX_Control(CDataExchange* exchange, UINT id, CWnd& control);

// What DlgDirList lists, added up.
enum DirectoryListFlag : UINT {
    DDL_DIRECTORY = 0x10,   // sub-directories as "[name]", and the one above as "[..]" except at the root
    DDL_ARCHIVE = 0x20,     // files not yet viewed
    DDL_DRIVES = 0x4000,    // there are none
    DDL_EXCLUSIVE = 0x8000, // of the files only those that the word names: without it all are listed
};

// Fills a dialog's list box from a directory. `*target` is the directory, closed by "/" (without one: the
// process's own), and patterns behind it; the patterns alone are left in it. The control `path` shows the
// directory. False where it cannot be listed, or target has more than 4095 bytes: then all stays as it was.
bool DlgDirList(CDialog& dialog, CString* target, UINT list, UINT path, UINT types);
