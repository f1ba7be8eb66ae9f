// Reads a page of 1 bit a pixel from a file: TIFF of either photometric interpretation, or PBM, binary or as
// text. Given a path; hands on a bitmap in which 1 is black, and the resolution where the file has one.
#pragma once

#include "pages.h"

#include <string>

namespace pages
{

struct PageIn {
    Bitmap page;
    int dpi_x = 0; // 0 where the file does not say, or says what no page has
    int dpi_y = 0;
};

// Empty when the page is read, else one line on what is wrong: with the file, which may be anything, or with
// the page, of which each side must be within kMaxSide and the rows within kMaxPageBytes. Of a file with
// several pages the first is read.
std::string read_page(const std::string& path, PageIn& in);

} // namespace pages
