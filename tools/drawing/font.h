// SPDX-License-Identifier: MIT
// A built-in roman typeface in two weights. Glyphs are made of pen strokes and can be drawn at any size.
// Input: a character and the em size. Output: a bitmap of the glyph, its position and its advance.
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

// em_x and em_y are in 1/64 px, from 1 to 2 to the power of 22: up to this size the products of squares in a
// glyph fit in 64 bits. They differ if the two resolutions differ. A character that the typeface does not
// contain is drawn as a blank.
GlyphImage draw_glyph(char character, Weight weight, int64_t em_x, int64_t em_y);

} // namespace pages
