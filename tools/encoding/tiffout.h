// SPDX-License-Identifier: MIT
// Writes a page as a TIFF file, or codes it as a Group 4 stream. Input: a bitmap or a grey map, and the tags
// of the file. Rows are streamed, so that no second copy of the page is allocated. Files are little-endian on
// every machine.
#pragma once

#include "pages.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace pages
{

enum class Photometric { MinIsWhite, MinIsBlack };
enum class Compression { None, Group3, Group4, PackBits, Lzw, Deflate };

struct CompressionName {
    Compression compression;
    std::string_view name;
};
std::span<const CompressionName> compression_names();

struct TiffOptions {
    Photometric photometric = Photometric::MinIsWhite;
    Compression compression = Compression::None; // Group3 and Group4 for a bitmap only
    uint32_t rows_per_strip = 0;                 // 0: one strip of the whole height
    int dpi_x = 0;                               // the file has a resolution only if both are above 0
    int dpi_y = 0;
    std::string document_name;    // no tag if empty
    bool directory_first = false; // writes the directory before the strips
};

// Returns an empty text if the file is written, else one line that says what failed. If a write fails, the
// begun file is deleted if it is a regular file.
[[nodiscard]] std::string write_tiff(const std::string& path, const Bitmap& page, const TiffOptions& options);
[[nodiscard]] std::string write_tiff(const std::string& path, const GreyMap& page,
                                     const TiffOptions& options);

// Appends the page as an ITU-T T.6 stream. The first bit of the code is the top bit of a byte, and the end of
// block (EOFB) follows the last row. Returns an empty text, or one line that says what failed.
[[nodiscard]] std::string encode_group4(const Bitmap& page, std::vector<uint8_t>& stream);

} // namespace pages
