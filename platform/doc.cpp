// SPDX-License-Identifier: MIT
// Documents and the single-document template.
#include "platform/doc.h"

#include "platform/app.h"
#include "platform/displaytext.h"
#include "platform/framewnd.h"
#include "platform/view.h"

#include <algorithm>

const CRuntimeClass CDocument::classRecord{"CDocument", &CCmdTarget::classRecord, nullptr};
constinit const MessageMap CDocument::messages{&CCmdTarget::messages, {}};

CDocument::CDocument() = default;

CDocument::~CDocument()
{
    for (CView* view : m_views)
        view->m_document = nullptr;
}

void CDocument::SetTitle(const CString& title)
{
    m_title = DisplayText(title, kTitleBytes);
    UpdateFrameCounts();
}

void CDocument::SetPathName(const CString& path, bool add_to_recent)
{
    m_path = path;
    SetTitle(path.Mid(path.ReverseFind('/') + 1));
    if (add_to_recent && AfxGetApp())
        AfxGetApp()->AddToRecentFileList(path);
}

bool CDocument::OnNewDocument()
{
    DeleteContents();
    m_modified = false;
    m_path.Empty();
    return true;
}

void CDocument::DeleteContents() {}

void CDocument::OnCloseDocument()
{
    // The frame of the last view is closed first. So a window is closed before the window that opened it.
    while (!m_views.empty()) {
        CView* view = m_views.back();
        CFrameWnd* frame = view->GetParentFrame();
        if (frame)
            frame->DestroyWindow();
        if (!m_views.empty() && m_views.back() == view)
            RemoveView(view);
    }
    DeleteContents();
    if (AfxGetApp() && AfxGetApp()->GetDocTemplate())
        AfxGetApp()->GetDocTemplate()->ForgetDocument();
    CWnd::DeleteLater(this);
}

void CDocument::AddView(CView* view)
{
    m_views.push_back(view);
    view->m_document = this;
}

void CDocument::RemoveView(CView* view)
{
    m_views.erase(std::remove(m_views.begin(), m_views.end(), view), m_views.end());
    view->m_document = nullptr;
}

bool CDocument::HasView(const CView* view) const
{
    return std::find(m_views.begin(), m_views.end(), view) != m_views.end();
}

void CDocument::UpdateAllViews(CView* sender, LPARAM hint, CObject* hint_object)
{
    for (CView* view : GetViews())
        if (view != sender && HasView(view))
            view->OnUpdate(sender, hint, hint_object);
}

void CDocument::UpdateFrameCounts()
{
    for (CView* view : GetViews())
        if (CFrameWnd* frame = HasView(view) ? view->GetParentFrame() : nullptr)
            frame->OnUpdateFrameTitle(true);
}

CSingleDocTemplate::CSingleDocTemplate(UINT resource, const CRuntimeClass& document,
                                       const CRuntimeClass& frame, const CRuntimeClass& view)
    : m_resource(resource), m_documentClass(document), m_frameClass(frame), m_viewClass(view)
{
}

CDocument* CSingleDocTemplate::OpenDocumentFile(const CString* path)
{
    CFrameWnd* frame = DynamicDowncast<CFrameWnd>(AfxGetMainWnd());
    if (!m_document) {
        m_document = static_cast<CDocument*>(m_documentClass.CreateObject());
        frame = static_cast<CFrameWnd*>(m_frameClass.CreateObject());
        CCreateContext context{&m_viewClass, m_document, nullptr};
        if (!frame->LoadFrame(m_resource, WS_OVERLAPPEDWINDOW | FWS_ADDTOTITLE, &context)) {
            delete m_document;
            m_document = nullptr;
            return nullptr;
        }
        if (AfxGetApp() && !AfxGetApp()->m_pMainWnd)
            AfxGetApp()->m_pMainWnd = frame;
    }
    bool good;
    if (!path) {
        m_document->SetTitle(CString{});
        good = m_document->OnNewDocument();
    } else {
        good = m_document->OnOpenDocument(*path);
        if (good)
            m_document->SetPathName(*path);
    }
    if (good)
        for (CView* view : m_document->GetViews())
            if (m_document->HasView(view))
                view->OnInitialUpdate();
    // Even if the file was not opened, because there is no other window.
    if (frame && !frame->IsWindowVisible())
        frame->ActivateFrame(AfxGetApp() ? AfxGetApp()->m_nCmdShow : SW_SHOWNORMAL);
    return good ? m_document : nullptr;
}
