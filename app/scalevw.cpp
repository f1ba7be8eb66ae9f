// SPDX-License-Identifier: MIT
// Shows the reduced picture while it grows. Each paint requests the next batch of lines with a posted
// message, until all lines exist or Escape stops the reduction.
#include "app/scalevw.h"

#include "app/lumentadoc.h"
#include "app/usermsg.h"
#include "platform/app.h"

const CRuntimeClass CScaleView::classRecord{"CScaleView", &CLumenta::classRecord, CreateObjectOf<CScaleView>};

const MessageEntry CScaleView::entries[] = {
    On<WM_SIZE, &CScaleView::OnSize>(),
    On<WM_LBUTTONDOWN, &CScaleView::OnLButtonDown>(),
    // The second press of a double click moves the page too.
    On<WM_LBUTTONDBLCLK, &CScaleView::OnLButtonDown>(),
    On<WM_MOUSEMOVE, &CScaleView::OnMouseMove>(),
    On<WM_CHAR, &CScaleView::OnChar>(),
    On<WM_SCALE_NEXT, &CScaleView::OnScaleNext>(),
};
const MessageMap CScaleView::messages{&CLumenta::messages, entries};

void CScaleView::OnInitialUpdate()
{
    m_bStop = false;
    CLumenta::OnInitialUpdate();
    if (CLumentaDoc* const document = GetPageDocument())
        document->MakeScaledBitmap(m_nScale);
}

void CScaleView::OnUpdate(CView* sender, LPARAM hint, CObject* hint_object)
{
    const CRect client = GetClientRect();
    SetupScrollSizes(client.Width(), client.Height(), m_nScale);
    const auto* const lines = DynamicDowncast<ScaleUpdateHint>(hint_object);
    if (hint == kHintReducedLines && lines) {
        // Two bands become invalid: the lines at their position in the picture, and at their position in the
        // window. m_nLastLine is the line after the batch, so each band has one line more than the batch.
        // Painting that line changes nothing.
        bool paint_follows = false;
        for (const int scrolled : {0, GetScrollPosition().y}) {
            const CRect band{0, lines->m_nFirstLine - scrolled, client.Width(),
                             lines->m_nLastLine + 1 - scrolled};
            InvalidateRect(band, true);
            paint_follows |= !client.IsEmpty() && band.top < client.bottom && band.bottom > client.top;
        }
        if (!paint_follows)
            RequestNextLines();
        return;
    }
    CLumenta::OnUpdate(sender, hint, hint_object);
    if (CLumentaDoc* const document = GetPageDocument())
        document->MakeScaledBitmap(m_nScale);
}

void CScaleView::OnDraw(CDC* dc)
{
    if (CLumentaDoc* const document = GetPageDocument())
        document->BlitScaled(dc, {0, 0, m_sizeTotal.cx, m_sizeTotal.cy});
    RequestNextLines();
}

void CScaleView::RequestNextLines()
{
    // At most one request is in the queue. Without this limit, each paint before that request is handled
    // would start another chain of requests. m_bStop is unchanged here, so that Escape ends the chain after
    // that request.
    if (m_bNextPosted)
        return;
    // If all lines exist, a further batch changes nothing.
    const CLumentaDoc* const document = GetPageDocument();
    if (!m_bStop && document && document->IsScaling())
        m_bNextPosted = PostMessage(WM_SCALE_NEXT);
    m_bStop = false;
}

void CScaleView::OnSize(UINT type, int cx, int cy)
{
    CScrollView::OnSize(type, cx, cy);
    SetupScrollSizes(cx, cy, m_nScale);
}

// The page view centres on the point while the button is still down.
void CScaleView::OnLButtonDown(UINT flags, CPoint point)
{
    CLumenta::OnLButtonDown(flags, point);
    MovePage();
    Invalidate(); // the paint continues a reduction that Escape has stopped
}

// If the window shows the whole picture, dragging moves the page in the page view. Otherwise it moves the
// picture, as in the page view. If a message was open when the button was released, this view has
// received no WM_LBUTTONUP, so the flags must also say that the button is down.
void CScaleView::OnMouseMove(UINT flags, CPoint point)
{
    const CRect client = GetClientRect();
    if (m_bDragging && (flags & MK_LBUTTON) && m_sizeTotal.cx <= client.Width() &&
        m_sizeTotal.cy <= client.Height()) {
        m_ptAnchor = point;
        MovePage();
    }
    CLumenta::OnMouseMove(flags, point);
}

void CScaleView::MovePage()
{
    if (CWnd* const window = AfxGetMainWnd())
        window->SendMessage(WM_PAGE_CENTER, 0, PackPointer(static_cast<CLumenta*>(this)));
}

void CScaleView::ShowVisiblePart(CPoint position, CSize client)
{
    const CLumentaDoc* const document = GetPageDocument();
    const CSize page = document ? CSize{document->m_nWidth, document->m_nDepth} : CSize{};
    const CRect frame = FrameInOverview(position, client, page, m_nScale);
    std::vector<OverlayShape> shapes;
    if (!frame.IsEmpty())
        shapes.push_back({OverlayShape::Kind::frame, {frame.left, frame.top}, {frame.right, frame.bottom}});
    SetOverlay(std::move(shapes));
}

CPoint CScaleView::GetPickedPoint() const
{
    return {ClampToInt(int64_t{m_ptAnchor.x} * m_nScale), ClampToInt(int64_t{m_ptAnchor.y} * m_nScale)};
}

void CScaleView::OnChar(UINT key, UINT, UINT)
{
    if (key == VK_ESCAPE)
        m_bStop = true;
    Default();
}

LRESULT CScaleView::OnScaleNext(WPARAM, LPARAM)
{
    m_bNextPosted = false;
    if (CLumentaDoc* const document = GetPageDocument())
        document->ScaleNextLines();
    return 0;
}

void CScaleView::OnActivateView(bool activate, CView* activated, CView* deactivated)
{
    CView::OnActivateView(activate, activated, deactivated);
    if (activate)
        RealizeViewPalette(this, true);
}
