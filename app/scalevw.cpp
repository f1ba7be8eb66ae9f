#include "app/scalevw.h"

#include "app/lumentadoc.h"
#include "app/usermsg.h"
#include "platform/app.h"

const CRuntimeClass CScaleView::classRecord{"CScaleView", &CLumenta::classRecord, CreateObjectOf<CScaleView>};

const MessageEntry CScaleView::entries[] = {
    On<WM_SIZE, &CScaleView::OnSize>(),
    On<WM_LBUTTONDOWN, &CScaleView::OnLButtonDown>(),
    On<WM_CHAR, &CScaleView::OnChar>(),
    On<WM_SCALE_NEXT, &CScaleView::OnScaleNext>(),
};
const MessageMap CScaleView::messages{&CLumenta::messages, entries};

void CScaleView::OnInitialUpdate()
{
    m_bStop = false;
    m_bNextPosted = false;
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
        InvalidateRect({0, lines->m_nFirstLine, client.Width(), lines->m_nLastLine + 1}, true);
        return;
    }
    CLumenta::OnUpdate(sender, hint, hint_object);
    if (CLumentaDoc* const document = GetPageDocument())
        document->MakeScaledBitmap(m_nScale);
}

void CScaleView::OnDraw(CDC* dc)
{
    CLumentaDoc* const document = GetPageDocument();
    if (document) {
        document->BlitScaled(dc, {0, 0, m_sizeTotal.cx, m_sizeTotal.cy});
        // One wish at a time: paints for other reasons may come before it is heard, and would else make a
        // chain of their own each. What Escape asks for holds for the paint behind it.
        if (m_bNextPosted)
            return;
        // Once all lines are there, no further batch could change the picture.
        if (!m_bStop && document->IsScaling())
            m_bNextPosted = PostMessage(WM_SCALE_NEXT);
    }
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
    if (CWnd* const window = AfxGetMainWnd())
        window->SendMessage(WM_PAGE_CENTER, 0, PackPointer(static_cast<CLumenta*>(this)));
}

CPoint CScaleView::GetPickedPoint() const
{
    return {HoldToInt(int64_t{m_ptAnchor.x} * m_nScale), HoldToInt(int64_t{m_ptAnchor.y} * m_nScale)};
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
