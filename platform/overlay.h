// SPDX-License-Identifier: MIT
// Shapes that are shown over a view's picture. Receives the shapes in pixels of the picture. Returns the
// rectangles that they cover in the window, and draws them into a buffer.
#pragma once

#include "platform/raster.h"
#include "platform/types.h"

#include <cstdint>
#include <vector>

// A shape, in pixels of the picture: a client pixel plus the scroll position. So a shape moves with the
// picture. It consists of a black and a white line side by side, so that it is visible on black, white and
// grey.
struct OverlayShape {
    enum class Kind : uint8_t {
        // The outline of a rectangle: a black line, and a white line inside of it. `to` is just outside.
        frame,
        // A black line that includes both ends, and a white line to the right of it or below it.
        line
    };
    Kind kind;
    CPoint from;
    CPoint to;
    friend bool operator==(const OverlayShape&, const OverlayShape&) = default;
};

// A rectangle of one colour, in client pixels.
struct OverlayPart {
    CRect rect;
    COLORREF color;
    friend bool operator==(const OverlayPart&, const OverlayPart&) = default;
};

// Returns the rectangles that make up the shapes in a client area of size `client`, in drawing order.
// `scrolled` is the scroll position. The shapes may have any coordinates. The time depends only on the client
// area.
[[nodiscard]] std::vector<OverlayPart> OverlayParts(const std::vector<OverlayShape>& shapes, CPoint scrolled,
                                                    CSize client);

// Returns a few rectangles that cover the parts closely: the part itself for a long straight edge, small
// boxes along a slanting line.
[[nodiscard]] std::vector<CRect> CoverOf(const std::vector<OverlayPart>& parts);

// Draws the parts into the buffer. The destructor restores the buffer's pixels.
class OverlayOnPixels
{
public:
    OverlayOnPixels(const PixelBuffer& buffer, std::vector<OverlayPart> parts);
    ~OverlayOnPixels();
    OverlayOnPixels(const OverlayOnPixels&) = delete;
    OverlayOnPixels& operator=(const OverlayOnPixels&) = delete;

private:
    const PixelBuffer m_buffer;
    const std::vector<OverlayPart> m_parts;
    std::vector<uint32_t> m_covered; // the covered pixels, one part after the other
};
