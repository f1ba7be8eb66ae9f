// SPDX-License-Identifier: MIT
// The main window: reads and stores its place, shows the numbers of the page in the status panes, and handles
// the commands for units, Go To, Page Information and full screen.
#include "app/mainfrm.h"

#include "app/gotodialog.h"
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "app/lumentavw.h"
#include "app/pageinfodialog.h"
#include "app/placement.h"
#include "app/statustext.h"
#include "app/units.h"
#include "app/usermsg.h"
#include "platform/dc.h"
#include "platform/view.h"

namespace
{
constexpr const char* kUnits = "Units";
constexpr const char* kMainFrame = "MainFrame";

constexpr UINT kIndicators[] = {ID_SEPARATOR, kPositionIndicator, kSizeIndicator, kResolutionIndicator};
constexpr int kPositionPane = 1;
constexpr int kSizePane = 2;
constexpr int kResolutionPane = 3;
} // namespace

const CRuntimeClass CMainFrame::classRecord{"CMainFrame", &CPageFrame::classRecord,
                                            CreateObjectOf<CMainFrame>};

const MessageEntry CMainFrame::entries[] = {
    On<WM_DESTROY, &CMainFrame::OnDestroy>(),
    On<WM_PAGE_POSITION, &CMainFrame::OnPagePosition>(),
    On<WM_PAGE_RESOLUTION, &CMainFrame::OnPageResolution>(),
    On<WM_PAGE_SIZE, &CMainFrame::OnPageSize>(),
    On<WM_PAGE_CENTER, &CMainFrame::OnPageCenter>(),
    OnCommand<kPageInformationCommand, &CMainFrame::OnPageInformation>(),
    OnUpdateCommand<kPageInformationCommand, &CMainFrame::OnUpdateNeedsPage>(),
    OnCommand<kGoToCommand, &CMainFrame::OnGoTo>(),
    OnUpdateCommand<kGoToCommand, &CMainFrame::OnUpdateNeedsPage>(),
    OnCommand<kFullScreenCommand, &CMainFrame::OnFullScreen>(),
    OnUpdateCommand<kFullScreenCommand, &CMainFrame::OnUpdateFullScreen>(),
    OnCommand<kInchesCommand, &CMainFrame::OnUnits<kInches>>(),
    OnCommand<kMillimetersCommand, &CMainFrame::OnUnits<kMillimeters>>(),
    OnCommand<kPixelsCommand, &CMainFrame::OnUnits<kPixels>>(),
    OnCommand<kPointsCommand, &CMainFrame::OnUnits<kPoints>>(),
    OnUpdateCommand<kInchesCommand, &CMainFrame::OnUpdateUnits<kInches>>(),
    OnUpdateCommand<kMillimetersCommand, &CMainFrame::OnUpdateUnits<kMillimeters>>(),
    OnUpdateCommand<kPixelsCommand, &CMainFrame::OnUpdateUnits<kPixels>>(),
    OnUpdateCommand<kPointsCommand, &CMainFrame::OnUpdateUnits<kPoints>>(),
    OnUpdateCommand<kPositionIndicator, &CMainFrame::OnUpdatePane>(),
    OnUpdateCommand<kSizeIndicator, &CMainFrame::OnUpdatePane>(),
    OnUpdateCommand<kResolutionIndicator, &CMainFrame::OnUpdatePane>(),
};
const MessageMap CMainFrame::messages{&CPageFrame::messages, entries};

CMainFrame::CMainFrame() : m_nUnits(AfxGetApp()->GetProfileInt(kAppSettings, kUnits, kPixels)) {}

bool CMainFrame::PreCreateWindow(CREATESTRUCT& cs)
{
    if (!CPageFrame::PreCreateWindow(cs))
        return false;
    const std::optional<CRect> place =
        ParsePlacement(AfxGetApp()->GetProfileString(kWindowSettings, kMainFrame));
    if (place) { // if this place is on no screen, the frame corrects it
        cs.x = place->left;
        cs.y = place->top;
        cs.cx = place->Width();
        cs.cy = place->Height();
        return true;
    }
    CDC screen;
    screen.CreateDisplayInformation();
    cs.x = 0;
    cs.y = 0;
    cs.cx = screen.GetDeviceCaps(HORZRES);
    cs.cy = screen.GetDeviceCaps(VERTRES);
    return true;
}

int CMainFrame::OnCreate(const CREATESTRUCT& cs)
{
    if (CPageFrame::OnCreate(cs) != 0 || !m_wndStatusBar.Create(this) ||
        !m_wndStatusBar.SetIndicators(kIndicators))
        return -1;
    OnPageSize(0, 0);
    OnPageResolution(0, 0);
    return 0;
}

