// SPDX-License-Identifier: MIT
// The row loop of the JBIG decoder. Compiled once for every machine and once for AVX2; KESTERLIB_JBIG_ROWS
// is the name of the function.
//
// A pixel that is the more probable one and needs no renormalisation costs one subtraction and one
// comparison. Any other pixel is an event. After an event the loop continues with the next pixel, at any
// place in a byte, so that the code for events exists only once. If all pixels of the neighbourhood have
// one colour, and the state expects that colour, the loop decodes at once as many pixels as need no event.
#include "bits.h"
#include "qdecoder.h"
#include "qdecoder_table.h"
#include "trace.h"

#include <cstring>

#if defined(__BMI2__)
#include <immintrin.h>
#endif

namespace kesterlib
{
namespace
{
// Returns 64 pixels of a row from byte `at` on, which may be the left margin.
template <bool kNarrow>
inline uint64_t pixels_at(const uint8_t* row, int64_t at, const uint8_t* end)
{
    if constexpr (kNarrow) {
        if (end - (row + at) < 8) {
            uint8_t bytes[8] = {};
            memcpy(bytes, row + at, static_cast<size_t>(end - (row + at)));
            return load_be64(bytes);
        }
    }
    return load_be64(row + at);
}

// Returns the index of the first entry of `pairs` for the context of pixel x + k. `around` has pixels of
// row y-2 in the upper half and of row y-1 in the lower half, each from x-2 on.
inline uint64_t pair_index(uint64_t around, int k)
{
#if defined(__BMI2__)
    return _pext_u64(around, UINT64_C(0x7000000000000000) >> k | UINT64_C(0xF8000000) >> k | 1);
#else
    return (around >> (54 - k) & 0x1C0) | (around >> (26 - k) & 0x3E);
#endif
}

// Pixels from x on whose neighbourhood is in both halves of `around`.
constexpr int64_t kAroundPixels = 27;

inline uint64_t around_of(uint64_t above, uint64_t above2)
{
    // The lowest bit is not a pixel; it makes the index of a pair even.
    return (above2 & 0xFFFFFFFF00000000) | (above >> 32 & 0xFFFFFFFE);
}

// Returns the number of pixels from x on for which row y-1 from x-2 to x+2 and row y-2 from x-1 to x+1 have
// the colour, plus 4. `colour` is 0 or all ones. At most 57.
inline int32_t same_around(uint64_t above, uint64_t above2, uint64_t row_bits, uint64_t colour)
{
    const uint64_t other = (above ^ colour) | (above2 ^ colour) << 1 >> 2 | (row_bits ^ colour) << 62;
    return leading_zeros(other | 0x7F);
}

struct Pixel {
    uint64_t row_bits;    // decoded pixels of the row, the last one in the lowest bit
    uint32_t a;           // as QmCoder::a
    uint32_t word;        // word of the last decision
    uint32_t word_before; // word of the decision before that
    uint64_t pair;        // after an event: the entry of its context
};

// Returns at[1] if `word` is that of a pixel of 1, else at[0]. Does not use a branch: in a halftone
// the processor would mispredict it at every second pixel.
inline __attribute__((always_inline)) uint64_t pair_after(uint32_t word, const uint64_t* at)
{
#if defined(__x86_64__)
    uint64_t pair = at[0];
    __asm__("testb $%c1, %b2\n\tcmovnz %3, %0"
            : "+r"(pair)
            : "i"(1 << kStateShift), "q"(word), "m"(at[1])
            : "cc");
    return pair;
#else
    const uint64_t mask = uint64_t{0} - (word >> kStateShift & 1);
    return at[0] ^ ((at[0] ^ at[1]) & mask);
#endif
}

// Makes one decision. Returns false if it is an event, which the caller must then handle.
inline __attribute__((always_inline)) bool decide(Pixel& pixel, const uint64_t* pairs, uint64_t around, int k,
                                                  uint32_t threshold)
{
    const uint64_t* const at = pairs + pair_index(around, k);
    const uint64_t pair = pair_after(pixel.word_before, at);
    const auto word = static_cast<uint32_t>(pair >> (pixel.word & 63));
    pixel.a -= word & kQeMask;
    if (__builtin_expect(pixel.a <= threshold, 0)) {
        pixel.word = word;
        pixel.pair = pair;
        return false;
    }
    pixel.row_bits = pixel.row_bits << 1 | (word >> kStateShift & 1);
    pixel.word_before = pixel.word;
    pixel.word = word;
    return true;
}

// Writes the last pixels before x into the row: up to 8, and those of the byte that contains x.
inline void store_pixels(uint8_t* row, int64_t x, uint64_t row_bits)
{
    const auto two = static_cast<uint32_t>(row_bits << (8 - (x & 7)));
    row[(x >> 3) - 1] = static_cast<uint8_t>(two >> 8);
    row[x >> 3] = static_cast<uint8_t>(two);
}

// Writes pixels of one colour from x to `to`, not including `to`; more than 8.
inline void store_run(uint8_t* row, int64_t x, int64_t to, uint64_t row_bits, uint64_t colour)
{
    const int64_t first = x >> 3;
    const int64_t last = to >> 3;
    row[first] = static_cast<uint8_t>(row_bits << (8 - (x & 7)) | (colour & 0xFFu >> (x & 7)));
    const int64_t whole = last - first - 1;
    uint8_t* const from = row + first + 1;
    if (whole >= 64) {
        memset(from, static_cast<int>(colour & 0xFF), static_cast<size_t>(whole));
    } else if (whole >= 8) {
        for (int64_t i = 0; i < whole - 8; i += 8)
            memcpy(from + i, &colour, 8);
        memcpy(from + whole - 8, &colour, 8);
    } else {
        for (int64_t i = 0; i < whole; ++i)
            from[i] = static_cast<uint8_t>(colour);
    }
}

template <bool kNarrow>
inline void decode_row(Decoder* decoder, QmCoder* coder, uint8_t* row, uint32_t line, int64_t limit)
{
    constexpr int32_t kLeastRun = 6;
    constexpr int32_t kAllSame = 57;
    const jbig_data* const dat = &decoder->base;
    const auto stride = static_cast<int64_t>(dat->row_stride);
    const uint8_t* const row_above = row - stride;
    const uint8_t* const row_above2 = row_above - stride;
    const uint8_t* const buffer_end = dat->stripe_buffer_end;
    uint64_t* const pairs = decoder->pairs;

    uint64_t c = coder->c;
    int64_t bits = coder->bits;
    const auto threshold_of = [](uint64_t code) {
        const auto upper = static_cast<uint32_t>(code >> 32);
        return upper > 0x7FFFFFFF ? upper : 0x7FFFFFFF;
    };
    uint32_t threshold = threshold_of(c);
    Pixel pixel{0, coder->a, 0, 0, 0};
    for (int64_t x = 0; x < limit;) {
        const int64_t at = (x - 2) >> 3;
        uint64_t above = pixels_at<kNarrow>(row_above, at, buffer_end) << ((x - 2) & 7);
        uint64_t above2 = pixels_at<kNarrow>(row_above2, at, buffer_end) << ((x - 2) & 7);

        const uint64_t colour = 0 - (pixel.row_bits & 1);
        const int32_t same = same_around(above, above2, pixel.row_bits, colour);
        if (same >= kLeastRun + 4) {
            const auto word = static_cast<uint32_t>(colour ? pairs[511] >> 32 : pairs[0]);
            if ((word >> kStateShift & 1) == (colour & 1)) {
                int64_t run = same - 4;
                if (!kNarrow && same == kAllSame) {
                    int64_t byte = at + 7;
                    uint64_t other = 0;
                    for (; byte <= dat->row_bytes; byte += 8) {
                        other =
                            (load_be64(row_above + byte) ^ colour) | (load_be64(row_above2 + byte) ^ colour);
                        if (other != 0)
                            break;
                    }
                    run = byte * 8 + (other != 0 ? leading_zeros(other) : 0) - 2 - x;
                }
                if (run > limit - x)
                    run = limit - x;
                const uint32_t qe = word & kQeMask;
                const uint32_t room = pixel.a - threshold - 1; // 0 in `a` means 2^32
                if (static_cast<uint64_t>(run) * qe > room)
                    run = room / qe;
                if (run > 0) {
                    pixel.a -= static_cast<uint32_t>(run) * qe;
                    if (run > 8)
                        store_run(row, x, x + run, pixel.row_bits, colour);
                    pixel.row_bits =
                        run >= 16 ? colour : pixel.row_bits << run | (colour & ((1u << run) - 1));
                    x += run;
                    store_pixels(row, x, pixel.row_bits);
                    if (x >= limit)
                        break;
                    const int64_t now = (x - 2) >> 3;
                    above = pixels_at<kNarrow>(row_above, now, buffer_end) << ((x - 2) & 7);
                    above2 = pixels_at<kNarrow>(row_above2, now, buffer_end) << ((x - 2) & 7);
                }
            }
        }

        uint64_t around = around_of(above, above2);
        pixel.word = static_cast<uint32_t>(pixel.row_bits & 1) << kStateShift;
        pixel.word_before = static_cast<uint32_t>(pixel.row_bits >> 1 & 1) << kStateShift;
        const int64_t last_start = x + kAroundPixels - 8;
        for (;;) {
            int k = 0;
            if (x + 8 <= limit) {
                // clang-format off
                k = !decide(pixel, pairs, around, 0, threshold) ? 0
                  : !decide(pixel, pairs, around, 1, threshold) ? 1
                  : !decide(pixel, pairs, around, 2, threshold) ? 2
                  : !decide(pixel, pairs, around, 3, threshold) ? 3
                  : !decide(pixel, pairs, around, 4, threshold) ? 4
                  : !decide(pixel, pairs, around, 5, threshold) ? 5
                  : !decide(pixel, pairs, around, 6, threshold) ? 6
                  : !decide(pixel, pairs, around, 7, threshold) ? 7 : 8;
                // clang-format on
                if (k == 8) {
                    x += 8;
                    store_pixels(row, x, pixel.row_bits);
                    break;
                }
            } else {
                const auto left = static_cast<int>(limit - x);
                while (k < left && decide(pixel, pairs, around, k, threshold))
                    ++k;
                if (k == left) {
                    x = limit;
                    store_pixels(row, x, pixel.row_bits);
                    break;
                }
            }

            // The event. It uses masks, because the processor could not predict branches here.
            const uint32_t word = pixel.word;
            const uint32_t qe = word & kQeMask;
            const uint32_t upper = static_cast<uint32_t>(c >> 32) >= pixel.a;
            const uint32_t mask = 0 - upper;
            const uint32_t lps = (qe <= pixel.a) == upper;
            c -= uint64_t{pixel.a & mask} << 32;
            const uint32_t a = pixel.a ^ ((pixel.a ^ qe) & mask);
            const uint32_t next = kQmNext.word[lps][word >> kStateShift & 0xFF];
            const auto last_two = static_cast<uint32_t>(pixel.row_bits & 3);
            const uint64_t index = pair_index(around, k);
            pairs[index + (last_two >> 1)] = pixel.pair ^ uint64_t { word ^ next }
                                                              << ((last_two & 1) << kStateShift);
            dat->adaptor[index * 2 + last_two] = static_cast<uint8_t>(next >> kStateShift);
            const uint32_t decided = word ^ lps << kStateShift;
            pixel.row_bits = pixel.row_bits << 1 | (decided >> kStateShift & 1);
            pixel.word = decided;
            pixel.word_before = (last_two & 1) << kStateShift;
            const int32_t n = __builtin_clz(a);
            pixel.a = a << n;
            if (__builtin_expect(n > bits, 0)) {
                coder->c = c;
                coder->bits = bits;
                qm_shift_beyond(decoder, coder, n, static_cast<uint32_t>(x + k), line);
                c = coder->c;
                bits = coder->bits;
                // After an error the group of eight pixels is completed.
                const int64_t group_end = ((x + k) | 7) + 1;
                if (dat->error_count > 0 && limit > group_end)
                    limit = group_end;
            } else {
                c <<= n;
                bits -= n;
            }
            threshold = threshold_of(c);
            x += k + 1;
            store_pixels(row, x, pixel.row_bits);
            around <<= k + 1;
            if (x > last_start || x >= limit)
                break;
        }
    }
    coder->a = pixel.a;
    coder->c = c;
    coder->bits = bits;
}

template <bool kNarrow>
void decode_rows(Decoder* decoder, QmCoder* coder, uint32_t limit)
{
    jbig_data* const dat = &decoder->base;
    uint8_t* row = dat->first_row;
    uint64_t pixels = 0;
    for (uint32_t line = 0; line < dat->stripe_lines; ++line, row += dat->row_stride) {
        decode_row<kNarrow>(decoder, coder, row, line, limit);
        KESTERLIB_TRACE_LINE(2, dat->block, "JBIG stripe %u, row %u: A %x, C %x\n", dat->stripe_number, line,
                             static_cast<unsigned>(coder->a >> 16), static_cast<unsigned>(coder->c >> 48));
        limit = dat->width;
        pixels += dat->width;
        if (pixels >= kPixelsPerPoll) {
            pixels = 0;
            jbig_poll(dat, line);
        }
        if (dat->error_count > 0)
            break;
    }
}
} // namespace

void KESTERLIB_JBIG_ROWS(Decoder* decoder, QmCoder* coder, uint32_t limit)
{
    // In narrow rows a load of eight bytes would reach outside the stripe buffer.
    constexpr uint32_t kLeastRowBytes = 8;
    if (decoder->base.row_bytes < kLeastRowBytes)
        decode_rows<true>(decoder, coder, limit);
    else
        decode_rows<false>(decoder, coder, limit);
}
} // namespace kesterlib
