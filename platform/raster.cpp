// SPDX-License-Identifier: MIT
// Copies bitmaps to pixels in memory. When decoded rows are painted again, almost all of the time is spent on
// expanding 1 bit to 32. So this step has a variant with vector instructions. The plain variant is as fast
// only if the target is in the cache.
#include "platform/raster.h"

#include <algorithm>
#include <cstring>
#include <vector>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace
{
// Writes the pixels from first_bit on, at most to the end of the first byte. Returns the number of pixels
// written.
int ExpandHead(uint32_t* target, uint8_t source, int first_bit, int width, COLORREF zero, COLORREF one)
{
    const int count = std::min(width, 8 - first_bit);
    for (int i = 0; i < count; ++i)
        target[i] = source << (first_bit + i) & 0x80 ? one : zero;
    return count;
}

struct ByteTable {
    uint32_t pixels[256][8];
    COLORREF zero;
    COLORREF one;
};

// Returns the table for two colours. The table is built again only if the colours differ from the last call.
// On a screen this happens when a page of the other polarity is shown.
const ByteTable& TableFor(COLORREF zero, COLORREF one)
{
    static ByteTable table{};
    static bool made = false;
    if (!made || table.zero != zero || table.one != one) {
        for (unsigned value = 0; value < 256; ++value)
            ExpandHead(table.pixels[value], static_cast<uint8_t>(value), 0, 8, zero, one);
        table.zero = zero;
        table.one = one;
        made = true;
    }
    return table;
}

void ExpandRowPlain(uint32_t* target, const uint8_t* source, int width, const ByteTable& table)
{
    for (; width >= 8; width -= 8, target += 8)
        std::memcpy(target, table.pixels[*source++], sizeof table.pixels[0]);
    if (width > 0)
        std::memcpy(target, table.pixels[*source], static_cast<size_t>(width) * sizeof *target);
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) void ExpandRowAvx2(uint32_t* target, const uint8_t* source, int width,
                                                   COLORREF zero, COLORREF one)
{
    const __m256i bits = _mm256_setr_epi32(0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01);
    const __m256i base = _mm256_set1_epi32(static_cast<int>(zero));
    const __m256i difference = _mm256_set1_epi32(static_cast<int>(zero ^ one));
    const auto expand = [&](uint8_t byte) __attribute__((target("avx2")))
    {
        const __m256i chosen = _mm256_and_si256(_mm256_set1_epi32(byte), bits);
        const __m256i mask = _mm256_cmpeq_epi32(chosen, bits); // all bits 1 if the pixel's bit is 1
        return _mm256_xor_si256(base, _mm256_and_si256(mask, difference));
    };
    for (; width >= 32; width -= 32, target += 32, source += 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), expand(source[0]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + 8), expand(source[1]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + 16), expand(source[2]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + 24), expand(source[3]));
    }
    for (; width >= 8; width -= 8, target += 8)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), expand(*source++));
    if (width > 0) {
        alignas(32) uint32_t last[8];
        _mm256_store_si256(reinterpret_cast<__m256i*>(last), expand(*source));
        std::memcpy(target, last, static_cast<size_t>(width) * sizeof *target);
    }
}

const bool kHaveAvx2 = __builtin_cpu_supports("avx2");
#else
constexpr bool kHaveAvx2 = false;
#endif
} // namespace

void ExpandBilevelPlain(uint32_t* target, ptrdiff_t target_pixels, const uint8_t* source,
                        ptrdiff_t source_bytes, int first_bit, int width, int height, COLORREF zero,
                        COLORREF one)
{
    const ByteTable& table = TableFor(zero, one);
    for (int y = 0; y < height; ++y, target += target_pixels, source += source_bytes) {
        const int head = first_bit > 0 ? ExpandHead(target, *source, first_bit, width, zero, one) : 0;
        if (width > head)
            ExpandRowPlain(target + head, source + (head > 0 ? 1 : 0), width - head, table);
    }
}

