// SPDX-License-Identifier: MIT
// Starts and ends the application, and handles the list of pages. m_PageList has the pages that are still to
// be shown, and m_ShownPages those that were shown.
#include "app/lumentaapp.h"

#include "app/aboutdialog.h"
#include "app/arguments.h"
#include "app/keysdialog.h"
#include "app/lumentadoc.h"
#include "app/lumentaresources.h"
#include "app/lumentavw.h"
#include "app/mainfrm.h"
#include "app/openmultipledialog.h"
#include "app/pagefilter.h"
#include "app/pageopendialog.h"
#include "app/pagepath.h"
#include "app/statustext.h"
#include "app/usermsg.h"
#include "platform/log.h"

#include <algorithm>
#include <kesterlib/callback.h>

namespace
{
constexpr const char* kPageDirectory = "Page Directory";
constexpr const char* kPageFilter = "Page Filter";
constexpr const char* kMarkViewed = "Mark Viewed";
constexpr int kRecentFiles = 4;
} // namespace

const CRuntimeClass CLumentaApp::classRecord{"CLumentaApp", &CWinApp::classRecord, nullptr};

const MessageEntry CLumentaApp::entries[] = {
    OnCommand<ID_FILE_OPEN, &CLumentaApp::OnFileOpen>(),
    OnCommand<kOpenMultipleCommand, &CLumentaApp::OnOpenMultiple>(),
    OnCommand<ID_APP_ABOUT, &CLumentaApp::OnAppAbout>(),
    OnCommand<kKeysCommand, &CLumentaApp::OnKeys>(),
    OnCommand<kNextPageCommand, &CLumentaApp::OnNextPage>(),
    OnCommand<kPreviousPageCommand, &CLumentaApp::OnPreviousPage>(),
    OnCommand<kClearListCommand, &CLumentaApp::OnClearList>(),
    OnUpdateCommand<kNextPageCommand, &CLumentaApp::OnUpdateNextPage>(),
    OnUpdateCommand<kPreviousPageCommand, &CLumentaApp::OnUpdatePreviousPage>(),
    OnUpdateCommand<kClearListCommand, &CLumentaApp::OnUpdateClearList>(),
};
const MessageMap CLumentaApp::messages{&CWinApp::messages, entries};

CLumentaApp::CLumentaApp() : CWinApp(kLumentaResources) {}

// Qt draws the controls, and the installation registers the file type. Neither needs a step here.
bool CLumentaApp::InitInstance()
{
    set_debug_message_sink(OutputDebugStringA);
    SetRegistryKey("Vestrel");
    LoadStdProfileSettings(kRecentFiles);
    AddDocTemplate(std::make_unique<CSingleDocTemplate>(kFrameResource, CLumentaDoc::classRecord,
                                                        CMainFrame::classRecord, CLumentaView::classRecord));
    m_strPageDirectory = GetProfileString(kDefaultSettings, kPageDirectory);
    m_strPageFilter = GetProfileString(kDefaultSettings, kPageFilter);
    m_bMarkViewed = GetProfileInt(kDefaultSettings, kMarkViewed, 0) != 0;
    if (GetProfileInt(kWindowSettings, kMaximizeMainFrame, 0) != 0)
        m_nCmdShow = SW_SHOWMAXIMIZED;
    OnFileNew();
    if (m_pMainWnd)
        m_pMainWnd->DragAcceptFiles(true);
    if (!OpensNothing(m_lpCmdLine))
        OpenDocumentFile(m_lpCmdLine);
    return true;
}

int CLumentaApp::ExitInstance()
{
    WriteProfileString(kDefaultSettings, kPageDirectory, m_strPageDirectory);
    WriteProfileString(kDefaultSettings, kPageFilter, m_strPageFilter);
    WriteProfileInt(kDefaultSettings, kMarkViewed, m_bMarkViewed ? 1 : 0);
    OnClearList();
    return CWinApp::ExitInstance();
}

void CLumentaApp::OnDroppedFiles(const std::vector<CString>& paths)
{
    if (paths.empty())
        return;
    m_PageList.insert(m_PageList.end(), paths.begin() + 1, paths.end());
    OpenDocumentFile(paths.front());
}

