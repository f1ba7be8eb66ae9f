// SPDX-License-Identifier: MIT
// The part of the application object that does not use Qt.
#include "platform/app.h"

#include "platform/framewnd.h"

#include <algorithm>
#include <filesystem>
#include <string>

namespace
{
CWinApp* g_app = nullptr;
constexpr const char* kRecentSection = "Recent File List";

std::string RecentKey(size_t index)
{
    return "File" + std::to_string(index + 1);
}
} // namespace

const CRuntimeClass CWinApp::classRecord{"CWinApp", &CCmdTarget::classRecord, nullptr};

constinit const MessageEntry CWinApp::entries[] = {
    OnCommand<ID_FILE_PRINT_SETUP, &CWinApp::OnFilePrintSetup>(),
    OnCommand<ID_APP_EXIT, &CWinApp::OnAppExit>(),
};
constinit const MessageMap CWinApp::messages{&CCmdTarget::messages, entries};

CWinApp* AfxGetApp()
{
    return g_app;
}

CWinApp::CWinApp(const ApplicationResources& resources) : m_resources(resources)
{
    g_app = this;
}

CWinApp::~CWinApp()
{
    g_app = nullptr;
}

int CWinApp::ExitInstance()
{
    for (size_t i = 0; i < m_recent.size(); ++i)
        WriteProfileString(kRecentSection, RecentKey(i).c_str(), m_recent[i]);
    return 0;
}

CString CWinApp::LoadString(UINT id) const
{
    return m_resources.FindString(id);
}

CursorShape CWinApp::LoadCursor(UINT id) const
{
    for (const CursorResource& cursor : m_resources.cursors)
        if (cursor.id == id)
            return cursor.shape;
    return CursorShape::arrow;
}

void CWinApp::AddDocTemplate(std::unique_ptr<CSingleDocTemplate> document_template)
{
    m_template = std::move(document_template);
}

void CWinApp::OnFileNew()
{
    if (m_template)
        m_template->OpenDocumentFile(nullptr);
}

CDocument* CWinApp::OpenDocumentFile(const CString& path)
{
    return m_template ? m_template->OpenDocumentFile(&path) : nullptr;
}

void CWinApp::OnDroppedFiles(const std::vector<CString>& paths)
{
    for (const CString& path : paths)
        OpenDocumentFile(path);
}

void CWinApp::LoadStdProfileSettings(int recent_files)
{
    m_recentMax = recent_files;
    m_recent.clear();
    for (int i = 0; i < recent_files; ++i) {
        const CString path = GetProfileString(kRecentSection, RecentKey(static_cast<size_t>(i)).c_str());
        if (!path.IsEmpty())
            m_recent.push_back(path);
    }
}

void CWinApp::AddToRecentFileList(const CString& name)
{
    // A relative path is made absolute, because the next run may have another working directory.
    std::error_code error;
    const std::string absolute = std::filesystem::absolute(name.c_str(), error).string();
    const CString path = error ? name : CString{absolute};
    const auto known = std::find(m_recent.begin(), m_recent.end(), path);
    if (known != m_recent.end())
        m_recent.erase(known);
    m_recent.insert(m_recent.begin(), path);
    if (m_recent.size() > static_cast<size_t>(m_recentMax))
        m_recent.resize(static_cast<size_t>(m_recentMax));
}

void CWinApp::OnAppExit()
{
    if (m_pMainWnd)
        m_pMainWnd->SendMessage(WM_CLOSE);
}

void CWinApp::LeaveMainWindow()
{
    m_pMainWnd = nullptr;
    QuitMessageLoop();
}
