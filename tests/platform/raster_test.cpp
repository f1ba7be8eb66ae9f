// SPDX-License-Identifier: MIT
// The blits. Each pixel is compared with a simple reference.
#include "platform/raster.h"

#include "platform/movingpixels.h"

#include <gtest/gtest.h>
#include <random>

namespace
{
constexpr uint32_t kGuard = 0x12345678;

using Expand = decltype(&ExpandBilevel);

// The source is a block of exactly its size, so that the sanitizer detects a read after its end. Guard pixels
// surround each row of the target.
void CheckExpand(Expand expand, int first_bit, int width, int height, COLORREF zero, COLORREF one,
                 std::mt19937& random)
{
    const int row_bytes = (first_bit + width + 7) / 8;
    const size_t gap = 3;
    const size_t pitch = static_cast<size_t>(width) + gap;
    std::unique_ptr<uint8_t[]> source{new uint8_t[static_cast<size_t>(row_bytes * height)]};
    for (int i = 0; i < row_bytes * height; ++i)
        source[static_cast<size_t>(i)] = static_cast<uint8_t>(random());
    std::vector<uint32_t> target(gap + pitch * static_cast<size_t>(height), kGuard);
    expand(target.data() + gap, static_cast<ptrdiff_t>(pitch), source.get(), row_bytes, first_bit, width,
           height, zero, one);
    std::vector<uint32_t> want(target.size(), kGuard);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int bit = first_bit + x;
            const bool set = source[static_cast<size_t>(y * row_bytes + bit / 8)] >> (7 - bit % 8) & 1;
            want[gap + static_cast<size_t>(y) * pitch + static_cast<size_t>(x)] = set ? one : zero;
        }
    ASSERT_EQ(target, want) << "first bit " << first_bit << ", width " << width;
}

TEST(ExpandBilevel, IsRightForEveryFirstBitAndWidthInBothVariants)
{
    std::mt19937 random{1};
    std::vector<int> widths{255, 256, 257, 1279, 1281, 3839, 9001};
    for (int width = 1; width <= 70; ++width)
        widths.push_back(width);
    for (const Expand expand : {&ExpandBilevel, &ExpandBilevelPlain})
        for (const auto& [zero, one] : {std::pair{kBlack, kWhite}, std::pair{kWhite, kBlack}})
            for (const int width : widths)
                for (int first_bit = 0; first_bit < 8; ++first_bit) {
                    CheckExpand(expand, first_bit, width, 3, zero, one, random);
                    if (HasFatalFailure())
                        return;
                }
}

// A buffer of 20 x 10 pixels inside a larger block of guard pixels.
struct Canvas {
    static constexpr int width = 20, height = 10, border = 4, pitch = width + 2 * border;
    std::vector<uint32_t> block = std::vector<uint32_t>(size_t{pitch} * (height + 2 * border), kGuard);
    PixelBuffer buffer{block.data() + border * pitch + border, pitch, width, height};
    uint32_t& At(int x, int y) { return block[static_cast<size_t>((y + border) * pitch + x + border)]; }
};

struct Blit {
    CRect clip, dest;
    int source_x, source_y;
};

constexpr CRect kAll{-1000, -1000, 1000, 1000};
constexpr Blit kBlits[] = {
    {kAll, {0, 0, 20, 10}, 0, 0},         {kAll, {-5, -3, 15, 9}, 7, 2},
    {kAll, {13, 6, 33, 16}, 3, 1},        {kAll, {-9, -9, 31, 19}, 1, 1},
    {{2, 3, 7, 8}, {0, 0, 20, 10}, 5, 5}, {{2, 3, 7, 8}, {4, -2, 12, 5}, 9, 0},
    {{5, 5, 5, 9}, {0, 0, 20, 10}, 0, 0}, {kAll, {20, 0, 25, 5}, 0, 0},
    {kAll, {-8, 0, 0, 5}, 0, 0},          {{-4, 9, 40, 40}, {-1, 9, 19, 10}, 17, 3},
};

