// SPDX-License-Identifier: MIT
#include "platform/movingpixels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

// The rows are one after another in a memory block that is larger than the picture. A move only changes the
// start of the picture in this block. The pixels that leave the picture on one side of a row become the
// uncovered pixels on the other side of the next row, and their values are undefined. If a move would put the
// picture outside the block, the picture is copied to another place in the block. The system provides the
// spare memory only when it is written to.
namespace
{
// The spare memory is a quarter of the picture, but at least kMinSpare pixels (4 MB). Otherwise a small
// picture would be copied at every second step of 100 lines.
constexpr ptrdiff_t kSpareShare = 4;
constexpr ptrdiff_t kMinSpare = ptrdiff_t{1} << 20;
} // namespace

void MovingPixels::Free::operator()(uint32_t* pixels) const
{
    std::free(pixels);
}

MovingPixels::MovingPixels(int width, int height)
{
    if (width <= 0 || height <= 0)
        return;
    const ptrdiff_t count = ptrdiff_t{width} * height;
    const ptrdiff_t spare = std::max(ptrdiff_t{width} * (height / kSpareShare + 1), kMinSpare);
    const ptrdiff_t size = count + spare;
    m_memory.reset(static_cast<uint32_t*>(std::malloc(static_cast<size_t>(size) * sizeof(uint32_t))));
    if (!m_memory)
        return;
    m_size = size;
    m_start = (size - count) / 2;
    m_width = width;
    m_height = height;
}

PixelBuffer MovingPixels::Pixels() const
{
    return {m_memory ? m_memory.get() + m_start : nullptr, m_width, m_width, m_height};
}

void MovingPixels::Move(int dx, int dy)
{
    const ptrdiff_t count = ptrdiff_t{m_width} * m_height;
    const ptrdiff_t spare = m_size - count;
    const ptrdiff_t start = m_start - ptrdiff_t{dy} * m_width - dx;
    if (start >= 0 && start <= spare) {
        m_start = start;
        return;
    }
    // Most of the spare memory is kept for further moves in the same direction, a quarter for moves back.
    const ptrdiff_t target = start < 0 ? spare - spare / 4 : spare / 4;
    const ptrdiff_t first = std::max(start, m_start);
    const ptrdiff_t end = std::min(start, m_start) + count;
    if (end > first)
        std::memmove(m_memory.get() + first - start + target, m_memory.get() + first,
                     static_cast<size_t>(end - first) * sizeof(uint32_t));
    m_start = target;
}
