// Writes a page as a page file: a text header, and behind it the raster. Given a bitmap and what the header
// should say. The rows are streamed, so that nothing as large as the page is allocated beside it; but a Group
// 4 raster is coded whole, and a JBIG one a stripe at a time.
#pragma once

#include "jbigencode.h"
#include "pages.h"
#include "sqzencode.h"

#include <kesterlib/faxhdr.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace pages
{

enum class Raster { Plain, Squeeze, Group4, Jbig };

struct RasterName {
    Raster raster;
    std::string_view name;
    std::string_view what; // half a line for a help text
};
// Every raster once, in the order of the enumeration.
std::span<const RasterName> raster_names();

// A page called "Test", number 1, of version 3, with 4096 bytes of header, made at a time that does not
// change. Complete but for its resolutions and for what the writer fills in.
FAXHeader usual_header();

// Copies a text into a field of a header. False, and no copy, where it is too long or holds a line end, which
// would change the meaning of the lines behind it.
bool set_text(std::span<char> field, std::string_view text);

struct PageFileOptions {
    Raster raster = Raster::Squeeze;
    RawRows raw_rows = RawRows::WhereShorter; // of a Squeeze raster
    JbigOptions jbig;                         // of a JBIG raster

    // Sizes of the image and Compression are filled in from the page. A reader wants 4096 bytes in all, which
    // a small page with a small HeaderSize does not have.
    FAXHeader header = usual_header();
};

constexpr uint32_t kMaxHeaderBytes = 1U << 24; // more is a slip of the hand

// Empty when the file is written, else one line on what failed; a regular file that was begun is removed
// then.
std::string write_page_file(const std::string& path, const Bitmap& page, const PageFileOptions& options);

} // namespace pages
