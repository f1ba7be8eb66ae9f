// Pixels in memory, 32 bits each, and the two blits that fill them.
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

    uint32_t* Row(int y) const { return pixels + y * row_pixels; }
};

// Widens width pixels of height rows of 1 bit to 32. source points at the byte that holds the first pixel,
// which is bit first_bit (0: the top one) of it; source rows are source_bytes apart and no byte behind the
// one that holds a row's last pixel is read. target rows are target_pixels apart.
void ExpandBilevel(uint32_t* target, ptrdiff_t target_pixels, const uint8_t* source, ptrdiff_t source_bytes,
                   int first_bit, int width, int height, COLORREF zero, COLORREF one);

// The same without vector instructions, for comparison.
void ExpandBilevelPlain(uint32_t* target, ptrdiff_t target_pixels, const uint8_t* source,
                        ptrdiff_t source_bytes, int first_bit, int width, int height, COLORREF zero,
                        COLORREF one);

// Blits to a buffer, cut to clip and to the buffer. Parameters as in DeviceTarget.
void BlitBilevel(const PixelBuffer& buffer, const CRect& clip, const CRect& dest, const CBitmap& bitmap,
                 int source_x, int source_y, COLORREF zero, COLORREF one);
void BlitIndexed(const PixelBuffer& buffer, const CRect& clip, const CRect& dest, const BitmapInfo& info,
                 const uint8_t* bits, const CRect& source, const COLORREF* colors);

// A target over a buffer; both must outlive the context.
std::unique_ptr<DeviceTarget> MakePixelTarget(PixelBuffer* pixels);
