// SPDX-License-Identifier: MIT
// The Squeeze decoder: its code tables, its open functions, and the decoding of single codes from the
// frame's window. The loops of unsqz_rows_tmpl.h decode most rows. They call the functions here if a code is
// not entirely in the input buffer.
#include "kesterlib/unsqz.h"

#include "codetable.h"
#include "machine.h"
#include "trace.h"
#include "unsqz_codes.h"

#include <cstring>

namespace kesterlib
{
const int8_t kVerticalLength[7] = {7, 4, 3, 1, 3, 4, 7};

namespace
{
// The order is: the vertical codes with offsets -3 to 3; the add codes with a first run of 1 and above; last
// the add code with a long first run.
constexpr Code kCodesA[] = {
    {0x3C00, 7}, {0x0000, 4}, {0x4000, 3}, {0x8000, 1}, {0x6000, 3}, {0x1000, 4}, {0x3E00, 7},
    {0x2000, 7}, {0x2200, 7}, {0x2400, 7}, {0x2600, 7}, {0x2800, 7}, {0x2A00, 7}, {0x2C00, 7},
    {0x2E00, 7}, {0x3000, 7}, {0x3200, 7}, {0x3400, 7}, {0x3600, 7}, {0x3800, 7}, {0x3A00, 7},
};
constexpr Code kCodesB[] = {
    {0x9000, 5}, {0x8000, 5}, {0xA000, 4}, {0xC000, 2}, {0xB000, 4}, {0x8800, 5}, {0x9800, 5}, {0x0000, 5},
    {0x0800, 5}, {0x1000, 5}, {0x1800, 5}, {0x2000, 5}, {0x2800, 5}, {0x3000, 5}, {0x3800, 5}, {0x4000, 5},
    {0x4800, 5}, {0x5000, 5}, {0x5800, 5}, {0x6000, 5}, {0x6800, 5}, {0x7000, 5}, {0x7800, 5},
};
constexpr int32_t kCountA = sizeof kCodesA / sizeof kCodesA[0];
constexpr int32_t kCountB = sizeof kCodesB / sizeof kCodesB[0];
constexpr int kLongestA = 7;
constexpr int kLongestB = 5;

constexpr CodeTableFault kFault{"!(length == 15 || ncodes > 255)", "ncodes too long", "unsqz"};

constexpr int32_t kVerticalCodes = 7;
constexpr int32_t kLargestOffset = 3;
constexpr int32_t kSecondRunBits = 2;
constexpr int32_t kSecondRunExtended = 3; // an extension number follows a second run with this value

constexpr bool is_vertical(int32_t index)
{
    return index < kVerticalCodes;
}
constexpr int32_t offset_of(int32_t index)
{
    return index - kLargestOffset;
}
constexpr int32_t first_run_of(int32_t index)
{
    return index - kVerticalCodes + 1;
}

// Returns the codes in `leading`, which are the `bits` leading bits of a window, decoded one by one.
constexpr Probe probe_of(int32_t leading, int bits, const uint8_t* index, const Code* codes, int longest,
                         int32_t long_run, int8_t* offsets, int32_t most_verticals)
{
    Probe probe{};
    // The unknown bits after them are read as 0. A code that needs one of them is not taken.
    const auto window = static_cast<uint32_t>(leading) << (32 - bits);
    int32_t verticals = 0;
    while (verticals < most_verticals) {
        const uint8_t code = index[window << probe.length >> (32 - longest)];
        if (!is_vertical(code) || probe.length + codes[code].length > bits)
            break;
        offsets[verticals++] = static_cast<int8_t>(offset_of(code));
        probe.length = static_cast<uint8_t>(probe.length + codes[code].length);
    }
    probe.lanes = static_cast<uint8_t>((1u << verticals) - 1);
    if (verticals > 0)
        return probe;
    const uint8_t code = index[window >> (32 - longest)];
    probe.length = codes[code].length;
    if (code == long_run)
        return probe;
    probe.first = static_cast<uint8_t>(first_run_of(code));
    const uint32_t second = window << probe.length >> (32 - kSecondRunBits);
    if (second != kSecondRunExtended) {
        probe.second = static_cast<uint8_t>(second + 1);
        probe.length = static_cast<uint8_t>(probe.length + kSecondRunBits);
    }
    return probe;
}

constexpr UnsqzTables make_tables()
{
    UnsqzTables tables{};
    build_decode_table(nullptr, kCodesA, kCountA, tables.index_a, kFault);
    build_decode_table(nullptr, kCodesB, kCountB, tables.index_b, kFault);
    for (int32_t i = 0; i < 1 << kProbeBits; ++i)
        tables.probe_a[i] = probe_of(i, kProbeBits, tables.index_a, kCodesA, kLongestA, kCountA - 1,
                                     tables.offsets[i], kLanes);
    for (int32_t i = 0; i < 1 << kProbeBitsB; ++i)
        tables.probe_b[i] =
            probe_of(i, kProbeBitsB, tables.index_b, kCodesB, kLongestB, kCountB - 1, &tables.offset_b[i], 1);
    return tables;
}

// Reads a number: groups of three bits, the lowest first, each with a flag that ends the number. There may
// be any number of groups. Groups beyond 60 bits are ORed into the highest three bits: with any 1 there, the
// number is larger than every row. Filler follows the input. At half of the positions in a byte it ends the
// number. At the others it never does; then the number ends after enough filler to saturate it. A read error
// also ends it.
int64_t extension_number(Frame* frame)
{
    // Limit of the groups that are read after the buffer has received the end of the input: all groups of the
    // buffer, and enough filler.
    constexpr int32_t kMostGroupsAtEnd = 2 * UNCOMP_IN_BUFFER + 32;
    constexpr int32_t kHighestShift = 57; // so that a sum with a position cannot overflow
    UNCOMP& base = frame->base;
    int64_t number = 0;
    int32_t shift = 0;
    int32_t bytes_before = base.bytes_before;
    for (int32_t at_end = 0; at_end < kMostGroupsAtEnd; at_end += frame->filler != nullptr) {
        if (bytes_before != base.bytes_before) { // a number can be as long as the file
            bytes_before = base.bytes_before;
            if (uncomp_input_failed(frame))
                return int64_t{1} << kHighestShift;
        }
        const uint16_t group = base.bits_hi >> 12;
        uncomp_take(&base, 4);
        number |= int64_t{group} >> 1 << shift;
        if (group & 1)
            break;
        shift += shift < kHighestShift ? 3 : 0;
    }
    return number;
}

// Returns the position after a run, clamped to kFarAfterRow.
int32_t moved(int32_t position, int64_t run)
{
    const int64_t to = position + run;
    return to > kFarAfterRow ? kFarAfterRow : static_cast<int32_t>(to);
}

UNCOMP* open_frame(callback_block* cb, Block kind, const uint8_t* base, size_t size, int32_t width,
                   int32_t row_bytes, const uint8_t* first_ref_row)
{
    Frame* const frame =
        uncomp_open(cb, kind, base, size, width, row_bytes, first_ref_row, int64_t{row_bytes} * 8);
    if (!frame)
        return nullptr;
    uncomp_start_bits(&frame->base);
    KESTERLIB_TRACE_LINE(1, frame->base.cb, "Squeeze: width %d, row_bytes %d\n", width, row_bytes);
    return &frame->base;
}

UNCOMP* open_in_memory(callback_block* cb, Block kind, const uint8_t* base, size_t size, int32_t width,
                       int32_t row_bytes, const uint8_t* first_ref_row)
{
    static const uint8_t nothing = 0;
    return open_frame(cb, kind, base ? base : &nothing, base ? size : 0, width, row_bytes, first_ref_row);
}
} // namespace

constinit const UnsqzTables unsqz_tables = make_tables();

UnsqzRowLoop* unsqz_row_loop()
{
#if defined(__x86_64__)
    if (has_avx2())
        return unsqz_rows_avx2;
#endif
    return unsqz_rows_plain;
}

Step unsqz_single_code(Frame* frame, RowState* row)
{
    UNCOMP& base = frame->base;
    const int32_t row_length = base.row_bytes * 8;
    const int32_t* const ref_end = base.ref_list + frame->ref_count;
    const auto fail = [&base](const char* text) {
        base.error_text = text;
        return Step::Failed;
    };
    const bool table_a = row->adds < kTableBCodesFrom;
    const uint8_t index = table_a ? unsqz_tables.index_a[base.bits_hi >> (16 - kLongestA)]
                                  : unsqz_tables.index_b[base.bits_hi >> (16 - kLongestB)];
    // Both lists are complete: every bit pattern is a code.
    const int32_t count = table_a ? kCountA : kCountB;
    if (index >= count)
        return fail(table_a ? "Huffman decode, numberOfAdds<3, unknown code"
                            : "Huffman decode, numberOfAdds>=3, unknown code");
    uncomp_take(&base, (table_a ? kCodesA : kCodesB)[index].length);

    if (is_vertical(index)) {
        if (ref_end - row->ref < 2 || row->out >= base.cur_end)
            return fail(kTooManyRuns);
        ++row->ref;
        row->position = *row->ref + offset_of(index);
        if (row->position < 0)
            return fail(kTooManyRuns);
        *row->out++ = row->position;
        row->adds = 0;
        KESTERLIB_TRACE_LINE(3, base.cb, "  %c vertical %+d: %d\n", table_a ? 'A' : 'B', offset_of(index),
                             row->position);
        return row->position >= row_length ? Step::RowDone : Step::More;
    }

    // Appends a run with its extension, if it has one. Returns false if the list is full.
    const auto append = [&](int64_t run, bool extended) {
        const int64_t more = extended ? extension_number(frame) : 0;
        if (row->out >= base.cur_end)
            return false;
        row->position = moved(row->position, run + more);
        *row->out++ = row->position;
        return true;
    };
    if (!append(first_run_of(index), index == count - 1))
        return fail(kTooManyRuns);
    if (row->position >= row_length) {
        KESTERLIB_TRACE_LINE(3, base.cb, "  %c add %d: %d\n", table_a ? 'A' : 'B',
                             row->out[-1] - row->out[-2], row->position);
        return Step::RowDone;
    }

    const int32_t second = base.bits_hi >> (16 - kSecondRunBits);
    uncomp_take(&base, kSecondRunBits);
    if (!append(second + 1, second == kSecondRunExtended))
        return fail(kTooManyRuns);
    KESTERLIB_TRACE_LINE(3, base.cb, "  %c add %d, %d: %d, %d\n", table_a ? 'A' : 'B',
                         row->out[-2] - row->out[-3], row->out[-1] - row->out[-2], row->out[-2],
                         row->position);
    if (table_a)
        ++row->adds;
    if (row->position >= row_length)
        return Step::RowDone;
    // The copies of the row length stop this before the end of the list, unless the row has used them up.
    while (ref_end - row->ref >= 2 && row->position - row->ref[1] >= 3)
        row->ref += 2;
    return Step::More;
}

void unsqz_raw_row(Frame* frame, uint8_t* row)
{
    UNCOMP& base = frame->base;
    uncomp_forget_raw_row(frame);
    if (!row) {
        row = reinterpret_cast<uint8_t*>(frame->words);
        frame->words_hold_row = true;
    }
    // Two bytes are in the window: the start byte and the first byte after it.
    int32_t copied = 0;
    int32_t unread = 0;
    if (base.row_bytes > 0)
        row[copied++] = static_cast<uint8_t>(base.bits_hi);
    else
        unread = 1;
    const auto kept = static_cast<uint8_t>(base.bits_hi);
    while (copied < base.row_bytes) {
        if (base.in_ptr == base.in_end)
            uncomp_refill(&base);
        const auto there = static_cast<int64_t>(base.in_end - base.in_ptr);
        const int64_t wanted = base.row_bytes - copied;
        const auto now = static_cast<int32_t>(there < wanted ? there : wanted);
        memcpy(row + copied, base.in_ptr, static_cast<size_t>(now));
        base.in_ptr += now;
        copied += now;
    }
    base.bits_hi = unread ? static_cast<uint16_t>(kept << 8) : uint16_t{0};
    base.bits_lo = 0;
    base.bitsloaded = unread * 8;
    uncomp_load_bits(&base);
    frame->raw_row = row;
}
} // namespace kesterlib

