// SPDX-License-Identifier: MIT
// Draws shapes over a picture and compares the pixels with a simple reference.
#include "platform/overlay.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace
{
using enum OverlayShape::Kind;
constexpr CSize kClient{60, 50};

// Returns the colour that the shape gives the pixel, 0 if the shape does not cover it, or 1 if any colour is
// accepted.
COLORREF WantedAt(const OverlayShape& shape, int64_t x, int64_t y)
{
    if (shape.kind == frame) {
        const int64_t inside = std::min(
            {x - shape.from.x, int64_t{shape.to.x} - 1 - x, y - shape.from.y, int64_t{shape.to.y} - 1 - y});
        return inside == 0 ? kBlack : inside == 1 ? kWhite : 0;
    }
    const int64_t dx = int64_t{shape.to.x} - shape.from.x;
    const int64_t dy = int64_t{shape.to.y} - shape.from.y;
    // The line has one black pixel for each step in its longer direction. `along` and `length` count these
    // steps. `off` and `slant` count pixels in the other direction.
    const bool across = std::abs(dx) >= std::abs(dy);
    const int64_t along = across ? x - shape.from.x : y - shape.from.y;
    const int64_t off = across ? y - shape.from.y : x - shape.from.x;
    const int64_t length = across ? dx : dy;
    const int64_t slant = across ? dy : dx;
    if (length < 0 ? along > 0 || along < length : along < 0 || along > length)
        return 0;
    // A pixel is black if it is at most half a pixel from the line. The pixel below it is white, or the pixel
    // to the right of it if the line is steep. If the line is exactly between two pixels, either of them may
    // be black.
    const long double from_line = length == 0
                                      ? static_cast<long double>(off)
                                      : static_cast<long double>(off) - static_cast<long double>(along) *
                                                                            static_cast<long double>(slant) /
                                                                            static_cast<long double>(length);
    if (std::abs(std::abs(from_line) - 0.5L) < 1e-9L)
        return 1; // any colour is accepted
    if (std::abs(from_line) < 0.5L)
        return kBlack;
    if (std::abs(std::abs(from_line - 1) - 0.5L) < 1e-9L)
        return 1;
    return std::abs(from_line - 1) < 0.5L ? kWhite : 0;
}

TEST(Overlay, ShapesCoverTheRightPixelsAndLeaveNoTrace)
{
    constexpr int kLeast = INT32_MIN;
    constexpr int kMost = INT32_MAX;
    const struct {
        OverlayShape shape;
        CPoint scrolled;
    } cases[] = {
        {{frame, {5, 7}, {20, 30}}, {0, 0}},
        {{frame, {105, 207}, {120, 230}}, {100, 200}},
        {{frame, {5, 7}, {8, 10}}, {0, 0}},
        {{frame, {5, 7}, {6, 8}}, {0, 0}},
        {{frame, {5, 7}, {7, 30}}, {0, 0}},
        {{frame, {5, 7}, {5, 30}}, {0, 0}}, // covers nothing
        {{frame, {20, 30}, {5, 7}}, {0, 0}},
        {{frame, {-3, -1}, {61, 50}}, {0, 0}},
        {{frame, {0, 0}, {kMost, kMost}}, {kMost - 60, kMost - 50}},
        {{frame, {kLeast, kLeast}, {kMost, 20}}, {0, 0}},
        {{frame, {kMost - 9, 3}, {kMost, 20}}, {kMost - 60, 0}},
        {{line, {5, 7}, {5, 7}}, {0, 0}},
        {{line, {5, 7}, {40, 7}}, {0, 0}},
        {{line, {5, 40}, {5, 7}}, {0, 0}},
        {{line, {5, 7}, {45, 20}}, {0, 0}},
        {{line, {45, 20}, {5, 31}}, {0, 0}},
        {{line, {5, 7}, {15, 48}}, {0, 0}},
        {{line, {25, 47}, {5, 8}}, {0, 0}},
        {{line, {5, 5}, {35, 35}}, {0, 0}},
        {{line, {-1000, -900}, {1103, 1000}}, {0, 0}},
        {{line, {kLeast, kLeast}, {kMost, kMost}}, {0, 0}},
        {{line, {kMost, kLeast}, {kLeast, kMost}}, {0, 0}},
        {{line, {0, 0}, {kMost, kMost - 7}}, {kMost - 60, kMost - 50}},
        {{line, {kMost, 9}, {0, 8}}, {kMost / 2 - 30, 0}},
    };
    for (const auto& [shape, scrolled] : cases) {
        SCOPED_TRACE(testing::Message() << (shape.kind == frame ? "frame " : "line ") << shape.from.x << ","
                                        << shape.from.y << " to " << shape.to.x << "," << shape.to.y);
        std::vector<uint32_t> pixels(size_t{kClient.cx} * kClient.cy);
        for (size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<uint32_t>(i);
        const std::vector<uint32_t> before = pixels;
        const std::vector<OverlayPart> parts = OverlayParts({shape}, scrolled, kClient);
        {
            const OverlayOnPixels on({pixels.data(), kClient.cx, kClient.cx, kClient.cy}, parts);
            for (int y = 0; y < kClient.cy; ++y)
                for (int x = 0; x < kClient.cx; ++x) {
                    const auto i = static_cast<size_t>(y * kClient.cx + x);
                    const COLORREF want = WantedAt(shape, int64_t{scrolled.x} + x, int64_t{scrolled.y} + y);
                    if (want != 1) {
                        ASSERT_EQ(pixels[i], want ? want : before[i]) << x << "," << y;
                    }
                }
        }
        EXPECT_EQ(pixels, before);
    }
}

TEST(Overlay, ManyShapesAreCoveredTightlyAndLeaveNoTrace)
{
    std::mt19937 random{1};
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int round = 0; round < 300; ++round) {
        std::vector<OverlayShape> shapes;
        for (int i = below(6); i >= 0; --i)
            shapes.push_back({below(2) ? frame : line,
                              {below(90) - 15, below(80) - 15},
                              {below(90) - 15, below(80) - 15}});
        const CPoint scrolled{below(30) - 15, below(30) - 15};
        const std::vector<OverlayPart> parts = OverlayParts(shapes, scrolled, kClient);
        // The picture has the value 7. A covered pixel that a shape has changed becomes 8. Both colours of
        // the shapes are greater.
        std::vector<uint32_t> pixels(size_t{kClient.cx} * kClient.cy, 7);
        {
            const OverlayOnPixels on({pixels.data(), kClient.cx, kClient.cx, kClient.cy}, parts);
            for (const CRect& rect : CoverOf(parts)) {
                ASSERT_GE(std::min(rect.left, rect.top), 0);
                ASSERT_LE(rect.right, kClient.cx);
                ASSERT_LE(rect.bottom, kClient.cy);
                ASSERT_TRUE(std::min(rect.Width(), rect.Height()) <= 16)
                    << "a rectangle must not enclose a whole shape";
                for (int y = rect.top; y < rect.bottom; ++y)
                    for (int x = rect.left; x < rect.right; ++x)
                        if (uint32_t& pixel = pixels[static_cast<size_t>(y * kClient.cx + x)]; pixel > 7)
                            pixel = 8; // mark as covered
            }
            EXPECT_EQ(std::count_if(pixels.begin(), pixels.end(), [](uint32_t pixel) { return pixel > 8; }),
                      0);
        }
        EXPECT_EQ(pixels, std::vector<uint32_t>(pixels.size(), 7));
    }
    EXPECT_EQ(OverlayParts({}, {0, 0}, kClient), std::vector<OverlayPart>{});
    EXPECT_EQ(OverlayParts({{frame, {0, 0}, {9, 9}}}, {0, 0}, {0, 0}), std::vector<OverlayPart>{});
    const OverlayOnPixels nothing({}, {{{0, 0, 5, 5}, kBlack}}); // a view has no buffer if memory is short
}
} // namespace
