// SPDX-License-Identifier: MIT
// The reference decoder returns the pages that the Squeeze encoder coded, and the code is short.

#include "sqzencode.h"
#include "tests/support/random_page.h"
#include "tests/support/sqz_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace
{

using pages::Bitmap;
using pages::RawRows;
using test_support::DecodeSqueeze;
using test_support::RandomPage;
using test_support::SqzReference;

SqzReference decode(const Bitmap& page, const std::vector<uint8_t>& stream)
{
    return DecodeSqueeze(stream, page.width, static_cast<int>(page.row_bytes), page.height);
}

void expect_page(const Bitmap& page, const SqzReference& got)
{
    ASSERT_EQ(got.error, "");
    for (int y = 0; y < page.height; ++y)
        ASSERT_TRUE(std::equal(page.row(y), page.row(y) + page.row_bytes,
                               got.rows[static_cast<std::size_t>(y)].begin()))
            << "row " << y;
}

TEST(SqueezeEncoder, RandomPagesDecodeUnchanged)
{
    std::mt19937 random{20};
    for (int i = 0; i < 200; ++i) {
        const int large[] = {512, 1001, 2048, 4099, 33333};
        const int width = i < 180 ? 1 + i % 70 : large[i % 5];
        const Bitmap page = RandomPage(random, width, 24);
        const std::size_t all_raw = 24 * (1 + page.row_bytes);
        for (const RawRows raw : {RawRows::WhereShorter, RawRows::Never, RawRows::Always}) {
            SCOPED_TRACE(testing::Message()
                         << "page " << i << ", width " << width << ", raw rows " << static_cast<int>(raw));
            const std::vector<uint8_t> stream = pages::encode_squeeze(page, raw);
            const SqzReference got = decode(page, stream);
            expect_page(page, got);
            ASSERT_EQ(got.bytes, stream.size());
            if (raw == RawRows::Never)
                EXPECT_EQ(got.raw_rows, 0);
            else
                EXPECT_LE(stream.size(), all_raw);
            EXPECT_EQ(got.raw_rows == page.height && stream.size() == all_raw, raw == RawRows::Always);
        }
    }
}

// After a raw row there are three copies of the length. The last three pixels of the next row can need four.
TEST(SqueezeEncoder, EndsRowsAfterRawRows)
{
    for (const uint8_t above : {0x00, 0xff})
        for (int last = 0; last < 256; ++last) {
            Bitmap page(9 * 8, 2);
            for (int y = 0; y < 2; ++y) { // repeated changes, so that vertical codes are shorter
                std::fill_n(page.row(y), 6, uint8_t{0xaa});
                std::fill_n(page.row(y) + 6, 3, above);
            }
            page.row(1)[8] = static_cast<uint8_t>(last);
            const SqzReference got = decode(page, pages::encode_squeeze(page));
            expect_page(page, got);
            ASSERT_GE(got.raw_rows, 1);
        }
}

TEST(SqueezeEncoder, IsShort)
{
    Bitmap stripes(2200, 50);
    for (int y = 0; y < stripes.height; ++y)
        for (int x = 0; x < 11; ++x)
            stripes.row(y)[x * 20] = 0x18;
    Bitmap top(stripes.width, 1);
    std::copy_n(stripes.rows.begin(), top.rows.size(), top.rows.begin());
    // A repeated row takes 24 bits: one for its kind, 22 for its changes and one for its end.
    EXPECT_EQ(pages::encode_squeeze(stripes).size(), pages::encode_squeeze(top).size() + 49U * 3);

    // Smaller than with an encoder that looks only at the next code.
    const Bitmap text = pages::draw_page({pages::Draw::Text, 1700, 2200, 200, 200, 1});
    EXPECT_LT(pages::encode_squeeze(text).size(), 62'600U);
}

} // namespace
