#include "app/lumentaapp.h"

#include "app/commandline.h"
#include "app/lumentadoc.h"
#include "app/lumentavw.h"
#include "app/mainfrm.h"
#include "app/resources.h"
#include "app/usermsg.h"
#include "platform/log.h"

#include <kesterlib/callback.h>

namespace
{
constexpr const char* kDefaults = "Defaults";
constexpr const char* kPageDirectory = "Page Directory";
constexpr const char* kPageFilter = "Page Filter";
constexpr const char* kMarkViewed = "Mark Viewed";
constexpr int kRecentFiles = 4;
} // namespace

const CRuntimeClass CLumentaApp::classRecord{"CLumentaApp", &CWinApp::classRecord, nullptr};

const MessageEntry CLumentaApp::entries[] = {
    OnCommand<kNextPageCommand, &CLumentaApp::OnNextPage>(),
    OnUpdateCommand<kNextPageCommand, &CLumentaApp::OnUpdateNextPage>(),
};
const MessageMap CLumentaApp::messages{&CWinApp::messages, entries};

CLumentaApp::CLumentaApp() : CWinApp(kLumentaResources) {}

// The toolkit draws its own controls, and the file type is registered by installation: neither has a step
// here.
bool CLumentaApp::InitInstance()
{
    set_debug_message_sink(OutputDebugStringA);
    SetRegistryKey("Vestrel");
    LoadStdProfileSettings(kRecentFiles);
    AddDocTemplate(std::make_unique<CSingleDocTemplate>(kFrameResource, CLumentaDoc::classRecord,
                                                        CMainFrame::classRecord, CLumentaView::classRecord));
    m_strPageDirectory = GetProfileString(kDefaults, kPageDirectory);
    m_strPageFilter = GetProfileString(kDefaults, kPageFilter);
    m_bMarkViewed = GetProfileInt(kDefaults, kMarkViewed, 0) != 0;
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
    WriteProfileString(kDefaults, kPageDirectory, m_strPageDirectory);
    WriteProfileString(kDefaults, kPageFilter, m_strPageFilter);
    WriteProfileInt(kDefaults, kMarkViewed, m_bMarkViewed ? 1 : 0);
    m_PageList.clear();
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
    if (m_PageList.empty())
        return;
    // Off the list whether it opens or not.
    const CString path = m_PageList.front();
    m_PageList.pop_front();
    if (!path.IsEmpty())
        OpenDocumentFile(path);
}

void CLumentaApp::OnUpdateNextPage(CCmdUI& ui)
{
    ui.Enable(!m_PageList.empty());
}
