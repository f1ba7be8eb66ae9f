// SPDX-License-Identifier: MIT
// Sizes, factors and clipping for the drawing of pages, computed from numbers, and a guard for palettes. The
// members of CLumentaDoc in pagedraw.cpp and pagescale.cpp use them, and so does the overview.
#pragma once

#include "platform/types.h"

class CDC;
class CPalette;

// Returns the factor by which a side of `size` pixels is reduced before it is printed into `room` pixels: 2,
// 4 or a multiple of 8. `room` must not be 0.
[[nodiscard]] int ChooseReduction(int size, int room);

// The largest factor of the scale engine. It replaces larger factors. The overview is then larger than its
// window, and the user can scroll it. A print reduces the picture further when it draws it.
constexpr int kMaxReduction = 248;

// Returns the largest size that has the proportions of `page` and fits into `room`. A side may be rounded to
// 0. Returns an empty size if a side of `page` or `room` is below 1.
[[nodiscard]] CSize FitInto(CSize page, CSize room);

// Returns the bytes of a line of an 8-bit bitmap: the width, rounded up to a multiple of 4. The sides of a
// page are limited so that this does not overflow.
[[nodiscard]] constexpr int RoundUpTo4(int width)
{
    return (width + 3) & ~3;
}

// The columns or lines of a page that are inside a clip area.
struct PageSpan {
    int first = 0;
    int count = 0; // 0 or less: none
};

// Returns the part of a clip area that is inside the page, in one direction. The page begins at 0.
[[nodiscard]] PageSpan ClipToPage(int clip_first, int clip_count, int page_count);

// Selects and realizes a palette, and selects the old one again in the destructor. Does nothing if `palette`
// is null.
class PaletteInUse
{
public:
    PaletteInUse(CDC* dc, CPalette* palette);
    PaletteInUse(const PaletteInUse&) = delete;
    PaletteInUse& operator=(const PaletteInUse&) = delete;
    ~PaletteInUse();

private:
    CDC* m_dc;
    CPalette* m_old = nullptr;
};
