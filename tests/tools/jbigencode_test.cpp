// SPDX-License-Identifier: MIT
// Compares the JBIG encoder with jbigkit. The tests of the decoder cover stripes of one row and stripes with
// fresh contexts, which jbigkit codes in another way.

#include "jbigencode.h"
#include "tests/support/jbigkit.h"
#include "tests/support/random_page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace
{

using pages::Bitmap;
using pages::JbigOne;
using pages::JbigOptions;
using pages::StripeEnd;
using Bytes = std::vector<uint8_t>;

Bytes by_jbigkit(const Bitmap& page, const JbigOptions& options)
{
    const Bytes rows = options.one == JbigOne::Black ? page.rows : test_support::Inverted(page).rows;
    return test_support::EncodeWithJbigkit(rows, page.width, page.height, options.stripe_rows);
}

TEST(JbigEncoder, WritesTheBytesOfJbigkit)
{
    std::vector<Bitmap> all;
    for (const pages::DrawName& draw : pages::draw_names())
        all.push_back(pages::draw_page({draw.draw, 1003, 700, 150, 150, 1}));
    std::mt19937 random{22};
    for (int i = 0; i < 140; ++i)
        all.push_back(test_support::RandomPage(random, 1 + i % 70, 1 + static_cast<int>(random() % 40)));
    for (const int width : {512, 1001, 4099, 33333})
        all.push_back(test_support::RandomPage(random, width, 150));
    all.push_back(test_support::Inverted(Bitmap(777, 300)));
    for (std::size_t i = 0; i < all.size(); ++i)
        for (const uint32_t stripe : {2, 3, 128, std::max(2, all[i].height)})
            for (const JbigOne one : {JbigOne::White, JbigOne::Black}) {
                const JbigOptions options{stripe, StripeEnd::KeepContexts, one};
                ASSERT_TRUE(pages::encode_jbig(all[i], options) == by_jbigkit(all[i], options))
                    << "page " << i << ", stripes of " << stripe;
            }
}

// The default options, and bits after the width, which must have no effect.
TEST(JbigEncoder, CodesByDefaultAsPageFilesDoAndIgnoresBitsAfterTheWidth)
{
    std::mt19937 random{7};
    Bitmap page = test_support::RandomPage(random, 43, 300);
    const Bytes wanted = by_jbigkit(page, {128, StripeEnd::KeepContexts, JbigOne::White});
    EXPECT_EQ(pages::encode_jbig(page), wanted);
    for (int y = 0; y < page.height; ++y)
        page.row(y)[page.row_bytes - 1] |= static_cast<uint8_t>(random() & 0x1f);
    EXPECT_EQ(pages::encode_jbig(page), wanted);
    EXPECT_EQ(pages::encode_jbig(page, {0, StripeEnd::KeepContexts, JbigOne::White}),
              by_jbigkit(page, {300, StripeEnd::KeepContexts, JbigOne::White}));
}

} // namespace
