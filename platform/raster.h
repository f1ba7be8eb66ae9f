// SPDX-License-Identifier: MIT
// Pixels in memory, 32 bits each, and the functions that copy bitmaps to them. Receives bitmaps of 1 or 8
// bits per pixel, and their colours.
#pragma once

#include "platform/dc.h"
#include "platform/types.h"

#include <cstddef>
#include <memory>

struct PixelBuffer {
    uint32_t* pixels = nullptr; // borrowed
    ptrdiff_t row_pixels = 0;   // from one row to the next
    int width = 0;
    int height = 0;

    [[nodiscard]] uint32_t* Row(int y) const { return pixels + y * row_pixels; }
};

// Expands 1-bit pixels to 32-bit pixels: `height` rows of `width` pixels.
//
//   target, target_pixels  the first pixel, and pixels from one row to the next
//   source, source_bytes   the byte that holds the first pixel, and bytes from one row to the next
//   first_bit              the bit of the first pixel in that byte, 0 to 7, 0 for the top bit
//   zero, one              the colours of the two bit values
//
// No byte after the one with a row's last pixel is read.
void ExpandBilevel(uint32_t* target, ptrdiff_t target_pixels, const uint8_t* source, ptrdiff_t source_bytes,
                   int first_bit, int width, int height, COLORREF zero, COLORREF one);

// The same without vector instructions, for comparison.
void ExpandBilevelPlain(uint32_t* target, ptrdiff_t target_pixels, const uint8_t* source,
                        ptrdiff_t source_bytes, int first_bit, int width, int height, COLORREF zero,
                        COLORREF one);

// Draw into a buffer, clipped to `clip` and to the buffer. The other parameters are those of DeviceTarget.
void BlitBilevel(const PixelBuffer& buffer, const CRect& clip, const CRect& dest, const CBitmap& bitmap,
                 int source_x, int source_y, COLORREF zero, COLORREF one);
void BlitIndexed(const PixelBuffer& buffer, const CRect& clip, const CRect& dest, const BitmapInfo& info,
                 const uint8_t* bits, const CRect& source, const COLORREF* colors);

// Makes a target that draws on a buffer. `pixels` and its memory must outlive the target.
[[nodiscard]] std::unique_ptr<DeviceTarget> MakePixelTarget(PixelBuffer* pixels);