TEST(BlitBilevel, IsClippedToClipAndBuffer)
{
    std::mt19937 random{2};
    std::vector<uint8_t> rows(9 * 40); // 70 x 40; longer rows would hide a read after their end
    for (uint8_t& byte : rows)
        byte = static_cast<uint8_t>(random());
    CBitmap bitmap;
    ASSERT_TRUE(bitmap.CreateBitmap(70, 40, rows.data(), 9));
    for (const Blit& c : kBlits) {
        Canvas canvas, want;
        BlitBilevel(canvas.buffer, c.clip, c.dest, bitmap, c.source_x, c.source_y, kBlack, kWhite);
        for (int y = std::max({0, c.clip.top, c.dest.top}); y < std::min({10, c.clip.bottom, c.dest.bottom});
             ++y)
            for (int x = std::max({0, c.clip.left, c.dest.left});
                 x < std::min({20, c.clip.right, c.dest.right}); ++x) {
                const int page_x = c.source_x + x - c.dest.left;
                const int page_y = c.source_y + y - c.dest.top;
                const bool set = rows[static_cast<size_t>(page_y * 9 + page_x / 8)] >> (7 - page_x % 8) & 1;
                want.At(x, y) = set ? kWhite : kBlack;
            }
        EXPECT_EQ(canvas.block, want.block) << c.dest.left << "," << c.dest.top;
    }
}

TEST(BlitIndexed, DrawsBottomUpRowsOneToOneAndStretched)
{
    BitmapInfo info;
    info.width = 64;
    info.height = 48;
    std::vector<uint8_t> bits(64 * 48);
    std::mt19937 random{3};
    for (uint8_t& byte : bits)
        byte = static_cast<uint8_t>(random());
    std::array<COLORREF, 256> colors;
    for (size_t i = 0; i < colors.size(); ++i)
        colors[i] = Grey(static_cast<unsigned>(255 - i));
    const CSize sources[] = {{0, 0}, {1, 1}, {30, 20}, {7, 3}}; // {0, 0}: as large as the target
    for (const CSize& size : sources)
        for (const Blit& c : kBlits) {
            const int source_width = size.cx ? size.cx : c.dest.Width();
            const int source_height = size.cy ? size.cy : c.dest.Height();
            const CRect source{c.source_x, c.source_y, c.source_x + source_width, c.source_y + source_height};
            Canvas canvas, want;
            BlitIndexed(canvas.buffer, c.clip, c.dest, info, bits.data(), source, colors.data());
            for (int y = std::max({0, c.clip.top, c.dest.top});
                 y < std::min({10, c.clip.bottom, c.dest.bottom}); ++y)
                for (int x = std::max({0, c.clip.left, c.dest.left});
                     x < std::min({20, c.clip.right, c.dest.right}); ++x) {
                    // Takes the source pixel at the middle of the target pixel.
                    const int from_x = source.left + static_cast<int>((x - c.dest.left + 0.5) * source_width /
                                                                      c.dest.Width());
                    const int from_y = source.top + static_cast<int>((y - c.dest.top + 0.5) * source_height /
                                                                     c.dest.Height());
                    want.At(x, y) = colors[bits[static_cast<size_t>((47 - from_y) * 64 + from_x)]];
                }
            EXPECT_EQ(canvas.block, want.block)
                << c.dest.left << "," << c.dest.top << " from " << source_width;
        }
}

