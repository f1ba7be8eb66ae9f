// The application: start and stop, its settings, and the list of pages that the user goes through.
#pragma once

#include "platform/app.h"
#include "platform/viewedmark.h"

#include <deque>
#include <vector>

class CLumentaApp : public CWinApp
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLumentaApp();

    bool InitInstance() override;
    int ExitInstance() override;
    // Opens the first page; the others join the list.
    void OnDroppedFiles(const std::vector<CString>& paths) override;

    void OnFileOpen();     // shows the chosen page; the next one of the list stays
    void OnOpenMultiple(); // joins the chosen pages to the list, and shows the next one
    void OnAppAbout();
    void OnKeys(); // what keys and mouse buttons do
    void OnNextPage();
    void OnPreviousPage(); // the page of the list that was shown before this one
    void OnClearList();
    void OnUpdateNextPage(CCmdUI& ui);
    void OnUpdatePreviousPage(CCmdUI& ui);
    void OnUpdateClearList(CCmdUI& ui);

    // "page 4 of 24" while a page of the list is open, else an empty text.
    CString GetListNote() const;

    std::deque<CString> m_PageList; // full paths of pages still to be shown, the next at the front
    CString m_strPageDirectory;     // where the open commands start; closed by a separator unless empty
    CString m_strPageFilter;        // file pattern last chosen
    bool m_bMarkViewed = false;     // pages opened through the dialogs are marked as viewed

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

private:
    static const MessageEntry entries[];
    bool IsListPageOpen() const; // the last of m_ShownPages is the open page
    bool OpenAndMark(const CString& path);
    void MarkAsViewed(const CString& path, const FileStatus& before) const; // if the user wishes so

    std::vector<CString> m_ShownPages; // pages of the list, in the order in which Next Page showed them
    // Pages at the front of m_PageList that the user has gone back from. May be larger after m_PageList was
    // changed from outside: then it counts as the size of m_PageList.
    size_t m_nSeenPages = 0;
};
