// SPDX-License-Identifier: MIT
// The Group 4 decoder: its code tables, its open functions, and the decoding of single codes from the
// frame's window. The loops of unccitt_rows_tmpl.h decode most rows. They call the functions here if a code
// is not entirely in the input buffer.
#include "kesterlib/unccitt.h"

#include "codetable.h"
#include "machine.h"
#include "trace.h"
#include "unccitt_codes.h"
#include "unccitt_runs.h"

namespace kesterlib
{
constexpr int8_t kModeLength[kModes] = {12, 4, 3, 7, 6, 3, 1, 3, 6, 7};

namespace
{
// ITU-T T.6, table 1, and the end of line code of ITU-T T.4.
constexpr Code kModeCodes[kModes] = {
    {0x0010, 12}, {0x1000, 4}, {0x2000, 3}, {0x0400, 7}, {0x0800, 6},
    {0x4000, 3},  {0x8000, 1}, {0x6000, 3}, {0x0C00, 6}, {0x0600, 7},
};
constexpr CodeTableFault kFault{"!((length == 15) || (ncodes > 255))", "code too long", "unccitt"};

constexpr bool is_vertical(uint8_t mode)
{
    return mode >= kVerticalLeft3 && mode <= kVerticalRight3;
}
constexpr int32_t offset_of(uint8_t mode)
{
    return mode - kVertical0;
}
constexpr int32_t run_of(uint8_t index)
{
    return index < kFirstTerminating ? index * kMakeUpFrom : index - kFirstTerminating;
}

constexpr ModeProbe probe_of(uint32_t leading, const uint8_t* modes, int8_t* offsets)
{
    ModeProbe probe{};
    const uint32_t window = leading << (32 - kModeBits);
    int32_t verticals = 0;
    while (verticals < kLanes) {
        const uint8_t mode = modes[window << probe.length >> (32 - kModeBits)];
        if (!is_vertical(mode) || probe.length + kModeLength[mode] > kModeBits)
            break;
        offsets[verticals++] = static_cast<int8_t>(offset_of(mode));
        probe.length = static_cast<uint8_t>(probe.length + kModeLength[mode]);
    }
    probe.lanes = static_cast<uint8_t>((1u << verticals) - 1);
    probe.mode = modes[leading];
    probe.first_length = probe.mode == kNoCode ? uint8_t{0} : static_cast<uint8_t>(kModeLength[probe.mode]);
    if (verticals == 0)
        probe.length = probe.first_length;
    return probe;
}

constexpr void make_run_table(const Code* codes, uint16_t* table, int bits)
{
    uint8_t index[1 << kBlackBits] = {};
    build_decode_table(nullptr, codes, kRunCodes, index, kFault);
    for (int32_t i = 0; i < 1 << bits; ++i)
        table[i] = index[i] == kNoCode
                       ? uint16_t{0}
                       : static_cast<uint16_t>(run_of(index[i]) << 4 | codes[index[i]].length);
}

constexpr Unccitt4Tables make_tables()
{
    Unccitt4Tables tables{};
    make_run_table(kWhiteCodes, tables.white, kWhiteBits);
    make_run_table(kBlackCodes, tables.black, kBlackBits);
    uint8_t modes[1 << kModeBits] = {};
    build_decode_table(nullptr, kModeCodes, kModes, modes, kFault);
    for (uint32_t i = 0; i < 1 << kModeBits; ++i)
        tables.modes[i] = probe_of(i, modes, tables.offsets[i]);
    return tables;
}

UNCOMP* open_frame(callback_block* cb, Block kind, const uint8_t* base, size_t size, int32_t width,
                   int32_t row_bytes, const uint8_t* first_ref_row)
{
    Frame* const frame = uncomp_open(cb, kind, base, size, width, row_bytes, first_ref_row, width);
    if (!frame)
        return nullptr;
    frame->ref_ascends = true; // true for a list from getruns and for that of a white row
    uncomp_start_bits(&frame->base);
    KESTERLIB_TRACE_LINE(1, frame->base.cb, "Group 4: width %d, row_bytes %d\n", width, row_bytes);
    return &frame->base;
}

UNCOMP* open_in_memory(callback_block* cb, Block kind, const uint8_t* base, size_t size, int32_t width,
                       int32_t row_bytes, const uint8_t* first_ref_row)
{
    static const uint8_t nothing = 0;
    return open_frame(cb, kind, base ? base : &nothing, base ? size : 0, width, row_bytes, first_ref_row);
}

// Reads the length of a run from the frame's window: make-up codes and a terminating code. Returns -1 if
// the bits are no code.
int32_t run_length(UNCOMP* frame, bool white)
{
    int32_t run = 0;
    for (;;) {
        const uint16_t code = white ? unccitt4_tables.white[frame->bits_hi >> (16 - kWhiteBits)]
                                    : unccitt4_tables.black[frame->bits_hi >> (16 - kBlackBits)];
        if (code == 0)
            return -1;
        uncomp_take(frame, code & 15);
        const int32_t more = code >> 4;
        run = run > kFarAfterRow ? run : run + more; // so that endless make-up codes cannot overflow it
        if (more < kMakeUpFrom)
            return run;
    }
}

// Returns how many of the next bits show that no code follows. `bits` is the length of the longest code.
// is_code(i) returns whether a code begins with the bits of the number i.
template <typename IsCode>
int32_t bits_of_no_code(const UNCOMP& frame, int bits, const IsCode& is_code)
{
    const int32_t next = frame.bits_hi >> (16 - bits);
    int unknown = bits; // bits after those that are tried
    for (bool code = true; code && unknown > 0;) {
        --unknown;
        const int32_t first = next >> unknown << unknown;
        code = false;
        for (int32_t i = 0; i < 1 << unknown && !code; ++i)
            code = is_code(first + i);
    }
    return bits - unknown;
}
} // namespace

constinit const Unccitt4Tables unccitt4_tables = make_tables();

Unccitt4RowLoop* unccitt4_row_loop()
{
#if defined(__x86_64__)
    if (has_avx2())
        return unccitt4_rows_avx2;
#endif
    return unccitt4_rows_plain;
}

Group4Step unccitt4_single_code(Frame* frame, Group4Row* row)
{
    UNCOMP& base = frame->base;
    const int32_t width = base.width;
    const int32_t* const ref_end = base.ref_list + frame->ref_count;
    const auto fail_overrun = [&base] {
        base.error_text = kTooManyRunsAllocated;
        return Group4Step::Failed;
    };

    const ModeProbe probe = unccitt4_tables.modes[base.bits_hi >> (16 - kModeBits)];
    if (probe.mode == kNoCode) {
        frame->fault_bits = bits_of_no_code(
            base, kModeBits, [](int32_t i) { return unccitt4_tables.modes[i].mode != kNoCode; });
        return Group4Step::Failed;
    }
    uncomp_take(&base, probe.first_length);

    switch (probe.mode) {
    case kEndOfLine: return Group4Step::EndOfLine;
    case kPass:
        if (ref_end - row->ref < 2)
            return fail_overrun();
        row->position = row->ref[1];
        KESTERLIB_TRACE_LINE(3, base.cb, "  pass: %d\n", row->position);
        break;
    case kHorizontal: {
        const bool white = (row->out - base.cur_list) % 2 != 0;
        if (base.cur_end - row->out < 2)
            return fail_overrun();
        if (row->position < 0)
            row->position = 0;
        for (int i = 0; i < 2; ++i) {
            const bool white_run = white == (i == 0);
            const int32_t run = run_length(&base, white_run);
            if (run < 0) {
                frame->fault_bits =
                    white_run ? bits_of_no_code(base, kWhiteBits,
                                                [](int32_t k) { return unccitt4_tables.white[k] != 0; })
                              : bits_of_no_code(base, kBlackBits,
                                                [](int32_t k) { return unccitt4_tables.black[k] != 0; });
                return Group4Step::Failed;
            }
            row->position = row->position > kFarAfterRow ? row->position : row->position + run;
            *row->out++ = row->position;
        }
        KESTERLIB_TRACE_LINE(3, base.cb, "  horizontal: %d, %d\n", row->out[-2], row->position);
        break;
    }
    default:
        if (ref_end - row->ref < 1 || row->out >= base.cur_end)
            return fail_overrun();
        row->position = *row->ref + offset_of(probe.mode);
        if (row->position < 0)
            return Group4Step::Failed;
        *row->out++ = row->position;
        KESTERLIB_TRACE_LINE(3, base.cb, "  vertical %+d: %d\n", offset_of(probe.mode), row->position);
        // The next code refers to a transition of the other direction. This can be the entry before, except
        // at the start of the list.
        row->ref += row->ref == base.ref_list + 1 ? 1 : -1;
    }
    if (row->position >= width)
        return Group4Step::RowDone;
    while (row->ref < ref_end && *row->ref <= row->position && *row->ref < width)
        row->ref += 2;
    return Group4Step::More;
}
} // namespace kesterlib

