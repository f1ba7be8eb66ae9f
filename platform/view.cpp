// SPDX-License-Identifier: MIT
// Views: joining a document, painting, and scrolling a picture that is larger than its window.
#include "platform/view.h"

#include "platform/app.h"

#include <algorithm>

const CRuntimeClass CView::classRecord{"CView", &CWnd::classRecord, nullptr};

constinit const MessageEntry CView::entries[] = {
    On<WM_PAINT, &CView::OnPaint>(),
    On<WM_DESTROY, &CView::OnDestroy>(),
};
constinit const MessageMap CView::messages{&CWnd::messages, entries};

CView::CView() = default;

CView::~CView()
{
    if (m_document)
        m_document->RemoveView(this);
}

bool CView::Create(CFrameWnd* frame, CCreateContext* context)
{
    m_parent = frame;
    MakePeer(frame);
    if (context && context->m_pCurrentDoc)
        context->m_pCurrentDoc->AddView(this);
    return true;
}

bool CView::OnCmdMsg(UINT command, CommandStep step, CCmdUI* ui)
{
    return CWnd::OnCmdMsg(command, step, ui) || (m_document && m_document->OnCmdMsg(command, step, ui));
}

bool CView::HasCommandHandler(UINT command)
{
    return CWnd::HasCommandHandler(command) || (m_document && m_document->HasCommandHandler(command));
}

void CView::OnInitialUpdate()
{
    OnUpdate(nullptr, 0, nullptr);
}

void CView::OnUpdate(CView*, LPARAM, CObject*)
{
    Invalidate();
}

void CView::OnPrepareDC(CDC*, CPrintInfo*) {}

void CView::OnPaint()
{
    CPaintDC dc(this);
    OnPrepareDC(&dc);
    OnDraw(&dc);
}

void CView::OnDestroy()
{
    if (m_document)
        m_document->RemoveView(this);
    if (CFrameWnd* frame = GetParentFrame())
        frame->ForgetView(this);
    Default();
}

void CView::PostNcDestroy()
{
    DeleteLater(this);
}

bool CView::OnPreparePrinting(CPrintInfo* info)
{
    return DoPreparePrinting(info);
}

void CView::OnBeginPrinting(CDC*, CPrintInfo*) {}

void CView::OnPrint(CDC* dc, CPrintInfo*)
{
    OnDraw(dc);
}

void CView::OnEndPrinting(CDC*, CPrintInfo*) {}

const CRuntimeClass CScrollView::classRecord{"CScrollView", &CView::classRecord, nullptr};

constinit const MessageEntry CScrollView::entries[] = {
    On<WM_SIZE, &CScrollView::OnSize>(),
    On<WM_HSCROLL, &CScrollView::OnHScroll>(),
    On<WM_VSCROLL, &CScrollView::OnVScroll>(),
    On<WM_MOUSEWHEEL, &CScrollView::OnMouseWheel>(),
};
constinit const MessageMap CScrollView::messages{&CView::messages, entries};

CScrollView::CScrollView() = default;
CScrollView::~CScrollView() = default;

void CScrollView::SetScrollSizes(int, CSize total, CSize page, CSize line)
{
    m_total = total;
    SetPicture(total, page, line);
}

CPoint CScrollView::GetScrollPosition() const
{
    return {GetScrollPos(SB_HORZ), GetScrollPos(SB_VERT)};
}

void CScrollView::ScrollToPosition(CPoint position)
{
    int low = 0;
    int high = 0;
    GetScrollRange(SB_HORZ, &low, &high);
    position.x = std::clamp(position.x, low, high);
    GetScrollRange(SB_VERT, &low, &high);
    position.y = std::clamp(position.y, low, high);
    const CPoint old = GetScrollPosition();
    if (position == old)
        return;
    ScrollWindow(old.x - position.x, old.y - position.y);
    SetScrollPos(SB_HORZ, position.x);
    SetScrollPos(SB_VERT, position.y);
}

void CScrollView::OnPrepareDC(CDC* dc, CPrintInfo*)
{
    if (!dc->IsPrinting()) {
        const CPoint position = GetScrollPosition();
        dc->SetViewportOrg(-position.x, -position.y);
    }
}

void CScrollView::OnSize(UINT, int, int)
{
    Default();
}

void CScrollView::OnHScroll(int position)
{
    ScrollToPosition({position, GetScrollPos(SB_VERT)});
}

void CScrollView::OnVScroll(int position)
{
    ScrollToPosition({GetScrollPos(SB_HORZ), position});
}

void CScrollView::OnMouseWheel(UINT, CPoint move)
{
    // In 64 bits, because a position near 2^31 plus a move does not fit 32 bits.
    const auto moved = [](int from, int by) {
        return static_cast<int>(std::clamp<int64_t>(int64_t{from} + by, 0, INT32_MAX));
    };
    const CPoint position = GetScrollPosition();
    ScrollToPosition({moved(position.x, move.x), moved(position.y, move.y)});
}
