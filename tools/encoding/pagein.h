// SPDX-License-Identifier: MIT
// Reads a page of 1 bit per pixel from a file: TIFF with either photometric interpretation, or PBM, binary or
// text. Input: a path. Output: a bitmap in which 1 is black, and the resolution if the file has one.
#pragma once

#include "pages.h"

#include <string>

namespace pages
{

struct PageIn {
    Bitmap page;
    int dpi_x = 0; // 0 if the file has no resolution, or an impossible one
    int dpi_y = 0;
};

// Returns an empty text if the page is read, else one line that says what is wrong. The file may contain
// anything. Each side of the page must be within kMaxSide, and its rows within kMaxPageBytes. If the file has
// several pages, the first one is read.
[[nodiscard]] std::string read_page(const std::string& path, PageIn& in);

} // namespace pages