using kesterlib::Frame;

UNCOMP* Unccitt4_Open_Callback(callback_block* cb, int32_t width, int32_t row_bytes,
                               const uint8_t* first_ref_row)
{
    return kesterlib::open_frame(cb, kesterlib::Block::Callers, nullptr, 0, width, row_bytes, first_ref_row);
}

UNCOMP* Unccitt4_Open(FILE* file, int32_t width, int32_t row_bytes, const uint8_t* first_ref_row)
{
    callback_block* const cb = kesterlib::stream_block(file, "f!=NULL", "unccitt");
    return kesterlib::open_frame(cb, kesterlib::Block::Own, nullptr, 0, width, row_bytes, first_ref_row);
}

UNCOMP* Unccitt4_Open_MMapped(const uint8_t* base, size_t size, int32_t width, int32_t row_bytes,
                              const uint8_t* first_ref_row)
{
    return kesterlib::open_in_memory(kesterlib::mapped_block(), kesterlib::Block::Own, base, size, width,
                                     row_bytes, first_ref_row);
}

UNCOMP* Unccitt4_Open_Memory(callback_block* cb, const uint8_t* base, size_t size, int32_t width,
                             int32_t row_bytes, const uint8_t* first_ref_row)
{
    return kesterlib::open_in_memory(cb, kesterlib::Block::Callers_without_input, base, size, width,
                                     row_bytes, first_ref_row);
}

int32_t Unccitt4_Decode(UNCOMP* frame, int32_t rows, uint8_t* buffer, int32_t stride)
{
    return kesterlib::unccitt4_row_loop()(reinterpret_cast<Frame*>(frame), rows, buffer, stride);
}

int32_t Unccitt4_Discard(UNCOMP* frame, int32_t rows)
{
    return Unccitt4_Decode(frame, rows, nullptr, 0);
}
