// SPDX-License-Identifier: MIT
// The geometry of the overview, computed from numbers: its scale factor, its size, its title, and the frame
// around the visible part of the page.
#pragma once

#include "platform/cstring.h"
#include "platform/types.h"

#include <cstdint>

constexpr int32_t kScaleWithoutPage = 32;

// Returns the factor by which the page is reduced for the overview. It is a multiple of 8. The reduced page
// fits into half the width and the full height of the screen, so that both windows fit side by side. If no
// factor up to kMaxReduction is large enough, returns kMaxReduction.
[[nodiscard]] int32_t ChooseScale(CSize page, CSize screen);

struct OverviewGeometry {
    int32_t scale = kScaleWithoutPage; // factor by which the page is reduced
    // Size of the client area: one pixel for each whole cell of scale x scale page pixels.
    CSize client;
};
// Returns the geometry of a new overview. Without a page, `page` is empty, and so is the client area.
[[nodiscard]] OverviewGeometry PlanOverview(CSize page, CSize screen);

// Returns the title of the overview: the title of the page, then "  (1/16)" for a scale of 16.
[[nodiscard]] CString OverviewTitle(const CString& page_title, int32_t scale);

// Returns the frame around the part of the reduced picture that the page view shows.
//
//   position  scroll position of the page view, in page pixels
//   client    size of its client area
//   page      size of the page
//   scale     factor by which the picture is reduced
//
// The frame is rounded outwards and has at least 3 x 3 pixels. It is inside the picture if the picture is
// that large. Empty if the page view shows no part of the page.
[[nodiscard]] CRect FrameInOverview(CPoint position, CSize client, CSize page, int scale);