TEST(DeviceContext, ClipsToTheBitmapAndRefusesRectanglesOutside)
{
    const uint8_t rows[2] = {0xa5, 0x5a};
    CBitmap bitmap;
    EXPECT_FALSE(bitmap.CreateBitmap(9, 2, rows, 1));
    EXPECT_FALSE(bitmap.CreateBitmap(8, 0, rows, 1));
    ASSERT_TRUE(bitmap.CreateBitmap(6, 2, rows, 1));
    Canvas canvas, want;
    CDC dc, memory;
    dc.CreateOnPixels(&canvas.buffer);
    memory.SelectObject(&bitmap);
    dc.SetViewportOrg(-100, -200);
    EXPECT_TRUE(
        dc.BitBlt(103, 204, 99, 99, memory, 1, 1, NOTSRCCOPY)); // pixels 1 to 5 of row 1: 0x5a inverted
    const bool black[5] = {true, false, true, true, false};
    for (int i = 0; i < 5; ++i)
        want.At(3 + i, 4) = black[i] ? kBlack : kWhite;
    EXPECT_EQ(canvas.block, want.block);
    // Source rectangles count from the lower left corner.
    BitmapInfo info;
    info.width = 4;
    info.height = 3;
    for (size_t i = 0; i < 256; ++i)
        info.colors[i] = {static_cast<uint8_t>(i), 0x11, 0x22, 0};
    const uint8_t bits[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    EXPECT_EQ(dc.SetDIBitsToDevice(100, 200, 2, 2, 1, 0, bits, info), 2);
    EXPECT_EQ(canvas.At(0, 0), 0xff221105U);
    EXPECT_EQ(canvas.At(1, 1), 0xff221102U);
    EXPECT_EQ(dc.StretchDIBits(100, 200, 2, 2, 3, 2, 1, 1, bits, info, NOTSRCCOPY), 1);
    EXPECT_EQ(canvas.At(1, 1), 0xff22110bU ^ 0x00ffffffU);
    EXPECT_EQ(dc.SetDIBitsToDevice(100, 200, 4, 4, 0, 0, bits, info), 0);
    EXPECT_EQ(dc.SetDIBitsToDevice(100, 200, 4, 3, 1, 0, bits, info), 0);
}
TEST(MovingPixels, ARandomWalkKeepsThePixelsThatStayInView)
{
    std::mt19937 random{5};
    for (const CSize size : {CSize{1, 1}, CSize{1, 40}, CSize{40, 1}, CSize{37, 23}, CSize{64, 90}}) {
        SCOPED_TRACE(testing::Message() << size.cx << " x " << size.cy);
        MovingPixels picture{size.cx, size.cy};
        // The picture is a window on an endless page.
        CPoint origin;
        const auto pixel = [&](int x, int y) {
            return static_cast<uint32_t>((x + origin.x) * 7919 + (y + origin.y) * 104729);
        };
        const auto draw = [&](const CRect& rect) {
            const PixelBuffer pixels = picture.Pixels();
            for (int y = rect.top; y < rect.bottom; ++y)
                for (int x = rect.left; x < rect.right; ++x)
                    pixels.Row(y)[x] = pixel(x, y);
        };
        const CRect whole{0, 0, size.cx, size.cy};
        draw(whole);
        CSize direction;
        for (int step = 0; step < 2000; ++step) {
            if (step % 50 == 0) // the direction changes after many steps
                direction = {static_cast<int>(random() % 3) - 1, static_cast<int>(random() % 3) - 1};
            const bool is_single = step % 100 < 40;
            const auto length = [&](int side) {
                return is_single ? std::min(1, side - 1)
                                 : static_cast<int>(random() % static_cast<unsigned>(side));
            };
            const CSize move{direction.cx * length(size.cx), direction.cy * length(size.cy)};
            picture.Move(move.cx, move.cy);
            origin = {origin.x - move.cx, origin.y - move.cy};
            const CRect kept{std::max(0, move.cx), std::max(0, move.cy), size.cx + std::min(0, move.cx),
                             size.cy + std::min(0, move.cy)};
            const PixelBuffer pixels = picture.Pixels();
            for (int y = kept.top; y < kept.bottom; ++y)
                for (int x = kept.left; x < kept.right; ++x)
                    ASSERT_EQ(pixels.Row(y)[x], pixel(x, y)) << x << "," << y << " at step " << step;
            draw({0, 0, size.cx, kept.top});
            draw({0, kept.bottom, size.cx, size.cy});
            draw({0, 0, kept.left, size.cy});
            draw({kept.right, 0, size.cx, size.cy});
        }
    }
    EXPECT_EQ(MovingPixels(0, 5).Pixels().pixels, nullptr);
}
} // namespace
