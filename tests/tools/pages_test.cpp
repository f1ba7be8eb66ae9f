// SPDX-License-Identifier: MIT
// The pages that other tests and the benchmarks use.

#include "pagein.h"
#include "pages.h"

#include <gtest/gtest.h>

namespace
{

using pages::Draw;

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

} // namespace
