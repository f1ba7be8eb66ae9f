// SPDX-License-Identifier: MIT
// Test pages, drawn in memory: text, screened pictures, line work, noise. Input: the kind of page, its size
// and its resolution. Output: a packed bitmap or a grey map. All arithmetic is in integers, so that the same
// options draw the same page on every machine. tiffout.h and pagefile.h write pages to files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace pages
{

// 1 bit per pixel, 1 is black, the leftmost pixel in the top bit. Bits after the width are 0.
struct Bitmap {
    int width = 0;  // px
    int height = 0; // px
    std::size_t row_bytes = 0;
    std::vector<uint8_t> rows; // height * row_bytes

    Bitmap() = default;
    Bitmap(int width_px, int height_px); // white

    uint8_t* row(int y) { return rows.data() + static_cast<std::size_t>(y) * row_bytes; }
    const uint8_t* row(int y) const { return rows.data() + static_cast<std::size_t>(y) * row_bytes; }
};

// 1 byte per pixel, 0 is black and 255 is white.
struct GreyMap {
    int width = 0;             // px
    int height = 0;            // px
    std::vector<uint8_t> rows; // height * width

    GreyMap() = default;
    GreyMap(int width_px, int height_px); // white

    uint8_t* row(int y)
    {
        return rows.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
    const uint8_t* row(int y) const
    {
        return rows.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
};

enum class Draw {
    Text,     // headings and ragged paragraphs at 10 pt
    Halftone, // a grey ramp and a picture over the whole page, screened at 45 degrees, 16 px per cell
    Mixed,    // text in the upper half, a picture on a quarter of the page
    Blank,    // page number and crop marks
    Line,     // rules of 1 and 2 px, circles, 4 pt text
    Noise,    // each pixel black or white at random
    Sample,   // a page to show: title, prose, picture, border
};

struct DrawName {
    Draw draw;
    std::string_view name;
    std::string_view what; // half a line for a help text
};

// Returns every kind of page once, in the order of the enumeration.
std::span<const DrawName> draw_names();
std::optional<Draw> draw_by_name(std::string_view name);

struct PageOptions {
    Draw draw = Draw::Text;
    int width = 0;   // px, 1 to kMaxSide
    int height = 0;  // px, 1 to kMaxSide
    int dpi_x = 300; // text and margins scale with the resolutions; lengths in px do not
    int dpi_y = 300;
    uint64_t seed = 1;
};

constexpr int kMaxSide = 1'000'000;
constexpr int64_t kMaxPageBytes = int64_t{1} << 30; // a larger page is a typing error, not a test page

// Returns the bytes of the rows of such a page. Compare them with kMaxPageBytes before drawing.
int64_t bitmap_bytes(int width, int height);
int64_t grey_bytes(int width, int height);

// The sides must be in range and the bytes within the limit. Resolutions are clamped to 50 to 4800 dpi.
Bitmap draw_page(const PageOptions& options);

// Draws the same page in grey: pictures unscreened, text anti-aliased, noise of all 256 values.
GreyMap draw_grey_page(const PageOptions& options);

} // namespace pages
