// SPDX-License-Identifier: MIT
// The page view: scroll range and position, the measuring line, the window of the overview, reload and print.
// The document draws the page.
#include "app/lumentavw.h"

#include "app/lumentadoc.h"
#include "app/overview.h"
#include "app/scalefrm.h"
#include "app/scalevw.h"
#include "app/usermsg.h"
#include "platform/app.h"

#include <algorithm>

namespace
{
constexpr const char* kKeepPlace = "Keep Place";
}

const CRuntimeClass CLumentaView::classRecord{"CLumentaView", &CLumenta::classRecord,
                                              CreateObjectOf<CLumentaView>};

const MessageEntry CLumentaView::entries[] = {
    OnCommand<kScaledPageCommand, &CLumentaView::OnScaledPage>(),
    OnUpdateCommand<kScaledPageCommand, &CLumentaView::OnUpdateScaledPage>(),
    OnCommand<kCloseOverviewCommand, &CLumentaView::OnCloseOverview>(),
    OnUpdateCommand<kCloseOverviewCommand, &CLumentaView::OnUpdateCloseOverview>(),
    OnCommand<kReloadCommand, &CLumentaView::OnReload>(),
    OnUpdateCommand<kReloadCommand, &CLumentaView::OnUpdateReload>(),
    OnCommand<kKeepPlaceCommand, &CLumentaView::OnKeepPlace>(),
    OnUpdateCommand<kKeepPlaceCommand, &CLumentaView::OnUpdateKeepPlace>(),
    On<WM_SIZE, &CLumentaView::OnSize>(),
    On<WM_KEYDOWN, &CLumentaView::OnKeyDown>(),
    On<WM_MOUSEMOVE, &CLumentaView::OnMouseMove>(),
    On<WM_MOUSELEAVE, &CLumentaView::OnMouseLeave>(),
    On<WM_RBUTTONDOWN, &CLumentaView::OnRButtonDown>(),
    On<WM_RBUTTONUP, &CLumentaView::OnRButtonUp>(),
    On<WM_RBUTTONDBLCLK, &CLumentaView::OnRButtonDblClk>(),
    OnCommand<ID_FILE_PRINT, &CLumentaView::OnFilePrint>(),
    OnCommand<ID_FILE_PRINT_PREVIEW, &CLumentaView::OnFilePrintPreview>(),
    OnUpdateCommand<ID_FILE_PRINT, &CLumentaView::OnUpdatePrint>(),
    OnUpdateCommand<ID_FILE_PRINT_PREVIEW, &CLumentaView::OnUpdatePrint>(),
    On<WM_PAGE_CENTER, &CLumentaView::OnPageCenter>(),
    On<WM_PAGE_CLOSED, &CLumentaView::OnPageClosed>(),
};
const MessageMap CLumentaView::messages{&CLumenta::messages, entries};

CLumentaView::CLumentaView() : m_bKeepPlace(AfxGetApp()->GetProfileInt(kDefaultSettings, kKeepPlace, 0) != 0)
{
}

void CLumentaView::OnInitialUpdate()
{
    SetAccessibleName("Page");
    CLumenta::OnInitialUpdate();
    if (!m_sizeReloaded && !(m_bKeepPlace && GetTotalSize() == m_sizeClosed))
        return;
    // Sets the position without moving pixels, because the whole window is invalid.
    SetScrollPos(SB_VERT, m_ptClosed.y);
    SetScrollPos(SB_HORZ, m_ptClosed.x);
}

void CLumentaView::OnUpdate(CView* sender, LPARAM hint, CObject* hint_object)
{
    if (hint == kHintReducedLines)
        return;
    CLumenta::OnUpdate(sender, hint, hint_object);
    const CRect client = GetClientRect();
    SetupScrollSizes(client.Width(), client.Height(), 1);
    const CLumentaDoc* const document = GetPageDocument();
    if (m_sizeReloaded && m_pScaleFrame &&
        !(document->IsBilevelPage() && CSize{document->m_nWidth, document->m_nDepth} == *m_sizeReloaded))
        m_pScaleFrame->DestroyWindow(); // done before the document updates the view in this frame
}