void ExpandBilevel(uint32_t* target, ptrdiff_t target_pixels, const uint8_t* source, ptrdiff_t source_bytes,
                   int first_bit, int width, int height, COLORREF zero, COLORREF one)
{
#if defined(__x86_64__)
    if (kHaveAvx2) {
        for (int y = 0; y < height; ++y, target += target_pixels, source += source_bytes) {
            const int head = first_bit > 0 ? ExpandHead(target, *source, first_bit, width, zero, one) : 0;
            if (width > head)
                ExpandRowAvx2(target + head, source + (head > 0 ? 1 : 0), width - head, zero, one);
        }
        return;
    }
#endif
    ExpandBilevelPlain(target, target_pixels, source, source_bytes, first_bit, width, height, zero, one);
}

namespace
{
CRect ClippedRect(const PixelBuffer& buffer, const CRect& clip, const CRect& dest)
{
    return {std::max({0, clip.left, dest.left}), std::max({0, clip.top, dest.top}),
            std::min({buffer.width, clip.right, dest.right}),
            std::min({buffer.height, clip.bottom, dest.bottom})};
}
} // namespace

void BlitBilevel(const PixelBuffer& buffer, const CRect& clip, const CRect& dest, const CBitmap& bitmap,
                 int source_x, int source_y, COLORREF zero, COLORREF one)
{
    const CRect cut = ClippedRect(buffer, clip, dest);
    if (cut.IsEmpty())
        return;
    const ptrdiff_t x = ptrdiff_t{source_x} + cut.left - dest.left;
    const ptrdiff_t y = ptrdiff_t{source_y} + cut.top - dest.top;
    ExpandBilevel(buffer.Row(cut.top) + cut.left, buffer.row_pixels,
                  bitmap.Rows() + y * bitmap.RowBytes() + x / 8, bitmap.RowBytes(), static_cast<int>(x % 8),
                  cut.Width(), cut.Height(), zero, one);
}

void BlitIndexed(const PixelBuffer& buffer, const CRect& clip, const CRect& dest, const BitmapInfo& info,
                 const uint8_t* bits, const CRect& source, const COLORREF* colors)
{
    const CRect cut = ClippedRect(buffer, clip, dest);
    if (cut.IsEmpty())
        return;
    // The middle of each target pixel selects its source pixel. If the sizes are equal, this is one to one.
    const auto pick = [](int64_t at, int64_t dest_size, int64_t source_size) {
        return dest_size == source_size ? at : (2 * at + 1) * source_size / (2 * dest_size);
    };
    std::vector<int> columns(static_cast<size_t>(cut.Width()));
    for (int x = cut.left; x < cut.right; ++x)
        columns[static_cast<size_t>(x - cut.left)] =
            source.left + static_cast<int>(pick(int64_t{x} - dest.left, dest.Width(), source.Width()));
    for (int y = cut.top; y < cut.bottom; ++y) {
        const int64_t line = source.top + pick(int64_t{y} - dest.top, dest.Height(), source.Height());
        const uint8_t* from = info.Line(bits, static_cast<int>(line));
        uint32_t* to = buffer.Row(y) + cut.left;
        for (const int column : columns)
            *to++ = colors[from[column]];
    }
}

namespace
{
class PixelTarget final : public DeviceTarget
{
public:
    explicit PixelTarget(PixelBuffer* pixels) : m_pixels(pixels) {}

    RegionKind GetClipBox(CRect* box) const override
    {
        *box = Whole();
        return box->IsEmpty() ? NULLREGION : SIMPLEREGION;
    }
    int GetDeviceCaps(int index) const override
    {
        return index == HORZRES ? m_pixels->width : index == VERTRES ? m_pixels->height : 0;
    }
    bool DrawBilevel(const CRect& dest, const CBitmap& bitmap, int source_x, int source_y, COLORREF zero,
                     COLORREF one) override
    {
        BlitBilevel(*m_pixels, Whole(), dest, bitmap, source_x, source_y, zero, one);
        return true;
    }
    bool DrawIndexed(const CRect& dest, const BitmapInfo& info, const uint8_t* bits, const CRect& source,
                     const COLORREF* colors) override
    {
        BlitIndexed(*m_pixels, Whole(), dest, info, bits, source, colors);
        return true;
    }

private:
    CRect Whole() const { return {0, 0, m_pixels->width, m_pixels->height}; }
    PixelBuffer* m_pixels;
};
} // namespace

std::unique_ptr<DeviceTarget> MakePixelTarget(PixelBuffer* pixels)
{
    return std::make_unique<PixelTarget>(pixels);
}
