// What the drawings of a page share.
#pragma once

#include "platform/types.h"

class CDC;
class CPalette;

// The factor by which a page of size pixels is reduced before it is printed into room pixels (not 0): 2, 4,
// or a multiple of 8.
int ChooseReduction(int size, int room);

// The largest factor that the scale engine supports. Larger factors are clamped to it: the scaled window then
// scrolls, and printing makes the picture smaller itself.
constexpr int kMaxReduction = 248;

// The largest size in the proportions of page that fits into room. 0 in both where there is none.
CSize FitInto(CSize page, CSize room);

// Bytes of a line of an 8-bit bitmap. A page's sides leave room for it.
constexpr int RoundUpTo4(int width)
{
    return (width + 3) & ~3;
}

// Columns or lines of a page that a clip shows.
struct PageSpan {
    int first = 0;
    int count = 0; // not above 0: nothing
};
PageSpan ClipToPage(int clip_first, int clip_count, int page_count);

// Selects a palette, if there is one, for the time of a drawing.
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
