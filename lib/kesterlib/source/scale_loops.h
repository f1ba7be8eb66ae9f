// What the scale engine and its row loops share.
#pragma once

#include "kesterlib/scale.h"

#include <cstddef>
#include <cstdint>

// Compiled for one instruction set each; chosen when an engine is made.
struct scale_loops {
    void (*add_row)(scale_engine* engine, const uint8_t* row);
    void (*finish_band)(scale_engine* engine); // counts to greys in bytes, and ready for the next band
    // Of whole bytes in each row; 1 bits.
    int64_t (*count_bytes)(const uint8_t* rows, ptrdiff_t stride, int32_t height, size_t bytes);
};

namespace kesterlib
{
extern const scale_loops scale_loops_plain;
#if defined(__x86_64__)
extern const scale_loops scale_loops_avx2;
#endif
const scale_loops* fastest_scale_loops();

constexpr int kGreySteps = 257; // of a count scaled to 0 to 256
extern uint8_t count_table[256];
extern uint8_t grey_table[kGreySteps];

constexpr int32_t kLargestScale = 248; // a full cell of 61 504 fits in 16 bits, at 256 no more
constexpr int32_t kMostCounted = 31;   // rows: 8 bits each make 248, the next might not fit in a byte

// Zero bytes behind the counts of a row's cells: the loops look at up to three cells of 8 bytes more, or read
// the last cell in steps of 8 bytes.
constexpr size_t kCountsSlack = 3 * 8 + 8;
} // namespace kesterlib