using kesterlib::Frame;

UNCOMP* Unsqz_Open_Callback(callback_block* cb, int32_t width, int32_t row_bytes,
                            const uint8_t* first_ref_row)
{
    return kesterlib::open_frame(cb, kesterlib::Block::Callers, nullptr, 0, width, row_bytes, first_ref_row);
}

UNCOMP* Unsqz_Open(FILE* file, int32_t width, int32_t row_bytes, const uint8_t* first_ref_row)
{
    callback_block* const cb = kesterlib::stream_block(file, "f", "unsqz");
    return kesterlib::open_frame(cb, kesterlib::Block::Own, nullptr, 0, width, row_bytes, first_ref_row);
}

UNCOMP* Unsqz_Open_MMapped(const uint8_t* base, size_t size, int32_t width, int32_t row_bytes,
                           const uint8_t* first_ref_row)
{
    return kesterlib::open_in_memory(kesterlib::mapped_block(), kesterlib::Block::Own, base, size, width,
                                     row_bytes, first_ref_row);
}

UNCOMP* Unsqz_Open_Memory(callback_block* cb, const uint8_t* base, size_t size, int32_t width,
                          int32_t row_bytes, const uint8_t* first_ref_row)
{
    return kesterlib::open_in_memory(cb, kesterlib::Block::Callers_without_input, base, size, width,
                                     row_bytes, first_ref_row);
}

int32_t Unsqz_Decode(UNCOMP* frame, int32_t rows, uint8_t* buffer, int32_t stride)
{
    auto* const whole = reinterpret_cast<Frame*>(frame);
    return kesterlib::unsqz_row_loop()(whole, rows, buffer, stride);
}

int32_t Unsqz_Discard(UNCOMP* frame, int32_t rows)
{
    return Unsqz_Decode(frame, rows, nullptr, 0);
}
