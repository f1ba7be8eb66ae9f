// SPDX-License-Identifier: MIT
// Converts a packed row to a list of transitions, 64 pixels at a time. A transition is a pixel that differs
// from the one before it. So a word XORed with itself, shifted by one pixel, has a 1 bit at each
// transition.
#include "bits.h"
#include "run_frame.h"

#include <cstring>

namespace kesterlib
{
int32_t getruns(callback_block* cb, const uint8_t* row, int32_t width, int32_t* runs, const int32_t* endruns)
{
    constexpr int32_t kSentinels = 3;
    const int32_t row_bytes = width / 8 + (width % 8 != 0);
    int32_t* out = runs;
    *out++ = 0;
    uint64_t last_pixel = 0;
    bool fits = true;
    for (int32_t byte = 0; byte < row_bytes; byte += 8) {
        uint64_t word = 0;
        if (row_bytes - byte >= 8) {
            word = load_be64(row + byte);
        } else {
            uint8_t tail[8] = {};
            memcpy(tail, row + byte, static_cast<size_t>(row_bytes - byte));
            word = load_be64(tail);
        }
        uint64_t changes = word ^ (word >> 1 | last_pixel << 63);
        last_pixel = word & 1;
        const int32_t position = byte * 8;
        if (width - position < 64)
            changes &= ~(~uint64_t{0} >> (width - position)); // bits after the width are no pixels
        if (count_ones(changes) + kSentinels > endruns - out) {
            fits = false;
            break;
        }
        while (changes) {
            const int32_t pixel = leading_zeros(changes);
            *out++ = position + pixel;
            changes &= ~(uint64_t{1} << 63 >> pixel);
        }
    }
    const int32_t count = static_cast<int32_t>(out - runs);
    for (int32_t i = 0; i < kSentinels && out < endruns; ++i)
        *out++ = width;
    if (!fits)
        callback_assertion_failed(cb, "rout<endruns", "number of runs must not overrun buffer allocated",
                                  "getruns", __LINE__);
    return count;
}
} // namespace kesterlib