void CLumentaView::OnSize(UINT type, int cx, int cy)
{
    CScrollView::OnSize(type, cx, cy);
    SetupScrollSizes(cx, cy, 1);
    // If the window becomes smaller, there is no paint. So the frame in the overview is updated here.
    if (CScaleView* const scaled = GetScaledView())
        scaled->ShowVisiblePart(GetScrollPosition(), {cx, cy});
}

void CLumentaView::OnDraw(CDC* dc)
{
    BeginWaitCursor();
    CRect clip;
    const RegionKind region = dc->GetClipBox(&clip);
    if (region != ERRORREGION && region != NULLREGION)
        if (CLumentaDoc* const document = GetPageDocument())
            document->DrawPage(dc, clip);
    ReportPosition();
    ShowMeasure(); // the page may have moved under the pointer
    EndWaitCursor();
}

void CLumentaView::ReportPosition()
{
    const CPoint position = GetScrollPosition();
    if (CWnd* const window = AfxGetMainWnd())
        window->SendMessage(WM_PAGE_POSITION, static_cast<WPARAM>(position.x), position.y);
    const CRect client = GetClientRect();
    if (CScaleView* const scaled = GetScaledView())
        scaled->ShowVisiblePart(position, {client.Width(), client.Height()});
}

void CLumentaView::OnKeyDown(UINT key, UINT repeat, UINT flags)
{
    if (key == VK_ESCAPE)
        EndMeasuring();
    CLumenta::OnKeyDown(key, repeat, flags);
}

void CLumentaView::OnMouseMove(UINT flags, CPoint point)
{
    m_ptPointer = point;
    if (!(flags & MK_RBUTTON)) // the button was released over another window
        m_ptMeasured.reset();
    CLumenta::OnMouseMove(flags, point);
    ShowMeasure();
}

void CLumentaView::OnMouseLeave()
{
    m_ptPointer.reset();
    ShowMeasure();
}

void CLumentaView::OnRButtonDown(UINT, CPoint point)
{
    m_ptPointer = point;
    m_ptMeasured = GetPointedPixel();
    Default();
}

void CLumentaView::OnRButtonUp(UINT, CPoint)
{
    EndMeasuring();
    Default();
}

void CLumentaView::EndMeasuring()
{
    m_ptMeasured.reset();
    ShowMeasure();
}

std::optional<CPoint> CLumentaView::GetPointedPixel() const
{
    const CLumentaDoc* const document = GetPageDocument();
    const CRect client = GetClientRect();
    if (!document || !m_ptPointer || m_ptPointer->x < 0 || m_ptPointer->y < 0 ||
        m_ptPointer->x >= client.Width() || m_ptPointer->y >= client.Height())
        return std::nullopt;
    const CPoint position = GetScrollPosition();
    const int64_t x = int64_t{position.x} + m_ptPointer->x;
    const int64_t y = int64_t{position.y} + m_ptPointer->y;
    if (x >= document->m_nWidth || y >= document->m_nDepth)
        return std::nullopt;
    return CPoint{static_cast<int>(x), static_cast<int>(y)};
}

// If the pointer is not over the page, the nearest page pixel counts.
std::optional<CPoint> CLumentaView::GetMeasuredEnd() const
{
    const CLumentaDoc* const document = GetPageDocument();
    if (!document || !m_ptMeasured || !m_ptPointer)
        return std::nullopt;
    const CPoint position = GetScrollPosition();
    const CPoint end{ClampToRange(int64_t{position.x} + m_ptPointer->x, document->m_nWidth, 1),
                     ClampToRange(int64_t{position.y} + m_ptPointer->y, document->m_nDepth, 1)};
    if (end == *m_ptMeasured) // a press without a move measures nothing
        return std::nullopt;
    return end;
}

std::optional<CSize> CLumentaView::GetMeasuredDistance() const
{
    const std::optional<CPoint> end = GetMeasuredEnd();
    if (!end)
        return std::nullopt;
    return CSize{end->x - m_ptMeasured->x, end->y - m_ptMeasured->y};
}

