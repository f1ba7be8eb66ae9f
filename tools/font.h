// A built-in roman typeface in two weights, made of pen strokes and drawn at any size. Given a character and
// the size of the em in pixels; hands on a bitmap of the glyph and how far to move on.
#pragma once

#include "pages.h"

#include <cstdint>

namespace pages
{

enum class Weight { Regular, Bold };

struct GlyphImage {
    Bitmap bits;     // empty for a blank
    int left = 0;    // px from the pen position to the bitmap's left side
    int top = 0;     // px from the baseline up to the bitmap's upper side
    int advance = 0; // 1/64 px
};

// 1/64 px; up to here products of squares within a glyph fit 64 bits.
constexpr int64_t kMostEm = int64_t{1} << 22;

// em_x and em_y are in 1/64 px, 1 to kMostEm; they differ where the resolutions do. A character the face does
// not have is a blank.
GlyphImage draw_glyph(char character, Weight weight, int64_t em_x, int64_t em_y);

} // namespace pages
