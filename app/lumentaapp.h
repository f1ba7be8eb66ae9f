// The application: start and stop, its settings, and the pages still to be shown.
#pragma once

#include "platform/app.h"
#include "platform/viewedmark.h"

#include <deque>

class CLumentaApp : public CWinApp
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLumentaApp();

    bool InitInstance() override;
    int ExitInstance() override;
    void
    OnDroppedFiles(const std::vector<CString>& paths) override; // opens the first, the others join the list

    void OnFileOpen();     // shows the chosen page; the next one of the list stays
    void OnOpenMultiple(); // joins the chosen pages to the list, and shows the next one
    void OnAppAbout();
    void OnNextPage();
    void OnUpdateNextPage(CCmdUI& ui);

    std::deque<CString> m_PageList; // full paths of pages not yet shown, the next at the front
    CString m_strPageDirectory;     // where the open commands start; closed by a separator unless empty
    CString m_strPageFilter;        // file pattern last chosen
    bool m_bMarkViewed = false;     // pages opened through the dialogs are marked as viewed

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

private:
    static const MessageEntry entries[];
    void OpenAndMark(const CString& path);
    void MarkAsViewed(const CString& path, const FileStatus& before) const; // if the user wishes so
};