void CLumentaView::ShowMeasure()
{
    std::vector<OverlayShape> shapes;
    if (const std::optional<CPoint> end = GetMeasuredEnd())
        shapes.push_back({OverlayShape::Kind::line, *m_ptMeasured, *end});
    SetOverlay(std::move(shapes));
}

void CLumentaView::OnRButtonDblClk(UINT, CPoint)
{
    EndMeasuring();
    if (CWnd* const window = AfxGetMainWnd())
        window->SendMessage(WM_COMMAND, kNextPageCommand, 0);
    Default();
}

CPoint CLumentaView::GetCenter() const
{
    const CRect client = GetClientRect();
    const CSize total = GetTotalSize();
    const CPoint position = GetScrollPosition();
    return {position.x + std::min(client.Width(), total.cx) / 2,
            position.y + std::min(client.Height(), total.cy) / 2};
}

void CLumentaView::CenterOn(CPoint point)
{
    const CRect client = GetClientRect();
    const CSize total = GetTotalSize();
    ScrollToPosition({ClampToRange(int64_t{point.x} - client.Width() / 2, total.cx, client.Width()),
                      ClampToRange(int64_t{point.y} - client.Height() / 2, total.cy, client.Height())});
}

// Centres the view on the point that the user picked in the overview.
LRESULT CLumentaView::OnPageCenter(WPARAM, LPARAM scaled_view)
{
    if (const CLumenta* const picker = UnpackPointer<CLumenta>(scaled_view))
        CenterOn(picker->GetPickedPoint());
    return 0;
}

// Closes the overview together with the page, unless the page is being reloaded. Returns -1 if there is no
// overview, so that the document asks its next view.
LRESULT CLumentaView::OnPageClosed(WPARAM, LPARAM)
{
    // The next update sets the scroll range and the position to 0, so they are stored here. If no page is
    // open, the stored values are kept. So a file that fails to open does not change them.
    if (GetTotalSize() != CSize{}) {
        m_sizeClosed = GetTotalSize();
        m_ptClosed = GetScrollPosition();
    }
    EndMeasuring();
    if (!m_pScaleFrame)
        return -1;
    if (!m_sizeReloaded)
        m_pScaleFrame->DestroyWindow();
    return 0;
}

void CLumentaView::OnUpdateScaledPage(CCmdUI& ui)
{
    const CLumentaDoc* const document = GetPageDocument();
    ui.Enable(document && document->IsBilevelPage());
}

void CLumentaView::OnUpdateCloseOverview(CCmdUI& ui)
{
    ui.Enable(m_pScaleFrame != nullptr);
}

void CLumentaView::OnCloseOverview()
{
    if (m_pScaleFrame)
        m_pScaleFrame->SendMessage(WM_CLOSE);
}

void CLumentaView::OnUpdateReload(CCmdUI& ui)
{
    const CLumentaDoc* const document = GetPageDocument();
    ui.Enable(document && !document->GetPathName().IsEmpty());
}

// Also works after a page has failed to open, for the page that the title still shows. Its file may exist
// again.
//
// OpenDocumentFile closes the page first. CanOpen is called before it, so that the page stays open if its
// file can no longer be opened.
void CLumentaView::OnReload()
{
    const CLumentaDoc* const document = GetPageDocument();
    if (!document || document->GetPathName().IsEmpty())
        return;
    const CString path = document->GetPathName();
    if (!CLumentaDoc::CanOpen(path) || !IsWindow())
        return;
    const auto* const frame = DynamicDowncast<CPageFrame>(GetParentFrame());
    const bool was_active = frame && frame->IsActive();
    const CScaleView* const scaled_before = GetScaledView();
    const CPoint scaled_position = scaled_before ? scaled_before->GetScrollPosition() : CPoint{};

    m_sizeReloaded = {document->m_nWidth, document->m_nDepth};
    const bool opened = AfxGetApp()->OpenDocumentFile(path) != nullptr;
    m_sizeReloaded.reset();
    if (!opened || !IsWindow()) // the user may have closed the window while a message was open
        return;
    if (CScaleView* const scaled = GetScaledView()) {
        scaled->ScrollToPosition(scaled_position);
        m_pScaleFrame->SetWindowText(OverviewTitle(document->GetTitle(), scaled->m_nScale));
    } else if (scaled_before && document->IsBilevelPage()) {
        OnScaledPage();
        if (was_active)
            GetParentFrame()->BringWindowToTop();
    }
}

