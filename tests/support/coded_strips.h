// SPDX-License-Identifier: MIT
// Codes rows as the strips of a TIFF file, with libtiff. Group4Bits says how many rows a cut Group 4 strip
// contains.
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
    uint32_t rows_per_strip = UINT32_MAX; // larger than the page: all rows in one strip
    uint16_t fill_order = 1;
    uint32_t options = 0; // for Group 3
    int bits = 1;         // per pixel
    HostileTiff::ByteOrder order = HostileTiff::ByteOrder::Little;
    bool big_file = false; // 64-bit offsets; used by WriteTiff only
    int photometric = 0;   // used by WriteTiff only
};

// Writes the page with libtiff; rows are (width * bits + 7) / 8 bytes each.
void WriteTiff(const std::string& path, const std::vector<uint8_t>& rows, int width, int height,
               const StripFormat& format);
// Returns the strips of such a file.
std::vector<std::string> CodeStrips(const std::vector<uint8_t>& rows, int width, int height,
                                    const StripFormat& format);

// Returns a file of that format, with the directory before the strips.
HostileTiff TiffOf(const std::vector<std::string>& strips, int width, int height, const StripFormat& format);

// Element n of the result is the number of bits of the Group 4 code of the first n rows, without an end code.
std::vector<size_t> Group4Bits(const pages::Bitmap& page);
} // namespace test_support
