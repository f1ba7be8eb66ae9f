// SPDX-License-Identifier: MIT
// Sends messages to their handlers in the message maps, and deletes windows that own themselves.
#include "platform/wnd.h"

#include "platform/app.h"
#include "platform/framewnd.h"

#include <utility>
#include <vector>

const CRuntimeClass CWnd::classRecord{"CWnd", &CCmdTarget::classRecord, nullptr};

constinit const MessageMap CWnd::messages{&CCmdTarget::messages, {}};

namespace
{
int g_dispatch_depth = 0;
std::vector<CObject*> g_leaving;

// While such a scope exists, objects that own themselves are not deleted. Scopes are nested if a handler
// opens a box, which runs its own loop.
class DispatchScope
{
public:
    DispatchScope() { ++g_dispatch_depth; }
    DispatchScope(const DispatchScope&) = delete;
    DispatchScope& operator=(const DispatchScope&) = delete;
    ~DispatchScope()
    {
        if (--g_dispatch_depth > 0)
            return;
        while (!g_leaving.empty()) {
            CObject* object = g_leaving.back();
            g_leaving.pop_back();
            delete object;
        }
    }
};
} // namespace

void CWnd::DeleteLater(CObject* object)
{
    if (g_dispatch_depth > 0)
        g_leaving.push_back(object);
    else
        delete object;
}

LRESULT CWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    const DispatchScope scope;
    const CurrentMessage before = std::exchange(m_current, {message, wParam, lParam});
    const LRESULT result = WindowProc(message, wParam, lParam);
    m_current = before;
    return result;
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_COMMAND)
        return OnCommandMessage(static_cast<UINT>(wParam)) ? 1 : 0;
    const MessageEntry* entry = GetMessageMap().Find(MessageEntry::Kind::message, message);
    return entry ? entry->invoke(*this, wParam, lParam) : DefWindowProc(message, wParam, lParam);
}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM, LPARAM)
{
    if (message == WM_CLOSE)
        DestroyWindow();
    return 0;
}

LRESULT CWnd::Default()
{
    return DefWindowProc(m_current.message, m_current.wParam, m_current.lParam);
}

bool CWnd::OnCommandMessage(UINT command)
{
    return OnCmdMsg(command, CommandStep::run, nullptr);
}

bool CWnd::PreCreateWindow(CREATESTRUCT&)
{
    return true;
}

bool CWnd::DestroyWindow()
{
    if (!IsWindow() || m_destroying)
        return false;
    const DispatchScope scope;
    m_destroying = true;
    SendMessage(WM_DESTROY);
    DestroyChildren();
    ReleasePeer();
    if (CWinApp* app = AfxGetApp(); app && app->m_pMainWnd == this)
        app->LeaveMainWindow();
    PostNcDestroy();
    return true;
}

void CWnd::DestroyChildren() {}

void CWnd::PostNcDestroy() {}

CFrameWnd* CWnd::GetParentFrame() const
{
    for (CWnd* window = m_parent; window; window = window->m_parent)
        if (CFrameWnd* frame = DynamicDowncast<CFrameWnd>(window))
            return frame;
    return nullptr;
}

CWnd* AfxGetMainWnd()
{
    return AfxGetApp() ? AfxGetApp()->m_pMainWnd : nullptr;
}
