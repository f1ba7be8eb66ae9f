// Writes a page as a TIFF file, or codes it as Group 4 the way one holds it. Given a bitmap or a grey map and
// the tags it should carry; the rows are streamed, so that nothing as large as the page is allocated beside
// it. Little-endian on every machine.
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
    int dpi_x = 0;                               // both above 0, or the file has no resolution
    int dpi_y = 0;
    std::string document_name;    // no tag if empty
    bool directory_first = false; // the directory before the strips; for files
};

// Empty when the file is written, else one line on what failed; a regular file that was begun is removed
// then.
std::string write_tiff(const std::string& path, const Bitmap& page, const TiffOptions& options);
std::string write_tiff(const std::string& path, const GreyMap& page, const TiffOptions& options);

// Appends the page as a stream of ITU-T T.6: white first, the first bit in the top one of a byte, and the end
// of the block behind the last row. Empty, or one line on what failed.
std::string encode_group4(const Bitmap& page, std::vector<uint8_t>& stream);

} // namespace pages
