// The application object: start, settings, commands of its own, and the message box.
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
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // One at a time. The resources must outlive it.
    explicit CWinApp(const ApplicationResources& resources);
    ~CWinApp() override;

    virtual bool InitInstance() = 0;
    virtual int ExitInstance(); // writes the recent files; the exit status

    const ApplicationResources& GetResources() const { return m_resources; }
    CString LoadString(UINT id) const; // empty if there is none
    CursorShape LoadCursor(UINT id) const;

    void AddDocTemplate(std::unique_ptr<CSingleDocTemplate> document_template);
    CSingleDocTemplate* GetDocTemplate() const { return m_template.get(); }
    void OnFileNew();
    CDocument* OpenDocumentFile(const CString& path); // null if no page opened
    // Files dropped on a window, in their order: opens each in turn.
    virtual void OnDroppedFiles(const std::vector<CString>& paths);

    // The settings store of a company and this application (its title): sections of numbers and texts. What
    // cannot be read gives the default; what cannot be written is lost without a word.
    void SetRegistryKey(const CString& company);
    int GetProfileInt(const char* section, const char* key, int default_value) const;
    CString GetProfileString(const char* section, const char* key, const CString& default_value = {}) const;
    bool WriteProfileInt(const char* section, const char* key, int value);
    bool WriteProfileString(const char* section, const char* key, const CString& value);

    void LoadStdProfileSettings(int recent_files);
    void AddToRecentFileList(const CString& name);
    const std::vector<CString>& GetRecentFiles() const { return m_recent; }

    void OnFilePrintSetup();
    void OnAppExit();       // closes the main window
    void LeaveMainWindow(); // the main window is gone: ends the message loop

    CWnd* m_pMainWnd = nullptr;
    CString m_lpCmdLine;            // the whole command line behind the program's name
    int m_nCmdShow = SW_SHOWNORMAL; // how the main window first shows

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

private:
    static void QuitMessageLoop();

    const ApplicationResources& m_resources;
    std::unique_ptr<CSingleDocTemplate> m_template;
    CString m_company;
    std::vector<CString> m_recent;
    int m_recentMax = 0;
};

CWinApp* AfxGetApp(); // null if there is none

// A modal box with the text and one OK button. Nothing paints and no posted message is handled while it is
// open.
void AfxMessageBox(const CString& text);
