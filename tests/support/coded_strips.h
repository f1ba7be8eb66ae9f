// A page's rows as the strips of a TIFF file hold them, coded by libtiff; and how far a cut Group 4 strip
// reaches.
#pragma once

#include "pages.h"
#include "tests/support/hostile_tiff.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test_support
{
struct StripFormat {
    uint16_t compression = 1;
    uint32_t rows_per_strip = UINT32_MAX; // more than the page has: all in one
    uint16_t fill_order = 1;
    uint32_t options = 0; // of Group 3
    int bits = 1;         // per pixel
    HostileTiff::ByteOrder order = HostileTiff::ByteOrder::Little;
    bool big_file = false; // with 64-bit offsets; of WriteTiff
    int photometric = 0;   // of WriteTiff
};

// Writes the page with libtiff; rows are (width * bits + 7) / 8 bytes each.
void WriteTiff(const std::string& path, const std::vector<uint8_t>& rows, int width, int height,
               const StripFormat& format);
// The strips of such a file.
std::vector<std::string> CodeStrips(const std::vector<uint8_t>& rows, int width, int height,
                                    const StripFormat& format);

// A file of that format, the directory before the strips.
HostileTiff TiffOf(const std::vector<std::string>& strips, int width, int height, const StripFormat& format);

// For 0 and more rows: bits of the Group 4 code of so many first rows, without an end.
std::vector<size_t> Group4Bits(const pages::Bitmap& page);
} // namespace test_support
