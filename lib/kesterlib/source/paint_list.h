// A list of transitions into a packed row by 64-bit words, for the row loops; the same rows as
// uncomp_paint_row.
#pragma once

#include "bits.h"
#include "frame.h"
#include "lanes.h"

#include <cstdint>
#include <cstring>

namespace kesterlib
{
namespace
{
// How the entries of a list from 1 to the count-th follow each other.
enum class Order { Rises, Stands, Falls }; // each above the one before; none below; any

// Reads entries up to the count-th.
inline Order list_order(const int32_t* list, int32_t count)
{
    constexpr uint32_t kAll = (1u << kLanes) - 1;
    uint32_t rises = kAll;
    int32_t i = 1;
    for (; i + kLanes <= count; i += kLanes)
        rises &= lanes_above(lanes_load(list + i + 1), lanes_load(list + i));
    for (; i < count; ++i)
        rises &= 0 - static_cast<uint32_t>(list[i + 1] > list[i]);
    if (rises == kAll)
        return Order::Rises;
    for (i = 1; i < count; ++i)
        if (list[i + 1] < list[i])
            return Order::Falls;
    return Order::Stands;
}

// transitions entries behind the head, all below the row length; the copies of that stand behind them.
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
    if (order == Order::Falls) {
        uncomp_paint_row(frame->base.cb, row, list, end, nbytes, width);
        return;
    }

    // A transition turns over all pixels from its own to the end of its word; what is left to do for a word
    // is to turn it over as a whole where the word before ends in a 1. Without a branch that depends on the
    // picture.
    uint64_t* const words = frame->words;
    for (int32_t i = 1; i <= transitions; ++i) {
        const auto position = static_cast<uint32_t>(list[i]);
        words[position >> 6] ^= ~uint64_t{0} >> (position & 63);
    }
    const int32_t first = list[1] >> 6;
    const int32_t last = list[transitions] >> 6;
    const int32_t whole = nbytes >> 3; // words that can be stored whole
    if (first * 8 >= nbytes)
        memset(row, 0, static_cast<size_t>(nbytes));
    else
        memset(row, 0, static_cast<size_t>(first) * 8);
    uint64_t carry = 0; // all ones where the word before ends in a 1
    int32_t word = first;
    const int32_t stored = last < whole ? last + 1 : whole;
    for (; word < stored; ++word) {
        const uint64_t turned = words[word];
        words[word] = 0;
        store_be64(row + int64_t{word} * 8, turned ^ carry);
        carry ^= 0 - (turned & 1);
    }
    if (word <= last) { // into or behind the row's last bytes
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
