// Shapes that show over a view's picture, and the pixels that they cover.
#pragma once

#include "platform/raster.h"
#include "platform/types.h"

#include <cstdint>
#include <vector>

// In pixels of the picture: a client pixel plus the scroll position. So a shape moves with the picture. Each
// consists of a black and a white line side by side, so that it shows on black, white and grey.
struct OverlayShape {
    enum class Kind : uint8_t {
        frame, // from the pixel `from` to before the pixel `to`: black, and white inside of that
        line   // both ends included: black, and white to the right of it or below
    };
    Kind kind;
    CPoint from;
    CPoint to;
    friend bool operator==(const OverlayShape&, const OverlayShape&) = default;
};

struct OverlayPart {
    CRect rect;
    COLORREF color;
    friend bool operator==(const OverlayPart&, const OverlayPart&) = default;
};

// The rectangles that make up the shapes in a client area of that size, in the order in which they are drawn.
// Coordinates may be any; the time depends on the client area alone.
std::vector<OverlayPart> OverlayParts(const std::vector<OverlayShape>& shapes, CPoint scrolled, CSize client);

// A few rectangles that cover the parts: little more than a long straight edge, boxes along a slanting line.
std::vector<CRect> CoverOf(const std::vector<OverlayPart>& parts);

// While it lives, the parts are in the buffer. Then the buffer is as it was.
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
    std::vector<uint32_t> m_covered; // their pixels before, one part after the other
};
