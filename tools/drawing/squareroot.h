// SPDX-License-Identifier: MIT
// Integer square root, for the drawing of pages.
#pragma once

#include <cstdint>

namespace pages
{

// Returns the root, rounded down.
constexpr uint32_t square_root(uint64_t value)
{
    uint64_t root = 0;
    for (uint64_t bit = uint64_t{1} << 31; bit != 0; bit >>= 1)
        if ((root + bit) * (root + bit) <= value)
            root += bit;
    return static_cast<uint32_t>(root);
}

} // namespace pages
