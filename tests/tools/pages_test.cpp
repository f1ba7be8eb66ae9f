// The pages that other tests and the benchmarks use. They are the same each time, each kind has the expected
// amount of ink, and TIFF files return them bit for bit.

#include "pagein.h"
#include "pages.h"
#include "tests/support/scratch.h"
#include "tiffout.h"

#include <gtest/gtest.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace
{

using pages::Draw;

int64_t black_pixels(const pages::Bitmap& page)
{
    int64_t black = 0;
    for (const uint8_t byte : page.rows)
        black += std::popcount(byte);
    return black;
}

struct KindCase {
    Draw draw;
    double least, most; // limits of the black share of a page of 850 x 1100 px at 100 dpi
};
constexpr KindCase kKinds[] = {
    {Draw::Text, 0.04, 0.20},      {Draw::Halftone, 0.25, 0.75}, {Draw::Mixed, 0.08, 0.35},
    {Draw::Blank, 0.00005, 0.005}, {Draw::Line, 0.02, 0.25},     {Draw::Noise, 0.49, 0.51},
    {Draw::Sample, 0.08, 0.40},
};

TEST(Pages, EveryKindHasItsInkAndIsTheSameEachTime)
{
    ASSERT_EQ(std::size(kKinds), pages::draw_names().size());
    for (const KindCase& c : kKinds) {
        SCOPED_TRACE(pages::draw_names()[static_cast<std::size_t>(c.draw)].name);
        const pages::PageOptions options{c.draw, 850, 1100, 100, 100, 1};
        const pages::Bitmap page = pages::draw_page(options);
        const pages::GreyMap grey = pages::draw_grey_page(options);
        EXPECT_TRUE(pages::draw_page(options).rows == page.rows);
        EXPECT_TRUE(pages::draw_grey_page(options).rows == grey.rows);
        const double part = static_cast<double>(black_pixels(page)) / (850.0 * 1100.0);
        EXPECT_GE(part, c.least);
        EXPECT_LE(part, c.most);
        double grey_ink = 0;
        for (const uint8_t value : grey.rows)
            grey_ink += 255 - value;
        EXPECT_NEAR(grey_ink / 255.0 / (850.0 * 1100.0), part, 0.06); // the same page, screened or not

        pages::PageOptions other = options;
        other.seed = 2;
        EXPECT_EQ(pages::draw_page(other).rows == page.rows,
                  c.draw == Draw::Halftone || c.draw == Draw::Sample);
    }
}

// The sample was drawn and coded before, on another machine. It has text, a picture, circles and a border.
TEST(Pages, TheSampleIsTheSameOnEveryMachine)
{
    pages::PageIn in;
    ASSERT_EQ(pages::read_page(LUMENTA_SAMPLES "/sample.tif", in), "");
    const pages::Bitmap page = pages::draw_page({Draw::Sample, 2480, 3508, 300, 300, 1});
    EXPECT_EQ(in.page.width, page.width);
    EXPECT_EQ(in.page.height, page.height);
    EXPECT_TRUE(in.page.rows == page.rows);
}

// Sides too small for a byte, a margin or a letter, and resolutions that do not suit the page's size.
TEST(Pages, BitsAfterTheWidthAreWhiteAtEverySize)
{
    constexpr struct {
        int width, height, dpi_x, dpi_y;
    } kSizes[] = {{1, 1, 300, 300},    {1, 90, 9600, 9600}, {90, 1, 1, 9600},  {7, 13, 72, 72},
                  {63, 65, 4800, 100}, {333, 211, 204, 98}, {1001, 77, 20, 1}, {129, 700, 300, 600}};
    for (const auto& size : kSizes)
        for (const pages::DrawName& kind : pages::draw_names()) {
            SCOPED_TRACE(testing::Message() << kind.name << " " << size.width << "x" << size.height);
            const pages::PageOptions options{kind.draw, size.width, size.height, size.dpi_x, size.dpi_y, 1};
            const pages::Bitmap page = pages::draw_page(options);
            ASSERT_EQ(page.row_bytes, static_cast<std::size_t>(size.width + 7) / 8);
            const int unused = static_cast<int>(page.row_bytes) * 8 - size.width;
            int stray = 0;
            for (int y = 0; y < page.height; ++y)
                stray |= page.row(y)[page.row_bytes - 1] & ((1 << unused) - 1);
            EXPECT_EQ(stray, 0);
            EXPECT_EQ(pages::draw_grey_page(options).rows.size(),
                      static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height));
        }
}

TEST(TiffFile, IsTheSameEachTimeAndFailuresAreReported)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.tif");
    const pages::Bitmap page = pages::draw_page({Draw::Text, 640, 480, 100, 100, 1});
    pages::TiffOptions options;
    options.compression = pages::Compression::Group4;
    std::string contents[2];
    for (std::string& content : contents) {
        ASSERT_EQ(pages::write_tiff(path, page, options), "");
        std::ifstream file(path, std::ios::binary);
        content.assign(std::istreambuf_iterator<char>(file), {});
    }
    EXPECT_EQ(contents[0], contents[1]);
    EXPECT_EQ(contents[0].substr(0, 4), std::string("II*\0", 4));
    EXPECT_NE(pages::write_tiff(path + "/no/such/directory", page, options), "");
    EXPECT_NE(pages::write_tiff(path, pages::GreyMap{50, 40}, options), "") << "Group 4 has no greys";
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_NE(pages::write_tiff("/dev/full", page, options), "");
        EXPECT_TRUE(std::filesystem::exists("/dev/full"));
    }
}

} // namespace