void CLumentaApp::OnNextPage()
{
    m_nSeenPages = std::min(m_nSeenPages, m_PageList.size());
    if (m_PageList.empty())
        return;
    // The page is removed from the list even if it does not open.
    const CString path = m_PageList.front();
    m_PageList.pop_front();
    const bool is_new = m_nSeenPages == 0;
    if (!is_new)
        --m_nSeenPages;
    if (!path.IsEmpty() && (is_new ? OpenAndMark(path) : OpenDocumentFile(path) != nullptr))
        m_ShownPages.push_back(path);
}

void CLumentaApp::OnPreviousPage()
{
    // If the open page is not in the list, or the last open failed, the page of the list that was shown last
    // opens again.
    if (IsListPageOpen()) {
        m_nSeenPages = std::min(m_nSeenPages, m_PageList.size()) + 1;
        m_PageList.push_front(m_ShownPages.back());
        m_ShownPages.pop_back();
    }
    if (m_ShownPages.empty())
        return;
    const CString path = m_ShownPages.back();
    if (!OpenDocumentFile(path))
        m_ShownPages.pop_back();
}

void CLumentaApp::OnClearList()
{
    m_PageList.clear();
    m_ShownPages.clear();
    m_nSeenPages = 0;
}

bool CLumentaApp::IsListPageOpen() const
{
    const CSingleDocTemplate* const pages = GetDocTemplate();
    const auto* const document = DynamicDowncast<CLumentaDoc>(pages ? pages->GetDocument() : nullptr);
    return document && document->HasPage() && !m_ShownPages.empty() &&
           document->GetPathName() == PagePath(m_ShownPages.back());
}

CString CLumentaApp::GetListNote() const
{
    if (!IsListPageOpen())
        return {};
    return FormatListNote(m_ShownPages.size(), m_ShownPages.size() + m_PageList.size());
}

// The mark is valid for the state of the file before it was opened. So a page that is rewritten meanwhile
// counts as new.
bool CLumentaApp::OpenAndMark(const CString& path)
{
    const CString file = PagePath(path); // the file that the document opens
    const FileStatus before = FileStatusOf(file);
    if (!OpenDocumentFile(path))
        return false;
    MarkAsViewed(file, before);
    return true;
}

void CLumentaApp::MarkAsViewed(const CString& path, const FileStatus& before) const
{
    if (m_bMarkViewed)
        MarkViewed(path, before);
}

void CLumentaApp::OnFileOpen()
{
    CPageOpenDialog dialog{kPageFilters};
    dialog.m_strInitialDir = m_strPageDirectory;
    dialog.m_nFilterIndex = FindFilter(kPageFilters, m_strPageFilter);
    const int result = dialog.DoModal();
    // This is also done after Cancel. The path, and so the directory, is then empty.
    const CString& path = dialog.m_strFileName;
    m_strPageDirectory = path.Left(path.ReverseFind('/') + 1);
    m_strPageFilter = GetFilterPattern(kPageFilters, dialog.m_nFilterIndex);
    if (result == IDOK)
        OpenAndMark(path);
}

void CLumentaApp::OnOpenMultiple()
{
    COpenMultipleDialog dialog;
    dialog.m_strDirectory = m_strPageDirectory;
    dialog.m_strFilter = m_strPageFilter;
    dialog.m_bMarkViewed = m_bMarkViewed;
    if (dialog.DoModal() != IDOK)
        return;
    m_bMarkViewed = dialog.m_bMarkViewed;
    m_strPageFilter = dialog.m_strFilter;
    m_strPageDirectory = WithSeparator(dialog.m_strDirectory);
    for (const CString& name : dialog.m_Files)
        m_PageList.push_back(m_strPageDirectory + name);
    OnNextPage();
}

void CLumentaApp::OnAppAbout()
{
    CAboutDialog().DoModal();
}

void CLumentaApp::OnKeys()
{
    CKeysDialog().DoModal();
}

void CLumentaApp::OnUpdateNextPage(CCmdUI& ui)
{
    ui.Enable(!m_PageList.empty());
}

void CLumentaApp::OnUpdatePreviousPage(CCmdUI& ui)
{
    ui.Enable(m_ShownPages.size() > (IsListPageOpen() ? 1 : 0));
}

void CLumentaApp::OnUpdateClearList(CCmdUI& ui)
{
    ui.Enable(!m_PageList.empty() || !m_ShownPages.empty());
}
