// SPDX-License-Identifier: MIT
#include "app/overview.h"

#include "app/pagedraw.h"
#include "platform/framewnd.h"

#include <algorithm>

namespace
{
struct Span {
    int first = 0;
    int end = 0;
};

// Computes FrameInOverview in one direction. Returns an empty span if nothing is visible.
Span FrameSpan(int position, int client, int page, int scale)
{
    constexpr int64_t kMinPixels = 3; // of the frame in this direction: black, white, black
    const int64_t shown_end = std::min<int64_t>(int64_t{position} + client, page);
    if (shown_end <= position)
        return {};
    // The picture ends with the last whole cell.
    const int64_t picture_end = std::max<int64_t>(page / scale, kMinPixels);
    int64_t end = std::min((shown_end + scale - 1) / scale, picture_end);
    const int64_t first = std::max<int64_t>(std::min<int64_t>(position / scale, end - kMinPixels), 0);
    end = std::max(end, first + kMinPixels);
    return {static_cast<int>(first), static_cast<int>(end)};
}
} // namespace

int32_t ChooseScale(CSize page, CSize screen)
{
    constexpr int64_t kStep = 8;
    const auto needed = [](int64_t size, int64_t room) {
        room = std::max<int64_t>(room, 1);
        return (size + room - 1) / room;
    };
    const int64_t factor = std::max(needed(page.cx, screen.cx / 2), needed(page.cy, screen.cy));
    return static_cast<int32_t>(
        std::clamp<int64_t>((factor + kStep - 1) / kStep * kStep, kStep, kMaxReduction));
}

OverviewGeometry PlanOverview(CSize page, CSize screen)
{
    OverviewGeometry plan;
    if (page.cx > 0 && page.cy > 0)
        plan.scale = ChooseScale(page, screen);
    plan.client = {page.cx / plan.scale, page.cy / plan.scale};
    return plan;
}

CString OverviewTitle(const CString& page_title, int32_t scale)
{
    CString factor;
    factor.Format("  (1/%d)", scale);
    return WindowTitle(page_title, factor);
}

CRect FrameInOverview(CPoint position, CSize client, CSize page, int scale)
{
    const Span across = FrameSpan(position.x, client.cx, page.cx, scale);
    const Span down = FrameSpan(position.y, client.cy, page.cy, scale);
    if (across.end == 0 || down.end == 0)
        return {};
    return {across.first, down.first, across.end, down.end};
}
