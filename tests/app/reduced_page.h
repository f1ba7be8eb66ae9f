// SPDX-License-Identifier: MIT
// The expected value of a pixel of a reduced page: a count of the 1 bits in its cell, scaled to 0 to 255.
#pragma once

#include <cstdint>

template <class IsOne> // bool (int x, int y)
uint8_t ReducedValue(int column, int line, int scale, IsOne is_one)
{
    int count = 0;
    for (int y = line * scale; y < (line + 1) * scale; ++y)
        for (int x = column * scale; x < (column + 1) * scale; ++x)
            count += is_one(x, y) ? 1 : 0;
    const int area = scale * scale;
    // If the area is a power of two, a full cell has 256 steps. Otherwise the divisor is rounded up, so that
    // a full cell has at most 256.
    const bool power = (area & (area - 1)) == 0;
    const int steps = power ? count * 256 / area : count / ((area + 255) / 256);
    return static_cast<uint8_t>(steps > 255 ? 255 : steps);
}
