// A picture of 32-bit pixels that is moved without being copied.
#pragma once

#include "platform/raster.h"

#include <cstddef>
#include <cstdint>
#include <memory>

class MovingPixels
{
public:
    MovingPixels() = default;
    MovingPixels(int width, int height); // holds nothing if memory is short

    // Valid until the next move.
    PixelBuffer Pixels() const;
    // The pixel at x, y goes to x + dx, y + dy. What is uncovered holds any pixels. Moves are shorter than
    // the sides.
    void Move(int dx, int dy);

private:
    struct Free {
        void operator()(uint32_t* pixels) const;
    };

    std::unique_ptr<uint32_t, Free> m_memory;
    ptrdiff_t m_size = 0;  // of the memory, in pixels
    ptrdiff_t m_start = 0; // of the picture in it
    int m_width = 0;
    int m_height = 0;
};
