// SPDX-License-Identifier: MIT
// Page files: a file that could not be written whole is deleted, and texts that do not fit are refused. The
// tests of makepage and of the example program read page files of all kinds.

#include "pagefile.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{

TEST(PageFile, IsDeletedIfWritingFails)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    const pages::Bitmap page = pages::draw_page({pages::Draw::Noise, 1000, 2000, 150, 150, 1});
    pages::PageFileOptions options;
    options.header.HeaderSize = 100;
    EXPECT_EQ(pages::write_page_file(path, page, options), "Header is too large");
    options = {};
    EXPECT_EQ(pages::write_page_file(path + "/none", page, options), "No such file or directory");
    for (const rlim_t bytes :
         {rlim_t{1000}, rlim_t{70000}, rlim_t{4096 + 125 * 2000 - 1}}) { // last: a plain file less one byte
        const FileSizeLimit limit(bytes);
        options.raster = pages::Raster::Plain;
        EXPECT_EQ(pages::write_page_file(path, page, options), "File too large") << bytes;
        EXPECT_FALSE(std::filesystem::exists(path)) << bytes;
    }
    FAXHeader header = pages::usual_header();
    EXPECT_FALSE(pages::set_text(header.Creator, "sixteen letters."));
    EXPECT_FALSE(pages::set_text(header.Creator, "two\nlines"));
    EXPECT_STREQ(header.Creator, "makepage");
}

} // namespace