void CMainFrame::OnDestroy()
{
    const WindowPlacement placement = GetWindowPlacement();
    CWinApp* const app = AfxGetApp();
    app->WriteProfileString(kWindowSettings, kMainFrame, FormatPlacement(placement.normal_position));
    app->WriteProfileInt(kWindowSettings, kMaximizeMainFrame,
                         placement.show_command == SW_SHOWMAXIMIZED ? 1 : 0);
    CPageFrame::OnDestroy();
}

CString CMainFrame::GetMessageText() const
{
    const auto* const document = DynamicDowncast<CLumentaDoc>(GetActiveDocument());
    const auto* const app = DynamicDowncast<CLumentaApp>(AfxGetApp());
    if (!document || !app)
        return CPageFrame::GetMessageText();
    MessageField field;
    field.page_notes = document->GetStatusText();
    field.list_note = app->GetListNote();
    if (const auto* const view = DynamicDowncast<CLumentaView>(GetActiveView())) {
        field.distance = view->GetMeasuredDistance();
        field.pointer = view->GetPointedPixel();
    }
    const CString text = FormatMessageField(field, m_nUnits, m_nXDpi, m_nYDpi);
    return text.IsEmpty() ? CPageFrame::GetMessageText() : text;
}

void CMainFrame::ShowPosition()
{
    m_wndStatusBar.SetPaneText(kPositionPane,
                               FormatPosition(m_nUnits, m_nPageLeft, m_nPageTop, m_nXDpi, m_nYDpi));
}

void CMainFrame::ShowSize()
{
    m_wndStatusBar.SetPaneText(kSizePane, FormatSize(m_nUnits, m_nPageWidth, m_nPageDepth, m_nXDpi, m_nYDpi));
}

LRESULT CMainFrame::OnPagePosition(WPARAM left, LPARAM top)
{
    m_nPageLeft = static_cast<int>(left);
    m_nPageTop = static_cast<int>(top);
    ShowPosition();
    return 0;
}

LRESULT CMainFrame::OnPageResolution(WPARAM x_dpi, LPARAM y_dpi)
{
    m_nXDpi = static_cast<int>(x_dpi);
    m_nYDpi = static_cast<int>(y_dpi);
    m_wndStatusBar.SetPaneText(kResolutionPane, FormatResolution(m_nXDpi, m_nYDpi));
    ShowPosition();
    ShowSize();
    return 0;
}

LRESULT CMainFrame::OnPageSize(WPARAM width, LPARAM depth)
{
    m_nPageWidth = static_cast<int>(width);
    m_nPageDepth = static_cast<int>(depth);
    ShowSize();
    WatchFile(width > 0); // the document sends 0 when it has no page
    return 0;
}

LRESULT CMainFrame::OnPageCenter(WPARAM wParam, LPARAM view)
{
    CView* const active = GetActiveView();
    return active ? active->SendMessage(WM_PAGE_CENTER, wParam, view) : -1;
}

void CMainFrame::OnUpdateNeedsPage(CCmdUI& ui)
{
    const auto* const document = DynamicDowncast<CLumentaDoc>(GetActiveDocument());
    ui.Enable(document && document->HasPage());
}

void CMainFrame::OnPageInformation()
{
    auto* const document = DynamicDowncast<CLumentaDoc>(GetActiveDocument());
    if (document && document->HasPage())
        CPageInformationDialog(document, UnitsFor(m_nUnits, m_nXDpi, m_nYDpi)).DoModal();
}

void CMainFrame::OnGoTo()
{
    auto* const view = DynamicDowncast<CLumentaView>(GetActiveView());
    if (!view || m_nPageWidth == 0)
        return;
    CGoToDialog dialog;
    dialog.m_nUnits = UnitsFor(m_nUnits, m_nXDpi, m_nYDpi);
    dialog.m_nXDpi = m_nXDpi;
    dialog.m_nYDpi = m_nYDpi;
    dialog.m_ptPlace = view->GetCenter();
    if (dialog.DoModal() == IDOK && view->IsWindow()) // the program may have been ended meanwhile
        view->CenterOn(dialog.m_ptPlace);
}

// The status bar stays visible, because it shows positions and measured distances.
void CMainFrame::OnFullScreen()
{
    ShowFullScreen(!IsFullScreen());
}

void CMainFrame::OnUpdateFullScreen(CCmdUI& ui)
{
    ui.SetCheck(IsFullScreen());
}

void CMainFrame::SetUnits(int units)
{
    m_nUnits = units;
    AfxGetApp()->WriteProfileInt(kAppSettings, kUnits, units);
    ShowPosition();
    ShowSize();
    UpdateStatusPanes(); // also shows the pointer's position in the new unit
}

void CMainFrame::OnUpdatePane(CCmdUI& ui)
{
    ui.Enable(true);
}
