// SPDX-License-Identifier: MIT
// Computes the rectangles of frames and lines, clipped to the client area. Draws them into a buffer, stores
// the pixels that they cover, and restores these pixels.
#include "platform/overlay.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace
{
// Largest side of a box along a line. Larger boxes would cover many pixels that a slanting line does not.
constexpr int kBoxSide = 16;

// Collects the visible rectangles. It computes in 64 bits, because shapes may be anywhere, far from the
// client area.
class Collector
{
public:
    Collector(CPoint scrolled, CSize client) : m_scrolled(scrolled), m_client(client) {}

    void Add(const OverlayShape& shape)
    {
        if (shape.kind == OverlayShape::Kind::frame)
            AddFrame(shape);
        else
            AddLine(shape);
    }
    std::vector<OverlayPart> Take() { return std::move(m_parts); }

private:
    // Adds a rectangle of the picture, clipped to the client area.
    void AddRect(int64_t left, int64_t top, int64_t right, int64_t bottom, COLORREF color)
    {
        left = std::max<int64_t>(left - m_scrolled.x, 0);
        top = std::max<int64_t>(top - m_scrolled.y, 0);
        right = std::min<int64_t>(right - m_scrolled.x, m_client.cx);
        bottom = std::min<int64_t>(bottom - m_scrolled.y, m_client.cy);
        if (left < right && top < bottom)
            m_parts.push_back({{static_cast<int>(left), static_cast<int>(top), static_cast<int>(right),
                                static_cast<int>(bottom)},
                               color});
    }

    void AddFrame(const OverlayShape& shape)
    {
        int64_t left = shape.from.x;
        int64_t top = shape.from.y;
        int64_t right = shape.to.x;
        int64_t bottom = shape.to.y;
        for (const COLORREF color : {kBlack, kWhite}) {
            if (left >= right || top >= bottom)
                break;
            AddRect(left, top, right, top + 1, color);
            AddRect(left, top + 1, left + 1, bottom - 1, color);
            AddRect(right - 1, top + 1, right, bottom - 1, color);
            AddRect(left, bottom - 1, right, bottom, color);
            ++left;
            ++top;
            --right;
            --bottom;
        }
    }

    // A line has one pixel per step along its longer axis. Pixels with the same position on the other axis
    // become one rectangle. Only the steps inside the client area are computed, so the time depends on the
    // client area alone.
    void AddLine(const OverlayShape& shape)
    {
        const bool across =
            std::abs(int64_t{shape.to.x} - shape.from.x) >= std::abs(int64_t{shape.to.y} - shape.from.y);
        CPoint low = shape.from;
        CPoint high = shape.to;
        if (across ? low.x > high.x : low.y > high.y)
            std::swap(low, high);
        const int64_t start = across ? low.x : low.y;
        const int64_t other = across ? low.y : low.x;
        const auto length = static_cast<uint64_t>((across ? high.x : high.y) - start);
        const int64_t slant = (across ? high.y : high.x) - other;
        const auto rise = static_cast<uint64_t>(std::abs(slant));
        // Both factors have 32 bits, so their product fits 64 bits.
        const auto place = [&](uint64_t step) {
            const auto moved = static_cast<int64_t>(length == 0 ? 0 : (step * rise + length / 2) / length);
            return other + (slant < 0 ? -moved : moved);
        };
        const int64_t scrolled = across ? m_scrolled.x : m_scrolled.y;
        const int64_t first = std::max(start, scrolled) - start;
        const int64_t end = std::min(start + static_cast<int64_t>(length) + 1,
                                     scrolled + (across ? m_client.cx : m_client.cy)) -
                            start;
        for (const int side : {1, 0}) { // black last, so that it is not interrupted where the line bends
            const COLORREF color = side == 1 ? kWhite : kBlack;
            for (int64_t step = first; step < end;) {
                const int64_t run_place = place(static_cast<uint64_t>(step));
                int64_t next = step + 1;
                while (next < end && place(static_cast<uint64_t>(next)) == run_place)
                    ++next;
                if (across)
                    AddRect(start + step, run_place + side, start + next, run_place + side + 1, color);
                else
                    AddRect(run_place + side, start + step, run_place + side + 1, start + next, color);
                step = next;
            }
        }
    }

    const CPoint m_scrolled;
    const CSize m_client;
    std::vector<OverlayPart> m_parts;
};
} // namespace

std::vector<OverlayPart> OverlayParts(const std::vector<OverlayShape>& shapes, CPoint scrolled, CSize client)
{
    Collector collector(scrolled, client);
    for (const OverlayShape& shape : shapes)
        collector.Add(shape);
    return collector.Take();
}

std::vector<CRect> CoverOf(const std::vector<OverlayPart>& parts)
{
    std::vector<CRect> cover;
    for (const OverlayPart& part : parts) {
        if (!cover.empty()) {
            const CRect& last = cover.back();
            const CRect both{std::min(last.left, part.rect.left), std::min(last.top, part.rect.top),
                             std::max(last.right, part.rect.right), std::max(last.bottom, part.rect.bottom)};
            if (both.Width() <= kBoxSide && both.Height() <= kBoxSide) {
                cover.back() = both;
                continue;
            }
        }
        cover.push_back(part.rect);
    }
    return cover;
}

OverlayOnPixels::OverlayOnPixels(const PixelBuffer& buffer, std::vector<OverlayPart> parts)
    : m_buffer(buffer), m_parts(buffer.pixels ? std::move(parts) : std::vector<OverlayPart>{})
{
    for (const auto& [rect, color] : m_parts)
        for (int y = rect.top; y < rect.bottom; ++y) {
            uint32_t* const row = m_buffer.Row(y);
            m_covered.insert(m_covered.end(), row + rect.left, row + rect.right);
            std::fill(row + rect.left, row + rect.right, color);
        }
}

// Restores the last part first, because a part may cover an earlier one.
OverlayOnPixels::~OverlayOnPixels()
{
    auto at = m_covered.end();
    for (auto part = m_parts.rbegin(); part != m_parts.rend(); ++part)
        for (int y = part->rect.bottom - 1; y >= part->rect.top; --y) {
            at -= part->rect.Width();
            std::copy_n(at, part->rect.Width(), m_buffer.Row(y) + part->rect.left);
        }
}
