// SPDX-License-Identifier: MIT
// The application: its start and end, its settings, and the list of pages that are viewed one by one.
// Receives commands and dropped files from the windows. Opens pages through CLumentaDoc.
#pragma once

#include "platform/app.h"
#include "platform/viewedmark.h"

#include <deque>
#include <vector>

class CLumentaApp : public CWinApp
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLumentaApp();

    bool InitInstance() override;
    int ExitInstance() override;
    // Opens the first file. The others are added at the end of m_PageList.
    void OnDroppedFiles(const std::vector<CString>& paths) override;

    void OnFileOpen();     // asks for a page and opens it; the list is unchanged
    void OnOpenMultiple(); // asks for pages, adds them to the list, and opens the next page of the list
    void OnAppAbout();
    void OnKeys();
    void OnNextPage(); // opens the next page of the list
    // Opens the page of the list that was shown before the open one. If the open page is not in the list,
    // opens the page of the list that was shown last.
    void OnPreviousPage();
    void OnClearList(); // removes all pages from the list, shown or not
    void OnUpdateNextPage(CCmdUI& ui);
    void OnUpdatePreviousPage(CCmdUI& ui);
    void OnUpdateClearList(CCmdUI& ui);

    // Returns a note such as "page 4 of 24" if a page of the list is open, else an empty text.
    [[nodiscard]] CString GetListNote() const;

    std::deque<CString> m_PageList; // full paths of the pages still to be shown; the next is at the front
    CString m_strPageDirectory;     // where the open commands start; ends with a separator or is empty
    CString m_strPageFilter;        // file pattern that was chosen last
    bool m_bMarkViewed = false;     // pages opened by the dialogs or Next Page are marked as viewed

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

private:
    static const MessageEntry entries[];
    [[nodiscard]] bool IsListPageOpen() const; // whether the last of m_ShownPages is the open page
    bool OpenAndMark(const CString& path);     // returns whether the page was opened
    // Marks a file if m_bMarkViewed is set. `before` is its state before it was opened.
    void MarkAsViewed(const CString& path, const FileStatus& before) const;

    // The pages of the list that were shown, in this order. Previous Page moves the last one back to
    // m_PageList.
    std::vector<CString> m_ShownPages;
    // The number of pages at the front of m_PageList that Previous Page has put back there. They are not
    // marked as viewed again. If other code has shortened m_PageList, this number may be above its size, and
    // then counts as its size.
    size_t m_nSeenPages = 0;
};
