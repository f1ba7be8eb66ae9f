// SPDX-License-Identifier: MIT
// Reading pages from files: a page is read as it was written, and any other file is refused.

#include "pagein.h"
#include "tests/support/scratch.h"
#include "tiffout.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{

using namespace std::string_literals;

TEST(PageIn, TiffIsReadAsWritten)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.tif");
    const pages::Bitmap page = pages::draw_page({pages::Draw::Mixed, 333, 211, 72, 72, 1});
    for (const pages::CompressionName& compression : pages::compression_names())
        for (const auto photometric : {pages::Photometric::MinIsWhite, pages::Photometric::MinIsBlack})
            for (const int dpi : {0, 204}) {
                SCOPED_TRACE(testing::Message() << compression.name << " " << static_cast<int>(photometric));
                ASSERT_EQ(pages::write_tiff(path, page,
                                            {photometric, compression.compression, 50, dpi, dpi / 2, "x"}),
                          "");
                pages::PageIn in;
                ASSERT_EQ(pages::read_page(path, in), "");
                EXPECT_EQ(in.page.width, page.width);
                EXPECT_EQ(in.page.height, page.height);
                EXPECT_TRUE(in.page.rows == page.rows);
                EXPECT_EQ(in.dpi_x, dpi);
                EXPECT_EQ(in.dpi_y, dpi / 2);
            }
    EXPECT_NE(pages::write_tiff(path + "/no/such/directory", page, {}), "");
    EXPECT_NE(pages::write_tiff("/dev/full", page, {}), "");
    EXPECT_TRUE(std::filesystem::exists("/dev/full"));
}

TEST(PageIn, ReadsPbmAndRefusesInvalidFiles)
{
    const ScratchDirectory scratch;
    struct Case {
        std::string bytes;
        const char* words; // empty: a page of two rows, #..#......# and ..........#
    };
    const Case kCases[] = {
        {"P4\n11 2\n\x90\x3f\0\x3f"s, ""}, // bits after the width are ignored
        {"P4 # wide\n #\n11\t2 \x90\x20\0\x20\n and more"s, ""},
        {"P1\n11 2\n1001000000 1\n0 0 0 0 0 0 0 0 0 0 1"s, ""},
        {"P1\n11 2\n1001000000 1\n0 0 0 0 0 0 0 0 0 0 2"s, "neither 0 nor 1 in row 1"},
        {"P4\n11 2"s, "no PBM size"},
        {"P4\n1000000 8000\n1"s, "ends before"},
        {"P5\n1 1\n255\n1"s, "neither TIFF nor PBM"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.bytes);
        pages::PageIn in;
        const std::string error = pages::read_page(scratch.Write("page", c.bytes), in);
        EXPECT_EQ(error.empty(), *c.words == '\0') << error;
        EXPECT_NE(error.find(c.words), std::string::npos) << error;
        const std::vector<uint8_t> rows{0x90, 0x20, 0, 0x20};
        EXPECT_EQ(in.page.rows, error.empty() ? rows : std::vector<uint8_t>());
    }
    pages::PageIn in;
    EXPECT_EQ(pages::read_page(scratch.File("none"), in), "No such file or directory");
    ASSERT_EQ(pages::write_tiff(scratch.File("grey.tif"), pages::GreyMap{50, 40}, {}), "");
    EXPECT_NE(pages::read_page(scratch.File("grey.tif"), in).find("has 8 bits per pixel"), std::string::npos);
}

} // namespace
