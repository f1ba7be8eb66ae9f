// SPDX-License-Identifier: MIT
// A picture of 32-bit pixels that can be moved without being copied. Views use it as their buffer, so that a
// scroll step is fast.
#pragma once

#include "platform/raster.h"

#include <cstddef>
#include <cstdint>
#include <memory>

class MovingPixels
{
public:
    MovingPixels() = default;
    MovingPixels(int width, int height); // holds no picture if a side is not above 0 or memory is short

    // The pixels of the picture, valid until the next move. `pixels` is null if there is no picture.
    [[nodiscard]] PixelBuffer Pixels() const;
    // Moves the pixel at (x, y) to (x + dx, y + dy). The uncovered pixels have undefined values. A move must
    // be shorter than the sides of the picture.
    void Move(int dx, int dy);

private:
    struct Free {
        void operator()(uint32_t* pixels) const;
    };

    std::unique_ptr<uint32_t, Free> m_memory;
    ptrdiff_t m_size = 0;  // of the memory, in pixels
    ptrdiff_t m_start = 0; // offset of the picture in the memory, in pixels
    int m_width = 0;
    int m_height = 0;
};
