// SPDX-License-Identifier: MIT
// Writes a page as a page file: a text header, followed by the raster. Input: a bitmap and the values for the
// header. Rows are streamed, so that no second copy of the page is allocated. But a Group 4 raster is coded
// as a whole, and a JBIG raster one stripe at a time.
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
// Returns every raster once, in the order of the enumeration.
std::span<const RasterName> raster_names();

// Returns the header of a page called "Test": number 1, version 3, 4096 bytes, a constant time. Only the
// resolutions and the fields that write_page_file sets are missing.
FAXHeader usual_header();

// Copies a text into a field of a header. Returns false and copies nothing if the text is too long, or
// contains a zero byte or a line end. A line end would change the meaning of the lines after it.
bool set_text(std::span<char> field, std::string_view text);

struct PageFileOptions {
    Raster raster = Raster::Squeeze;
    RawRows raw_rows = RawRows::WhereShorter; // for a Squeeze raster
    JbigOptions jbig;                         // for a JBIG raster

    // write_page_file sets the sizes of the image and Compression. Readers need a file of 4096 bytes or more;
    // a small page with a small HeaderSize results in a shorter one.
    FAXHeader header = usual_header();
};

constexpr uint32_t kMaxHeaderBytes = 1U << 24; // a larger value is a typing error

// Returns an empty text if the file is written, else one line that says what failed. If a write fails, the
// begun file is deleted if it is a regular file.
[[nodiscard]] std::string write_page_file(const std::string& path, const Bitmap& page,
                                          const PageFileOptions& options);

} // namespace pages
