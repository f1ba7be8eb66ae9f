// SPDX-License-Identifier: MIT
// Frames: they make their view, pass commands to the view and the application, and show the title. The main
// window closes its document.
#include "platform/framewnd.h"

#include "platform/app.h"
#include "platform/displaytext.h"
#include "platform/statusbar.h"
#include "platform/view.h"

#include <vector>

const CRuntimeClass CFrameWnd::classRecord{"CFrameWnd", &CWnd::classRecord, &CreateObjectOf<CFrameWnd>};

namespace
{
constexpr uint32_t kPaneId = AFX_IDW_PANE_FIRST;
}

constinit const MessageEntry CFrameWnd::entries[] = {
    On<WM_CLOSE, &CFrameWnd::OnClose>(),
    On<WM_DESTROY, &CFrameWnd::OnDestroy>(),
    On<WM_DROPFILES, &CFrameWnd::OnDropFiles>(),
};
constinit const MessageMap CFrameWnd::messages{&CWnd::messages, entries};

CFrameWnd::CFrameWnd() = default;
CFrameWnd::~CFrameWnd() = default;

CString WindowTitle(const CString& label, const CString& suffix)
{
    const CString end = DisplayText(suffix, kTitleBytes);
    return DisplayText(label, kTitleBytes - static_cast<size_t>(end.GetLength())) + end;
}

bool CFrameWnd::LoadFrame(UINT resource, uint32_t style, CCreateContext* context)
{
    CREATESTRUCT cs;
    cs.style = style;
    cs.menu = AfxGetApp() && AfxGetApp()->GetResources().frame == resource;
    cs.title = AfxGetApp() ? AfxGetApp()->LoadString(AFX_IDS_APP_TITLE) : CString{};
    cs.context = context;
    m_baseTitle = cs.title;
    return CreateFromStruct(cs);
}

bool CFrameWnd::Create(const CString& title, uint32_t style, const CRect& rect, CCreateContext* context)
{
    CREATESTRUCT cs;
    cs.x = rect.left;
    cs.y = rect.top;
    cs.cx = rect.Width();
    cs.cy = rect.Height();
    cs.style = style;
    cs.title = DisplayText(title, kTitleBytes);
    cs.context = context;
    m_baseTitle = cs.title;
    return CreateFromStruct(cs);
}

bool CFrameWnd::CreateFromStruct(CREATESTRUCT& cs)
{
    if (!PreCreateWindow(cs)) {
        PostNcDestroy();
        return false;
    }
    m_style = cs.style;
    MakePeer(cs);
    if (OnCreate(cs) == 0)
        return true;
    DestroyWindow(); // also deletes the frame, through PostNcDestroy
    return false;
}

int CFrameWnd::OnCreate(const CREATESTRUCT& cs)
{
    if (!cs.context || !cs.context->m_pNewViewClass)
        return 0;
    auto* view = DynamicDowncast<CView>(cs.context->m_pNewViewClass->CreateObject());
    if (!view)
        return -1;
    if (!view->Create(this, cs.context)) {
        delete view;
        return -1;
    }
    m_pane = view;
    return 0;
}

void CFrameWnd::DestroyChildren()
{
    if (m_pane)
        m_pane->DestroyWindow();
    m_pane = nullptr;
    m_activeView = nullptr;
    if (m_statusBar)
        m_statusBar->DestroyWindow();
    m_statusBar = nullptr;
}

void CFrameWnd::OnClose()
{
    // Closing the main window closes its document, which closes all other windows of the document.
    CDocument* document = GetActiveDocument();
    if (document && AfxGetMainWnd() == this)
        document->OnCloseDocument();
    else
        DestroyWindow();
}

void CFrameWnd::OnDestroy()
{
    Default();
}

LRESULT CFrameWnd::OnDropFiles(WPARAM, LPARAM files)
{
    if (AfxGetApp())
        AfxGetApp()->OnDroppedFiles(*UnpackPointer<const std::vector<CString>>(files));
    return 0;
}

void CFrameWnd::PostNcDestroy()
{
    DeleteLater(this);
}

void CFrameWnd::ForgetView(const CView* view)
{
    if (m_activeView == view)
        m_activeView = nullptr;
    if (m_pane == view)
        m_pane = nullptr;
}

CDocument* CFrameWnd::GetActiveDocument() const
{
    const CView* view = m_activeView ? m_activeView : m_pane;
    return view ? view->GetDocument() : nullptr;
}

void CFrameWnd::SetActiveView(CView* view, bool notify)
{
    CView* old = m_activeView;
    if (view == old)
        return;
    m_activeView = nullptr;
    if (old && notify)
        old->OnActivateView(false, view, old);
    m_activeView = view;
    if (view && notify)
        view->OnActivateView(true, view, old);
}

void CFrameWnd::ActivateFrame(int show_command)
{
    if (!m_activeView && m_pane)
        SetActiveView(m_pane);
    ShowWindow(show_command < 0 ? (IsIconic() ? SW_SHOWNORMAL : SW_SHOW) : show_command);
    BringWindowToTop();
}

void CFrameWnd::OnUpdateFrameTitle(bool)
{
    if (!(m_style & FWS_ADDTOTITLE))
        return;
    const CDocument* document = GetActiveDocument();
    SetWindowText(document && !document->GetTitle().IsEmpty()
                      ? WindowTitle(document->GetTitle(), CString(" - ") + m_baseTitle)
                      : m_baseTitle);
}

CWnd* CFrameWnd::GetDescendantWindow(UINT id) const
{
    return id == kPaneId ? m_pane : nullptr;
}

bool CFrameWnd::OnCmdMsg(UINT command, CommandStep step, CCmdUI* ui)
{
    CView* view = m_activeView;
    return (view && view->OnCmdMsg(command, step, ui)) || CWnd::OnCmdMsg(command, step, ui) ||
           (AfxGetApp() && AfxGetApp()->OnCmdMsg(command, step, ui));
}

bool CFrameWnd::HasCommandHandler(UINT command)
{
    CView* view = m_activeView;
    return (view && view->HasCommandHandler(command)) || CWnd::HasCommandHandler(command) ||
           (AfxGetApp() && AfxGetApp()->HasCommandHandler(command));
}

CCmdUI CFrameWnd::QueryCommand(UINT command)
{
    CCmdUI ui;
    if (!OnCmdMsg(command, CommandStep::update, &ui))
        ui.Enable(HasCommandHandler(command));
    return ui;
}

bool CFrameWnd::OnCommandMessage(UINT command)
{
    // A disabled command does not run, from the menu or from an accelerator.
    return QueryCommand(command).IsEnabled() && CWnd::OnCommandMessage(command);
}

CString CFrameWnd::GetMessageText() const
{
    return AfxGetApp() ? AfxGetApp()->LoadString(AFX_IDS_IDLEMESSAGE) : CString{};
}

void CFrameWnd::UpdateStatusPanes()
{
    if (!m_statusBar)
        return;
    for (int pane = 0; pane < m_statusBar->GetPaneCount(); ++pane) {
        const UINT id = m_statusBar->GetPaneId(pane);
        if (id == ID_SEPARATOR) {
            m_statusBar->SetPaneText(pane, GetMessageText());
            continue;
        }
        CCmdUI ui;
        m_statusBar->EnablePane(pane, OnCmdMsg(id, CommandStep::update, &ui) && ui.IsEnabled());
    }
}
