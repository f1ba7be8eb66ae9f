#include "app/lumentavw.h"

#include "app/lumentadoc.h"
#include "app/usermsg.h"
#include "platform/app.h"

const CRuntimeClass CLumentaView::classRecord{"CLumentaView", &CLumenta::classRecord,
                                              CreateObjectOf<CLumentaView>};

const MessageEntry CLumentaView::entries[] = {
    On<WM_SIZE, &CLumentaView::OnSize>(),
    On<WM_RBUTTONDBLCLK, &CLumentaView::OnRButtonDblClk>(),
    OnCommand<ID_FILE_PRINT, &CLumentaView::OnFilePrint>(),
    OnCommand<ID_FILE_PRINT_PREVIEW, &CLumentaView::OnFilePrintPreview>(),
    On<WM_PAGE_CENTER, &CLumentaView::OnPageCenter>(),
    On<WM_PAGE_CLOSED, &CLumentaView::OnPageClosed>(),
};
const MessageMap CLumentaView::messages{&CLumenta::messages, entries};

CLumentaDoc* CLumentaView::GetPageDocument() const
{
    return DynamicDowncast<CLumentaDoc>(GetDocument());
}

void CLumentaView::OnInitialUpdate()
{
    SetAccessibleName("Page");
    CLumenta::OnInitialUpdate();
}

void CLumentaView::OnUpdate(CView* sender, LPARAM hint, CObject* hint_object)
{
    if (hint == kHintReducedLines)
        return;
    CLumenta::OnUpdate(sender, hint, hint_object);
    const CRect client = GetClientRect();
    SetupScrollSizes(client.Width(), client.Height(), 1);
}

void CLumentaView::OnSize(UINT type, int cx, int cy)
{
    CScrollView::OnSize(type, cx, cy);
    SetupScrollSizes(cx, cy, 1);
}

void CLumentaView::OnDraw(CDC* dc)
{
    BeginWaitCursor();
    CRect clip;
    const RegionKind region = dc->GetClipBox(&clip);
    if (region != ERRORREGION && region != NULLREGION)
        if (CLumentaDoc* const document = GetPageDocument())
            document->DrawPage(dc, clip);
    const CPoint position = GetScrollPosition();
    if (CWnd* const window = AfxGetMainWnd())
        window->SendMessage(WM_PAGE_POSITION, static_cast<WPARAM>(position.x), position.y);
    EndWaitCursor();
}

void CLumentaView::OnRButtonDblClk(UINT, CPoint)
{
    if (CWnd* const window = AfxGetMainWnd())
        window->SendMessage(WM_COMMAND, kNextPageCommand, 0);
    Default();
}

// The point that the user picked in the reduced picture becomes the middle of this view.
LRESULT CLumentaView::OnPageCenter(WPARAM, LPARAM scaled_view)
{
    const CLumenta* const picker = UnpackPointer<CLumenta>(scaled_view);
    if (!picker)
        return 0;
    const CRect client = GetClientRect();
    const CSize total = GetTotalSize();
    const CPoint picked = picker->GetPickedPoint();
    ScrollToPosition({HoldToRange(int64_t{picked.x} - client.Width() / 2, total.cx, client.Width()),
                      HoldToRange(int64_t{picked.y} - client.Height() / 2, total.cy, client.Height())});
    return 0;
}

// -1: no further window belongs to the page here, so the document asks its next view.
LRESULT CLumentaView::OnPageClosed(WPARAM, LPARAM)
{
    return -1;
}

void CLumentaView::OnActivateView(bool activate, CView* activated, CView* deactivated)
{
    CView::OnActivateView(activate, activated, deactivated);
    if (activate)
        RealizeViewPalette(this);
}

void CLumentaView::RealizeViewPalette(const CWnd* focus)
{
    CLumentaDoc* const document = GetPageDocument();
    CPalette* const palette = document ? document->GetPagePalette(false) : nullptr;
    if (!palette)
        return;
    CClientDC dc{GetParentFrame()};
    CPalette* const old = dc.SelectPalette(palette, focus != this);
    if (!old)
        return;
    if (dc.RealizePalette() > 0)
        document->UpdateAllViews(nullptr, kHintPage);
    dc.SelectPalette(old, true);
}

bool CLumentaView::OnPreparePrinting(CPrintInfo* info)
{
    info->SetMaxPage(1); // a page file is one printed page
    return DoPreparePrinting(info);
}

void CLumentaView::OnBeginPrinting(CDC*, CPrintInfo*) {}

void CLumentaView::OnEndPrinting(CDC*, CPrintInfo*) {}
