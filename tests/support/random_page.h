// SPDX-License-Identifier: MIT
// Random pages that use all codes of a row coder. Each page mixes rows with different statistics.
#pragma once

#include "pages.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace test_support
{

// Both sides are at least 1.
inline pages::Bitmap RandomPage(std::mt19937& random, int width, int height)
{
    const auto below = [&random](unsigned n) { return static_cast<int>(random() % n); };
    pages::Bitmap page(width, height);
    const auto blacken = [&page, width](int y, int from, int to) {
        for (int x = std::max(from, 0); x < std::min(to, width); ++x)
            page.row(y)[x / 8] |= static_cast<uint8_t>(0x80 >> x % 8);
    };
    for (int y = 0; y < height; ++y) {
        const int kind = below(8);
        if (kind == 0) // white
            continue;
        if (kind <= 3 && y > 0) { // the row above with runs moved and resized a little, and some missing
            const auto pixel = [&page, y](int x) { return page.row(y - 1)[x / 8] >> (7 - x % 8) & 1; };
            for (int x = 0, end = 0; x < width; x = end + 1) {
                for (end = x; end < width && pixel(x) == pixel(end);)
                    ++end;
                if (pixel(x) == 1 && below(10) != 0)
                    blacken(y, x + below(2 * kind + 1) - kind, end + below(2 * kind + 1) - kind);
                --end;
            }
            continue;
        }
        const int longest = std::vector<int>{1, 2, 4, 20, width + 1}[static_cast<std::size_t>(below(5))];
        for (int x = below(3) == 0 ? 0 : below(static_cast<unsigned>(longest) + 1); x < width;) {
            const int black = 1 + below(static_cast<unsigned>(longest));
            blacken(y, x, x + black);
            x += black + 1 + below(static_cast<unsigned>(longest));
        }
    }
    return page;
}

inline pages::Bitmap Inverted(pages::Bitmap page)
{
    for (int y = 0; y < page.height; ++y)
        for (int x = 0; x < page.width; ++x)
            page.row(y)[x / 8] ^= static_cast<uint8_t>(0x80 >> x % 8);
    return page;
}

} // namespace test_support
