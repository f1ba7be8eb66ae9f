// SPDX-License-Identifier: MIT
// Paints a list of transitions into a packed row by 64-bit words, for the row loops. The result is the same
// as uncomp_paint_row's.
#pragma once

#include "bits.h"
#include "lanes.h"
#include "run_frame.h"

#include <cstdint>
#include <cstring>

namespace kesterlib
{
namespace
{
// Order of the entries from 1 to the count-th. Ascends: each is above the one before. Repeats: at least one
// is equal to the one before, and none is below. Descends: at least one is below the one before.
enum class Order { Ascends, Repeats, Descends };

// Returns the order. Reads no entry after the count-th.
inline Order list_order(const int32_t* list, int32_t count)
{
    constexpr uint32_t kAll = (1u << kLanes) - 1;
    uint32_t ascends = kAll;
    int32_t i = 1;
    for (; i + kLanes <= count; i += kLanes)
        ascends &= lanes_above(lanes_load(list + i + 1), lanes_load(list + i));
    for (; i < count; ++i)
        ascends &= 0 - static_cast<uint32_t>(list[i + 1] > list[i]);
    if (ascends == kAll)
        return Order::Ascends;
    for (i = 1; i < count; ++i)
        if (list[i + 1] < list[i])
            return Order::Descends;
    return Order::Repeats;
}

// Paints the `transitions` entries after the head, all below the row length. Copies of the row length must
// follow them.
inline void paint_list(Frame* frame, uint8_t* row, const int32_t* list, const int32_t* end,
                       int32_t transitions, Order order, int32_t nbytes)
{
    const int32_t width = frame->base.width;
    if (nbytes <= 0)
        return;
    if (transitions == 0) {
        memset(row, 0, static_cast<size_t>(nbytes));
        return;
    }
    if (order == Order::Descends) {
        uncomp_paint_row(frame->base.cb, row, list, end, nbytes, width);
        return;
    }

    // Each transition inverts all pixels from its position to the end of its word. Then a word only has to
    // be inverted as a whole if the word before ends in a 1. This needs no branch that depends on the
    // picture.
    uint64_t* const words = frame->words;
    for (int32_t i = 1; i <= transitions; ++i) {
        const auto position = static_cast<uint32_t>(list[i]);
        words[position >> 6] ^= ~uint64_t{0} >> (position & 63);
    }
    const int32_t first = list[1] >> 6;
    const int32_t last = list[transitions] >> 6;
    const int32_t whole = nbytes >> 3; // words that lie entirely in the row
    if (first * 8 >= nbytes)
        memset(row, 0, static_cast<size_t>(nbytes));
    else
        memset(row, 0, static_cast<size_t>(first) * 8);
    uint64_t carry = 0; // all ones if the word before ends in a 1
    int32_t word = first;
    const int32_t stored = last < whole ? last + 1 : whole;
    for (; word < stored; ++word) {
        const uint64_t turned = words[word];
        words[word] = 0;
        store_be64(row + int64_t{word} * 8, turned ^ carry);
        carry ^= 0 - (turned & 1);
    }
    if (word <= last) { // a word that is partly in the row, or words after it
        const uint64_t turned = words[word] ^ carry;
        for (int32_t byte = word * 8; byte < nbytes; ++byte)
            row[byte] = static_cast<uint8_t>(turned >> (56 - 8 * (byte & 7)));
        for (; word <= last; ++word)
            words[word] = 0;
    } else if (word * 8 < nbytes) {
        memset(row + int64_t{word} * 8, static_cast<int>(carry & 0xFF),
               static_cast<size_t>(nbytes - word * 8));
    }
    uncomp_clip_row(row, nbytes, width);
}
} // namespace
} // namespace kesterlib
