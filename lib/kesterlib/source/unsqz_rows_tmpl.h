// SPDX-License-Identifier: MIT
// The row loop of the Squeeze decoder. Included once for each instruction set, which defines
// KESTERLIB_UNSQZ_ROWS.
//
// The bits are in a 64-bit window in locals. A probe of the window yields up to eight vertical codes, which
// move a vector of entries of the list above, or an add code with both its runs.
//
// If a code is not entirely in the input buffer, or an entry is near the end of a list, unsqz_single_code
// decodes a single code from the frame's own window. Both variants have the same result at every code.
#include "bit_window.h"
#include "bits.h"
#include "lanes.h"
#include "paint_list.h"
#include "run_frame.h"
#include "same_row.h"
#include "trace.h"
#include "unsqz_codes.h"

#include <cstdint>
#include <cstring>

namespace kesterlib
{
namespace
{
// Reads an extension number. Returns -1 if it has more groups than the window certainly holds after a code.
inline int64_t extension(Window* window)
{
    int64_t number = 0;
    for (int group = 0; group < 11; ++group) {
        const uint64_t bits = window->bits >> 60;
        window->drop(4);
        number |= static_cast<int64_t>(bits >> 1) << (3 * group);
        if (bits & 1)
            return number;
    }
    return -1;
}

enum class Fast { RowDone, Failed, Slow };

// Decodes codes as long as they are entirely in the buffer and the lists have room. The frame's window is
// up to date before and after the call.
inline Fast fast_codes(Frame* frame, RowState* row)
{
    UNCOMP& base = frame->base;
    Reach reach;
    if (!reach.start(*frame))
        return Fast::Slow;
    Window window = reach.window;
    const uint8_t* const next_limit = reach.next_limit;
    const int32_t* const ref_limit = reach.ref_limit;
    const int32_t* const out_limit = reach.out_limit;

    const UnsqzTables& tables = unsqz_tables;
    const int32_t row_length = base.row_bytes * 8;
    const Lanes last_pixel = lanes_of(row_length - 1);
    int32_t* out = row->out;
    const int32_t* ref = row->ref;
    const int32_t* const ref_end = base.ref_list + frame->ref_count;
    int32_t adds = row->adds;
    Fast result = Fast::Slow;

    for (;;) {
        window.refill();
        if (window.next > next_limit || ref > ref_limit || out > out_limit)
            break;
        Probe probe;
        if (adds < kTableBCodesFrom) {
            const uint64_t index = window.bits >> (64 - kProbeBits);
            probe = tables.probe_a[index];
            if (__builtin_expect(probe.lanes != 0, 1)) {
                const int8_t* const offsets = tables.offsets[index];
                const Lanes moved = lanes_add(lanes_load(ref + 1), lanes_widen(offsets));
                lanes_store(out, moved);
                const uint32_t outside = lanes_outside(moved, last_pixel) & probe.lanes;
                if (__builtin_expect(outside == 0, 1)) {
                    const int32_t codes = count_ones(probe.lanes);
                    window.drop(probe.length);
                    out += codes;
                    ref += codes;
                    adds = 0;
                    continue;
                }
                // The row ends with the first of these, or is damaged.
                const int32_t last = __builtin_ctz(outside);
                for (int32_t i = 0; i <= last; ++i)
                    window.drop(static_cast<uint32_t>(kVerticalLength[offsets[i] + 3]));
                if (out[last] < 0 || ref_end - ref < last + 2) {
                    base.error_text = kTooManyRuns;
                    result = Fast::Failed;
                    break;
                }
                out += last + 1;
                result = Fast::RowDone;
                break;
            }
        } else {
            const uint64_t index = window.bits >> (64 - kProbeBitsB);
            probe = tables.probe_b[index];
            if (probe.lanes != 0) {
                const int32_t position = ref[1] + tables.offset_b[index];
                window.drop(probe.length);
                if (position < 0 || ref_end - ref < 2) {
                    base.error_text = kTooManyRuns;
                    result = Fast::Failed;
                    break;
                }
                *out++ = position;
                ++ref;
                adds = 0;
                if (position < row_length)
                    continue;
                result = Fast::RowDone;
                break;
            }
        }

        int32_t position = out[-1];
        int32_t second = 0;
        if (__builtin_expect(probe.second != 0, 1)) {
            position += probe.first;
            out[0] = position;
            if (__builtin_expect(position >= row_length, 0)) {
                window.drop(probe.length - 2u); // the row is complete: no second run follows
                ++out;
                result = Fast::RowDone;
                break;
            }
            window.drop(probe.length);
            position += probe.second;
        } else {
            // With extensions the code may be long. If it is too long for the window, unsqz_single_code
            // decodes it.
            if (window.next > base.in_end - kSlack)
                break;
            const Window at_code = window;
            window.drop(probe.length);
            int64_t run = probe.first;
            if (run == 0) {
                const int64_t more = extension(&window);
                if (more < 0) {
                    window = at_code;
                    break;
                }
                run = more + (adds < kTableBCodesFrom ? 14 : 16);
            }
            run += position;
            position = run > kFarAfterRow ? kFarAfterRow : static_cast<int32_t>(run);
            out[0] = position;
            if (__builtin_expect(position >= row_length, 0)) {
                ++out;
                result = Fast::RowDone;
                break;
            }
            window.refill();
            second = static_cast<int32_t>(window.bits >> 62) + 1;
            window.drop(2);
            run = position + second;
            if (second == 4) {
                const int64_t more = extension(&window);
                if (more < 0) {
                    window = at_code;
                    break;
                }
                run += more;
            }
            position = run > kFarAfterRow ? kFarAfterRow : static_cast<int32_t>(run);
        }
        out[1] = position;
        out += 2;
        adds += adds < kTableBCodesFrom;
        if (__builtin_expect(position >= row_length, 0)) {
            result = Fast::RowDone;
            break;
        }
        // Skips to the first transition of the same direction that is less than three pixels to the left of
        // the position. The copies of the row length stop this. Transitions of one direction are two entries
        // apart, so the mask 0x55 selects every second lane.
        const Lanes far_left = lanes_of(position - 3);
        uint32_t near = lanes_above(lanes_load(ref + 1), far_left) & 0x55;
        while (near == 0) {
            ref += kLanes;
            if (ref > ref_limit) {
                while (ref_end - ref >= 2 && position - ref[1] >= 3)
                    ref += 2;
                near = 1;
                break;
            }
            near = lanes_above(lanes_load(ref + 1), far_left) & 0x55;
        }
        ref += __builtin_ctz(near);
    }

    give_back(&base, window.byte(), window.used_bits());
    row->out = out;
    row->ref = ref;
    row->position = out[-1];
    row->adds = adds;
    return result;
}

// Drops the rest of the row's last byte: 16 bits stay in the window.
inline void end_row(UNCOMP* base)
{
    const uint32_t window = (uint32_t{base->bits_hi} << 16 | base->bits_lo) << (base->bitsloaded - 16);
    base->bits_hi = static_cast<uint16_t>(window >> 16);
    base->bits_lo = 0;
    base->bitsloaded = 16;
}

// Decodes and paints a row whose first bit, 0, is already taken. `above` is the packed row above in the
// caller's memory, or null. Returns false if the row is damaged.
inline bool coded_row(Frame* frame, uint8_t* row, int32_t nbytes)
{
    UNCOMP& base = frame->base;
    const int32_t row_length = base.row_bytes * 8;
    RowState state{base.cur_list + 1, base.ref_list, -1, 0};

    // Most rows begin like the row above, and many are equal to it.
    const int32_t same = take_ones(&base, frame->ref_transitions + 1);
    if (same > frame->ref_transitions) {
        end_row(&base);
        same_row(frame, row, nbytes, row_length);
        return true;
    }
    if (same > 0) {
        memcpy(state.out, state.ref + 1, static_cast<size_t>(same) * sizeof(int32_t));
        state.out += same;
        state.ref += same;
        state.position = *state.ref;
    }

    base.cur_list[0] = -1; // start of the first run
    Step step = Step::More;
    while (step == Step::More) {
        switch (fast_codes(frame, &state)) {
        case Fast::RowDone: step = Step::RowDone; break;
        case Fast::Failed: return false;
        case Fast::Slow: step = unsqz_single_code(frame, &state); break;
        }
    }
    if (step == Step::Failed)
        return false;
    base.cur_list[0] = 0;
    end_row(&base);

    int32_t transitions = 0;
    const auto count = static_cast<int32_t>(state.out - base.cur_list);
    const int32_t closed =
        uncomp_close_list(base.cur_list, base.cur_end, count, row_length, Overshoot::Dropped, &transitions);
    if (closed == 0) {
        base.error_text = kTooManyRuns;
        return false;
    }
    const Order order = list_order(base.cur_list, transitions);
    paint_list(frame, row, base.cur_list, base.cur_end, transitions, order, nbytes);
    if (__builtin_expect(order == Order::Descends, 0))
        uncomp_note(frame, UNCOMP_DECREASING);
    frame->ref_count = closed;
    frame->ref_transitions = transitions;
    uncomp_swap_lists(&base);
    return true;
}
} // namespace

int32_t KESTERLIB_UNSQZ_ROWS(Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride)
{
    UNCOMP& base = frame->base;
    const int32_t row_bytes_used = base.width / 8 + (base.width % 8 != 0);
    const int32_t nbytes = row_bytes_used < stride ? row_bytes_used : stride;
    int32_t done = 0;
    for (; done < rows && !frame->finished; ++done) {
        uint8_t* const row = buffer + int64_t{done} * stride;
        const auto start = static_cast<uint8_t>(base.bits_hi >> 8);
        if (start & 0x80) {
            if (start != 0x80) {
                base.error_text = "eof code not zero";
                frame->fault_bits = 8;
                uncomp_finish(frame);
                KESTERLIB_TRACE_LINE(2, base.cb, "Squeeze row %d: %s\n", base.rows_done, base.error_text);
                break;
            }
            unsqz_raw_row(frame, row);
            KESTERLIB_TRACE_LINE(2, base.cb, "Squeeze row %d: raw\n", base.rows_done);
        } else {
            uncomp_list_raw_row(frame, base.row_bytes * 8);
            // One bit of the start byte is used.
            const uint32_t window = (uint32_t{base.bits_hi} << 16 | base.bits_lo) << 1;
            base.bits_hi = static_cast<uint16_t>(window >> 16);
            base.bits_lo = static_cast<uint16_t>(window);
            base.bitsloaded -= 1;
            uncomp_load_bits(&base);
            if (!coded_row(frame, row, nbytes)) {
                uncomp_finish(frame);
                KESTERLIB_TRACE_LINE(2, base.cb, "Squeeze row %d: %s\n", base.rows_done, base.error_text);
                break;
            }
            KESTERLIB_TRACE_LINE(2, base.cb, "Squeeze row %d: coded, %d transitions\n", base.rows_done,
                                 frame->ref_transitions);
        }
        if (frame->filler)
            uncomp_note_filler(frame);
        uncomp_count_row(&base);
    }
    uncomp_keep_raw_row(frame);
    return done;
}
} // namespace kesterlib
