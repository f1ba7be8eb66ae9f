// SPDX-License-Identifier: MIT
// The row loop of the Group 4 decoder. Included once for each instruction set, which defines
// KESTERLIB_UNCCITT4_ROWS.
//
// As in the Squeeze decoder (unsqz_rows_tmpl.h), a probe of a 64-bit window yields up to eight vertical
// codes. Code k moves entry k of a vector of entries of the list above. This is correct only if each code
// refers to the entry after the one of the previous code. So moved entry k must not be below entry k - 1, and
// must be below entry k + 1. The loop checks this for all eight at a time.
//
// If a code is not entirely in the input buffer, or an entry is near the end of a list,
// unccitt4_single_code decodes a single code from the frame's own window. Both variants have the same
// result at every code.
#include "bit_window.h"
#include "bits.h"
#include "lanes.h"
#include "paint_list.h"
#include "run_frame.h"
#include "same_row.h"
#include "trace.h"
#include "unccitt_codes.h"

#include <cstdint>
#include <cstring>

namespace kesterlib
{
namespace
{
enum class Fast { RowDone, Failed, Slow };

// Reads a run: make-up codes and a terminating code. Returns -1 if the bits are no code or not entirely in
// the buffer.
template <int bits>
inline int32_t run_in(Window* window, const uint16_t* table, const uint8_t* next_limit)
{
    int32_t run = 0;
    for (;;) {
        const uint32_t code = table[window->bits >> (64 - bits)];
        window->drop(code & 15);
        const auto more = static_cast<int32_t>(code >> 4);
        run += more;
        if (__builtin_expect(more < kMakeUpFrom, 1))
            return code == 0 ? -1 : run;
        window->refill();
        if (window->next > next_limit || run > kFarAfterRow)
            return -1;
    }
}

// Decodes codes as long as they are entirely in the buffer and the lists have room. The frame's window is
// up to date before and after the call. The dense variant is for a row above
// with many transitions: it decodes vertical codes one at a time, because few follow each other in order.
template <bool dense>
inline Fast fast_codes(Frame* frame, Group4Row* row)
{
    UNCOMP& base = frame->base;
    Reach reach;
    if (!reach.start(*frame))
        return Fast::Slow;
    Window window = reach.window;
    const uint8_t* const next_limit = reach.next_limit;
    const int32_t* const ref_limit = reach.ref_limit;
    const int32_t* const out_limit = reach.out_limit;
    const uint8_t* const run_limit = base.in_end - 8; // a pair of runs needs more bytes

    const Unccitt4Tables& tables = unccitt4_tables;
    const int32_t width = base.width;
    const Lanes last_pixel = lanes_of(width - 1);
    int32_t* out = row->out;
    const int32_t* ref = row->ref;
    const int32_t* const ref_end = base.ref_list + frame->ref_count;
    int32_t position = row->position;
    Fast result = Fast::Slow;

    for (;;) {
        window.refill();
        if (window.next > next_limit || ref > ref_limit || out > out_limit)
            break;
        const uint64_t index = window.bits >> (64 - kModeBits);
        const ModeProbe probe = tables.modes[index];
        if (__builtin_expect(probe.lanes != 0, 1)) {
            if constexpr (dense) {
                position = *ref + (probe.mode - kVertical0);
                window.drop(probe.first_length);
                if (position < 0 || ref >= ref_end) {
                    base.error_text = position < 0 ? base.error_text : kTooManyRunsAllocated;
                    result = Fast::Failed;
                    break;
                }
                *out++ = position;
                if (position >= width) {
                    result = Fast::RowDone;
                    break;
                }
                ref += ref == base.ref_list + 1 ? 1 : -1; // as in unccitt4_single_code
                ref += *ref <= position ? 2 : 0;
                while (*ref <= position && *ref < width)
                    ref += 2;
                continue;
            }
            const int8_t* const offsets = tables.offsets[index];
            const Lanes moved = lanes_add(lanes_load(ref), lanes_widen(offsets));
            lanes_store(out, moved);
            // A 1 bit for each moved entry after which the next code does not refer to the next entry. The
            // moved entry is then outside the row, below the entry before, or not below the entry after.
            const uint32_t odd = (lanes_outside(moved, last_pixel) | lanes_above(lanes_load(ref - 1), moved) |
                                  ~lanes_above(lanes_load(ref + 1), moved)) &
                                 probe.lanes;
            if (__builtin_expect(odd == 0, 1)) {
                const int32_t codes = count_ones(probe.lanes);
                window.drop(probe.length);
                out += codes;
                ref += codes;
                position = out[-1];
                continue;
            }
            // The codes up to this one have moved the right entries.
            const int32_t last = __builtin_ctz(odd);
            position = out[last];
            for (int32_t i = 0; i <= last; ++i)
                window.drop(static_cast<uint32_t>(kModeLength[offsets[i] + kVertical0]));
            if (position < 0 || ref_end - ref < last + 1) {
                base.error_text = position < 0 ? base.error_text : kTooManyRunsAllocated;
                result = Fast::Failed;
                break;
            }
            out += last + 1;
            ref += last;
            if (position >= width) {
                result = Fast::RowDone;
                break;
            }
            ref += ref == base.ref_list + 1 ? 1 : -1;
            while (*ref <= position && *ref < width) // the copies of the row length stop this
                ref += 2;
            continue;
        }

        if (probe.mode == kHorizontal) {
            if (window.next > run_limit)
                break;
            const Window at_code = window;
            window.drop(probe.length);
            const int32_t from = position < 0 ? 0 : position;
            const bool white = (out - base.cur_list) % 2 != 0;
            const int32_t first = white ? run_in<kWhiteBits>(&window, tables.white, run_limit)
                                        : run_in<kBlackBits>(&window, tables.black, run_limit);
            if (first < 0) {
                window = at_code;
                break;
            }
            const int32_t second = white ? run_in<kBlackBits>(&window, tables.black, run_limit)
                                         : run_in<kWhiteBits>(&window, tables.white, run_limit);
            if (second < 0) {
                window = at_code;
                break;
            }
            position = from + first;
            out[0] = position;
            position = position > kFarAfterRow ? position : position + second;
            out[1] = position;
            out += 2;
        } else if (probe.mode == kPass) {
            if (ref_end - ref < 2)
                break;
            window.drop(probe.length);
            position = ref[1];
        } else {
            break; // the end of the page, or no code
        }
        if (__builtin_expect(position >= width, 0)) {
            result = Fast::RowDone;
            break;
        }
        // Skips to the first transition of the same direction to the right. The copies of the row length
        // stop this. Transitions of one direction are two entries apart, so the mask 0x55 selects every
        // second lane.
        const Lanes here = lanes_of(position);
        uint32_t right = lanes_above(lanes_load(ref), here) & 0x55;
        while (right == 0) {
            ref += kLanes;
            if (ref > ref_limit) {
                while (ref < ref_end && *ref <= position && *ref < width)
                    ref += 2;
                right = 1;
                break;
            }
            right = lanes_above(lanes_load(ref), here) & 0x55;
        }
        ref += __builtin_ctz(right);
    }

    give_back(&base, window.byte(), window.used_bits());
    row->out = out;
    row->ref = ref;
    row->position = position;
    return result;
}

// Decodes a row into cur_list and paints it. `above` is the packed row above in the caller's memory, or
// null.
inline Group4Step coded_row(Frame* frame, uint8_t* row, int32_t nbytes)
{
    UNCOMP& base = frame->base;
    const int32_t width = base.width;
    Group4Row state{base.cur_list + 1, base.ref_list + 1, -1};

    // Most rows begin like the row above, and many are equal to it.
    if (frame->ref_ascends && base.ref_list[frame->ref_transitions + 1] == width) {
        const int32_t same = take_ones(&base, frame->ref_transitions + 1);
        if (same > frame->ref_transitions) {
            same_row(frame, row, nbytes, width);
            return Group4Step::RowDone;
        }
        if (same > 0) {
            memcpy(state.out, state.ref, static_cast<size_t>(same) * sizeof(int32_t));
            state.out += same;
            state.ref += same;
            state.position = state.ref[-1];
        }
    }

    base.cur_list[0] = 0;
    Group4Step step = Group4Step::More;
    const bool dense = frame->ref_transitions > width / 8;
    while (step == Group4Step::More) {
        switch (dense ? fast_codes<true>(frame, &state) : fast_codes<false>(frame, &state)) {
        case Fast::RowDone: step = Group4Step::RowDone; break;
        case Fast::Failed: return Group4Step::Failed;
        case Fast::Slow: step = unccitt4_single_code(frame, &state); break;
        }
    }
    if (step != Group4Step::RowDone)
        return step;

    int32_t transitions = 0;
    const auto count = static_cast<int32_t>(state.out - base.cur_list);
    const int32_t closed =
        uncomp_close_list(base.cur_list, base.cur_end, count, width, Overshoot::Kept, &transitions);
    if (closed == 0) {
        base.error_text = kTooManyRunsAllocated;
        return Group4Step::Failed;
    }
    const Order order = list_order(base.cur_list, transitions);
    paint_list(frame, row, base.cur_list, base.cur_end, transitions, order, nbytes);
    const bool descends = order == Order::Descends;
    const bool passes = base.cur_list[transitions + 1] != width;
    if (__builtin_expect(descends || passes, 0))
        uncomp_note(frame, (descends ? UNCOMP_DECREASING : 0) | (passes ? UNCOMP_PAST_WIDTH : 0));
    frame->ref_count = closed;
    frame->ref_transitions = transitions;
    frame->ref_ascends = order == Order::Ascends;
    uncomp_swap_lists(&base);
    return step;
}
} // namespace

int32_t KESTERLIB_UNCCITT4_ROWS(Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride)
{
    UNCOMP& base = frame->base;
    const int32_t row_bytes_used = base.width / 8 + (base.width % 8 != 0);
    const int32_t nbytes = row_bytes_used < stride ? row_bytes_used : stride;
    int32_t done = 0;
    for (; done < rows && !frame->finished; ++done) {
        if (base.eol_seen && nbytes <= 0) { // white rows that write nothing
            const int32_t left = rows - done;
            base.rows_done = left < INT32_MAX - base.rows_done ? base.rows_done + left : INT32_MAX;
            return rows;
        }
        uint8_t* const row = buffer + int64_t{done} * stride;
        if (!base.eol_seen) {
            const Group4Step step = coded_row(frame, row, nbytes);
            if (step == Group4Step::Failed) {
                uncomp_finish(frame);
                KESTERLIB_TRACE_LINE(2, base.cb, "Group 4 row %d: %s\n", base.rows_done,
                                     base.error_text ? base.error_text : "no code");
                break;
            }
            base.eol_seen = step == Group4Step::EndOfLine;
            if (base.eol_seen)
                KESTERLIB_TRACE_LINE(2, base.cb, "Group 4 row %d: end of line\n", base.rows_done);
            else
                KESTERLIB_TRACE_LINE(2, base.cb, "Group 4 row %d: %d transitions\n", base.rows_done,
                                     frame->ref_transitions);
            if (frame->filler)
                uncomp_note_filler(frame);
        }
        if (base.eol_seen && nbytes > 0)
            memset(row, 0, static_cast<size_t>(nbytes));
        uncomp_count_row(&base);
    }
    return done;
}
} // namespace kesterlib
