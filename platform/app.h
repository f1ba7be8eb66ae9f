// SPDX-License-Identifier: MIT
// The application object: start, settings, its own commands, and the message box. RunApplication starts it
// (see run.h). It receives commands from the frames, and opens files through its document template.
#pragma once

#include "platform/cstring.h"
#include "platform/doc.h"
#include "platform/messages.h"
#include "platform/resources.h"
#include "platform/wnd.h"

#include <memory>
#include <vector>

class CWinApp : public CCmdTarget
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // Only one application object may exist at a time. `resources` must outlive it.
    explicit CWinApp(const ApplicationResources& resources);
    ~CWinApp() override;

    // Creates the main window and reads the settings. If it returns false, the program ends.
    virtual bool InitInstance() = 0;
    virtual int ExitInstance(); // writes the list of recent files; returns the exit status

    [[nodiscard]] const ApplicationResources& GetResources() const { return m_resources; }
    [[nodiscard]] CString LoadString(UINT id) const; // empty if there is no text with this number
    // Returns the arrow if there is no cursor with this number.
    [[nodiscard]] CursorShape LoadCursor(UINT id) const;

    // The application owns the template, which replaces any earlier one.
    void AddDocTemplate(std::unique_ptr<CSingleDocTemplate> document_template);
    [[nodiscard]] CSingleDocTemplate* GetDocTemplate() const { return m_template.get(); }
    // Shows an empty document.
    void OnFileNew();
    CDocument* OpenDocumentFile(const CString& path); // null if no page was opened
    // Opens each of the files that were dropped on a window, in their order.
    virtual void OnDroppedFiles(const std::vector<CString>& paths);

    // The settings of this application: sections with keys, whose values are numbers and texts. They are
    // stored under the company's name, which must be set first.
    void SetRegistryKey(const CString& company);
    // Each returns default_value if the value does not exist or cannot be read.
    [[nodiscard]] int GetProfileInt(const char* section, const char* key, int default_value) const;
    [[nodiscard]] CString GetProfileString(const char* section, const char* key,
                                           const CString& default_value = {}) const;
    // Each returns false if the value could not be stored. No message is shown.
    bool WriteProfileInt(const char* section, const char* key, int value);
    bool WriteProfileString(const char* section, const char* key, const CString& value);

    // The list of recent files, the newest first. LoadStdProfileSettings reads up to recent_files of them,
    // and the list never becomes longer. AddToRecentFileList puts a file at the front, with its full path.
    void LoadStdProfileSettings(int recent_files);
    void AddToRecentFileList(const CString& name);
    [[nodiscard]] const std::vector<CString>& GetRecentFiles() const { return m_recent; }

    // Shows the page setup dialog.
    void OnFilePrintSetup();
    void OnAppExit();       // closes the main window
    void LeaveMainWindow(); // called after the main window is destroyed: ends the message loop

    CWnd* m_pMainWnd = nullptr;     // null before it is made and after it is destroyed
    CString m_lpCmdLine;            // the command line after the program's name
    int m_nCmdShow = SW_SHOWNORMAL; // how the main window is shown first

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

private:
    static void QuitMessageLoop();

    const ApplicationResources& m_resources;
    std::unique_ptr<CSingleDocTemplate> m_template;
    CString m_company;
    std::vector<CString> m_recent;
    int m_recentMax = 0;
};

[[nodiscard]] CWinApp* AfxGetApp(); // null if there is none

// Shows a modal box with the text and an OK button. While it is open, nothing is painted and no posted
// message is handled.
void AfxMessageBox(const CString& text);
