// SPDX-License-Identifier: MIT
// Rows that are equal to the row above, at least at their start. In both codes a transition at the same
// place as above is a single 1 bit.
#pragma once

#include "bit_window.h"
#include "codetable.h"
#include "paint_list.h"
#include "run_frame.h"
#include "trace.h"

#include <cstdint>

namespace kesterlib
{
namespace
{
// Counts and takes the 1 bits at the start of the frame's window, which are vertical codes of offset 0.
// Takes at most `wanted`, and stops near the end of the buffer. Returns their number. Returns 0, and takes
// none, if so few follow that the normal loop is as fast.
inline int32_t take_ones(UNCOMP* base, int32_t wanted)
{
    if constexpr (kTracesCodes)
        return 0;
    constexpr int32_t kInWindow = 16;
    if (wanted <= kInWindow) {
        if (base->bits_hi >> (kInWindow - wanted) != (1 << wanted) - 1)
            return 0;
        uncomp_take(base, wanted);
        return wanted;
    }
    if (base->bits_hi != 0xFFFF || base->in_ptr - base->buf_start < 3)
        return 0;
    const uint8_t* byte = base->in_ptr - ((base->bitsloaded + 7) >> 3);
    auto used = static_cast<uint32_t>(-base->bitsloaded) & 7;
    int32_t ones = 0;
    while (base->in_end - byte >= kSlack) {
        const uint64_t others = ~(load_be64(byte) << used);
        const int32_t here = others ? leading_zeros(others) : 64;
        const auto there = static_cast<int32_t>(64 - used);
        if (here >= there && wanted - ones > there) {
            ones += there;
            byte += 8;
            used = 0;
            continue;
        }
        const int32_t taken = here < wanted - ones ? here : wanted - ones;
        ones += taken;
        byte += (used + static_cast<uint32_t>(taken)) >> 3;
        used = (used + static_cast<uint32_t>(taken)) & 7;
        break;
    }
    give_back(base, byte, used);
    return ones;
}

// Paints the row above once more. ref_list already describes the new row, so the lists do not swap.
inline void same_row(Frame* frame, uint8_t* row, int32_t nbytes, int32_t row_length)
{
    UNCOMP& base = frame->base;
    const int32_t transitions = frame->ref_transitions;
    paint_list(frame, row, base.ref_list, base.ref_end, transitions, list_order(base.ref_list, transitions),
               nbytes);
    // The row ended with a code for the row length, so its list has one copy more than other lists.
    if (frame->ref_count != 1 + transitions + 5 || base.ref_list[2 + transitions] != row_length) {
        base.ref_list[1 + transitions] = row_length;
        int32_t ignored = 0;
        frame->ref_count = uncomp_close_list(base.ref_list, base.ref_end, 1 + transitions + 1, row_length,
                                             Overshoot::Dropped, &ignored);
    }
}
} // namespace
} // namespace kesterlib
