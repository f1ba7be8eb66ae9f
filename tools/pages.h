// Test pages, drawn in memory: text, screened pictures, line work, noise. Given what to draw, the size and
// the resolution; hands on a packed bitmap or a grey map. Integer arithmetic only, so that the same options
// give the same page on every machine. Writing a page to a file is somebody else's work (tiffout.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace pages
{

// 1 bit a pixel, 1 is black, the leftmost pixel in the top bit. Bits behind the width are 0.
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

// 1 byte a pixel, 0 is black and 255 white; a row is width bytes.
struct GreyMap {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rows;

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
    Halftone, // a grey ramp and a picture over the whole page, screened at 45 degrees, 16 px a cell
    Mixed,    // the upper half text, a quarter of the page picture
    Blank,    // folio and crop marks
    Line,     // rules of 1 and 2 px, circles, 4 pt text
    Noise,    // half of all pixels, at random
    Sample,   // a page to be looked at: title, prose, picture, border
};

struct DrawName {
    Draw draw;
    std::string_view name;
    std::string_view what; // half a line for a help text
};

// Every kind of page once, in the order of the enumeration.
std::span<const DrawName> draw_names();
std::optional<Draw> draw_by_name(std::string_view name);

struct PageOptions {
    Draw draw = Draw::Text;
    int width = 0;  // px, 1 to kMaxSide
    int height = 0; // px, 1 to kMaxSide
    int dpi_x = 300;
    int dpi_y = 300; // text and margins follow the two resolutions; what is told in px does not
    uint64_t seed = 1;
};

constexpr int kMaxSide = 1'000'000;
constexpr int64_t kMaxPageBytes = int64_t{1} << 30; // more is a slip of the hand, not a test page

// Bytes of the rows of such a page; to be compared with kMaxPageBytes before it is drawn.
int64_t bitmap_bytes(int width, int height);
int64_t grey_bytes(int width, int height);

// The sides must be in range and the bytes within the limit. Resolutions outside 50 to 4800 draw as the
// nearest end.
Bitmap draw_page(const PageOptions& options);

// The same page in true grey: pictures unscreened, text anti-aliased, noise of all 256 values.
GreyMap draw_grey_page(const PageOptions& options);

} // namespace pages
