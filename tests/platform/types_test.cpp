// SPDX-License-Identifier: MIT
// Rounding and message parameters.
#include "platform/types.h"

#include <gtest/gtest.h>
#include <limits>

namespace
{
constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();

TEST(MulDiv, RoundsHalvesAwayFromZeroAndDetectsOverflow)
{
    struct {
        int a, b, c, want;
    } const cases[] = {
        {7, 1, 2, 4},          {-7, 1, 2, -4},    {7, -1, -2, 4},
        {4, 1, 3, 1},          {1, 1, 0, -1},     {kMost, kMost, kMost, kMost},
        {kLeast, -1, 1, -1},   {kMost, 2, 1, -1}, {kLeast, kLeast, kLeast, kLeast},
        {kMost, kMost, 1, -1}, {1, 1, kLeast, 0}, {kMost, 1, kLeast, -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MulDiv(c.a, c.b, c.c), c.want) << c.a << " * " << c.b << " / " << c.c;
}

TEST(MessageWords, PackedPointsKeepTheirSigns)
{
    for (const int x : {0, 1, -1, 40000, -40000, kMost, kLeast})
        for (const int y : {0, 1, -1, 40000, -40000, kMost, kLeast}) {
            EXPECT_EQ(LowHalf(PackPoint(x, y)), x);
            EXPECT_EQ(HighHalf(PackPoint(x, y)), y);
        }
}
} // namespace
