// SPDX-License-Identifier: MIT
// Shared by the scale engine and its row loops.
#pragma once

#include "kesterlib/scale.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

// The row loops of one instruction set, chosen when an engine is made.
struct scale_loops {
    void (*add_row)(scale_engine* engine, const uint8_t* row);
    // Converts the counts to greys in `bytes`, and prepares for the next band.
    void (*finish_band)(scale_engine* engine);
    // Writes the number of 1 bits of each byte column to counts[0] to counts[bytes - 1]. height is 1 to
    // kMostCounted.
    void (*count_bytes)(uint8_t* counts, const uint8_t* rows, ptrdiff_t stride, int32_t height, size_t bytes);
};

namespace kesterlib
{
extern const scale_loops scale_loops_plain;
#if defined(__x86_64__)
extern const scale_loops scale_loops_avx2;
#endif
const scale_loops* fastest_scale_loops();

constexpr int kGreySteps = 257; // for steps of 0 to 256
// The number of 1 bits of each byte.
inline constexpr std::array<uint8_t, 256> count_table = [] {
    std::array<uint8_t, 256> table{};
    for (uint32_t byte = 0; byte < 256; ++byte)
        table[byte] = static_cast<uint8_t>(__builtin_popcount(byte));
    return table;
}();
// The greys of the steps: one of two constant tables. init_countones selects it, for all engines.
extern std::atomic<const uint8_t*> grey_table;

constexpr int32_t kLargestScale = 248; // a full cell of 61 504 fits in 16 bits, one of scale 256 does not
constexpr int32_t kMostCounted = 31;   // rows: 31 x 8 bits make 248, and 32 x 8 do not fit in a byte

// Zero bytes after the counts of a row's cells: the loops read up to three cells of 8 bytes more, or the
// last cell in steps of 8 bytes.
constexpr size_t kCountsSlack = 3 * 8 + 8;
} // namespace kesterlib
