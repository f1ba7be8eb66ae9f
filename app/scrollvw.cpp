// SPDX-License-Identifier: MIT
// Scrolls the picture in steps by keys, and by dragging with the left button. The first functions compute
// positions and clamp them to their range.
#include "app/scrollvw.h"

#include "app/lumentadoc.h"
#include "app/usermsg.h"
#include "platform/app.h"

#include <algorithm>

namespace
{
void ShowDragCursor()
{
    if (const CWinApp* const app = AfxGetApp())
        SetCursor(app->LoadCursor(kDragCursor));
}
} // namespace

int ClampToInt(int64_t value)
{
    return static_cast<int>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

int PageStep(int client, int total)
{
    return std::min(std::max(client, 2) - 1, total);
}

int ClampToRange(int64_t wanted, int total, int client)
{
    const int64_t limit = std::max<int64_t>(int64_t{total} - client, 0);
    return ClampToInt(std::clamp<int64_t>(wanted, 0, limit));
}

int KeyDistance(int distance_to_end, int step, UINT repeat)
{
    return ClampToInt(std::min<int64_t>(int64_t{step} * repeat, distance_to_end));
}

const CRuntimeClass CLumenta::classRecord{"CLumenta", &CScrollView::classRecord, nullptr};

const MessageEntry CLumenta::entries[] = {
    On<WM_KEYDOWN, &CLumenta::OnKeyDown>(),         On<WM_LBUTTONDOWN, &CLumenta::OnLButtonDown>(),
    On<WM_LBUTTONUP, &CLumenta::OnLButtonUp>(),     On<WM_MOUSEMOVE, &CLumenta::OnMouseMove>(),
    On<WM_XBUTTONDOWN, &CLumenta::OnXButtonDown>(),
};
const MessageMap CLumenta::messages{&CScrollView::messages, entries};

CLumentaDoc* CLumenta::GetPageDocument() const
{
    return DynamicDowncast<CLumentaDoc>(GetDocument());
}

void CLumenta::RealizeViewPalette(const CWnd* focus, bool scaled)
{
    CLumentaDoc* const document = GetPageDocument();
    CPalette* const palette = document ? document->GetPagePalette(scaled) : nullptr;
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

void CLumenta::OnInitialUpdate()
{
    CView::OnInitialUpdate();
    SetScrollPos(SB_VERT, 0, true);
    SetScrollPos(SB_HORZ, 0, true);
}

void CLumenta::OnUpdate(CView* sender, LPARAM hint, CObject* hint_object)
{
    CView::OnUpdate(sender, hint, hint_object);
}

void CLumenta::OnDraw(CDC*) {}

void CLumenta::SetupScrollSizes(int cx, int cy, int divisor)
{
    const CLumentaDoc* const document = GetPageDocument();
    m_sizeTotal = document ? CSize{document->m_nWidth / divisor, document->m_nDepth / divisor} : CSize{};
    m_sizePage = {PageStep(cx, m_sizeTotal.cx), PageStep(cy, m_sizeTotal.cy)};
    m_sizeLine = {1, 1};
    SetScrollSizes(MM_TEXT, m_sizeTotal, m_sizePage, m_sizeLine);
}

void CLumenta::OnKeyDown(UINT key, UINT repeat, UINT)
{
    const bool control = GetKeyState(VK_CONTROL) < 0;
    const int step_x = control ? m_sizePage.cx : m_sizeLine.cx;
    const int step_y = control ? m_sizePage.cy : m_sizeLine.cy;
    const ScrollBar end_axis = control ? SB_VERT : SB_HORZ;
    switch (key) {
    case VK_LEFT: MoveBy(SB_HORZ, Direction::back, Amount::steps, step_x, repeat); break;
    case VK_RIGHT: MoveBy(SB_HORZ, Direction::forward, Amount::steps, step_x, repeat); break;
    case VK_UP: MoveBy(SB_VERT, Direction::back, Amount::steps, step_y, repeat); break;
    case VK_DOWN: MoveBy(SB_VERT, Direction::forward, Amount::steps, step_y, repeat); break;
    case VK_PRIOR: MoveBy(SB_VERT, Direction::back, Amount::steps, m_sizePage.cy, repeat); break;
    case VK_NEXT: MoveBy(SB_VERT, Direction::forward, Amount::steps, m_sizePage.cy, repeat); break;
    case VK_HOME: MoveBy(end_axis, Direction::back, Amount::toEnd, 0, 0); break;
    case VK_END: MoveBy(end_axis, Direction::forward, Amount::toEnd, 0, 0); break;
    default: break;
    }
    Default();
}

// Reads range and position from the scroll bar, because CScrollView sets them.
void CLumenta::MoveBy(ScrollBar axis, Direction direction, Amount amount, int step, UINT repeat)
{
    int minimum = 0;
    int maximum = 0;
    GetScrollRange(axis, &minimum, &maximum);
    const int position = GetScrollPos(axis);
    const bool forward = direction == Direction::forward;
    if (forward ? position >= maximum : position <= minimum)
        return;
    const int to_end = forward ? maximum - position : position - minimum;
    const int distance = amount == Amount::toEnd ? to_end : KeyDistance(to_end, step, repeat);
    const int shift = forward ? -distance : distance; // movement of the picture
    if (axis == SB_HORZ)
        ScrollWindow(shift, 0);
    else
        ScrollWindow(0, shift);
    SetScrollPos(axis, position - shift, true);
}

void CLumenta::OnLButtonDown(UINT, CPoint point)
{
    SetCapture();
    m_bDragging = true;
    const CPoint position = GetScrollPosition();
    m_ptAnchor = {ClampToInt(int64_t{position.x} + point.x), ClampToInt(int64_t{position.y} + point.y)};
    ShowDragCursor();
    Default();
}

void CLumenta::OnMouseMove(UINT, CPoint point)
{
    if (m_bDragging) {
        ShowDragCursor();
        const CRect client = GetClientRect();
        const CSize total = GetTotalSize();
        ScrollToPosition({ClampToRange(int64_t{m_ptAnchor.x} - point.x, total.cx, client.Width()),
                          ClampToRange(int64_t{m_ptAnchor.y} - point.y, total.cy, client.Height())});
    }
    Default();
}

void CLumenta::OnLButtonUp(UINT, CPoint)
{
    ReleaseCapture();
    m_bDragging = false;
    Default();
}

void CLumenta::OnXButtonDown(UINT flags, CPoint)
{
    const UINT command = XButtonOf(flags) == XBUTTON1 ? kPreviousPageCommand : kNextPageCommand;
    if (CWnd* const window = AfxGetMainWnd())
        window->SendMessage(WM_COMMAND, command);
    Default();
}