void CLumentaView::OnKeepPlace()
{
    m_bKeepPlace = !m_bKeepPlace;
    AfxGetApp()->WriteProfileInt(kDefaultSettings, kKeepPlace, m_bKeepPlace ? 1 : 0);
}

void CLumentaView::OnUpdateKeepPlace(CCmdUI& ui)
{
    ui.SetCheck(m_bKeepPlace);
}

CScaleView* CLumentaView::GetScaledView() const
{
    return m_pScaleFrame ? DynamicDowncast<CScaleView>(m_pScaleFrame->GetActiveView()) : nullptr;
}

void CLumentaView::OnScaledPage()
{
    if (m_pScaleFrame) {
        if (m_pScaleFrame->IsIconic())
            m_pScaleFrame->ShowWindow(SW_SHOWNORMAL);
        m_pScaleFrame->BringWindowToTop();
        return;
    }
    auto* const frame = DynamicDowncast<CScaleFrame>(CScaleFrame::classRecord.CreateObject());
    if (!frame) {
        AfxMessageBox("Unable to create scaled view window");
        return;
    }
    m_pScaleFrame = frame;
    frame->m_ppBackPointer = &m_pScaleFrame;

    CLumentaDoc* const document = GetPageDocument();
    CDC screen;
    screen.CreateDisplayInformation();
    const OverviewGeometry plan =
        PlanOverview(document ? CSize{document->m_nWidth, document->m_nDepth} : CSize{},
                     {screen.GetDeviceCaps(HORZRES), screen.GetDeviceCaps(VERTRES)});
    frame->m_nClientWidth = plan.client.cx;
    frame->m_nClientHeight = plan.client.cy;

    CCreateContext context;
    context.m_pNewViewClass = &CScaleView::classRecord;
    context.m_pCurrentDoc = document;
    context.m_pLastView = this;
    const CString title = OverviewTitle(document ? document->GetTitle() : CString{"Untitled"}, plan.scale);
    // If Create fails, it has deleted the frame.
    if (!frame->Create(title, WS_OVERLAPPEDWINDOW, {}, &context))
        return;
    frame->DragAcceptFiles(true);
    frame->PlaceClient({0, 0}, {frame->m_nClientWidth, frame->m_nClientHeight});
    if (!frame->GetActiveView())
        if (auto* const scaled =
                DynamicDowncast<CScaleView>(frame->GetDescendantWindow(AFX_IDW_PANE_FIRST))) {
            scaled->m_nScale = plan.scale;
            scaled->SetAccessibleName("Whole page");
            frame->SetActiveView(scaled);
        }
    frame->ActivateFrame(-1);
    if (document) {
        document->UpdateFrameCounts();
        document->UpdateAllViews(this, kHintPage);
    }
    if (m_pScaleFrame) { // the user may have closed the overview while a message was open
        m_pScaleFrame->OnUpdateFrameTitle(true);
        ReportPosition();
    }
}

void CLumentaView::OnActivateView(bool activate, CView* activated, CView* deactivated)
{
    CView::OnActivateView(activate, activated, deactivated);
    if (activate)
        RealizeViewPalette(this, false);
}

void CLumentaView::OnUpdatePrint(CCmdUI& ui)
{
    const CLumentaDoc* const document = GetPageDocument();
    ui.Enable(document && document->HasPage());
}

bool CLumentaView::OnPreparePrinting(CPrintInfo* info)
{
    info->SetMaxPage(1); // a page file is one printed page
    return DoPreparePrinting(info);
}

void CLumentaView::OnBeginPrinting(CDC*, CPrintInfo*) {}

void CLumentaView::OnEndPrinting(CDC*, CPrintInfo*) {}
