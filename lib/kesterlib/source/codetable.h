// SPDX-License-Identifier: MIT
// Lists of prefix codes, and the tables that find a code by the leading bits of a stream.
#pragma once

#include "run_frame.h"

#include <algorithm>
#include <cstdint>

namespace kesterlib
{
struct Code {
    uint16_t bits;  // left-aligned
    uint8_t length; // bits; 0: unused entry
};

constexpr uint8_t kNoCode = 255;

// The texts of the fatal report about a list that is not valid.
struct CodeTableFault {
    const char* expression;
    const char* text;
    const char* file;
};

// Fills a table of 2^n cells, where n is the length of the longest code. The number of a cell is the next n
// bits of a stream. The cell receives the index of the code that these bits begin with, or kNoCode. Makes a
// fatal report if the longest code has 15 bits or the list has more than 255 codes. In a constant expression,
// such a list does not compile.
constexpr void build_decode_table(callback_block* cb, const Code* codes, int32_t ncodes, uint8_t* table,
                                  const CodeTableFault& fault)
{
    int32_t length = 0;
    for (int32_t i = 0; i < ncodes; ++i)
        length = std::max<int32_t>(length, codes[i].length);
    if (length == 15 || ncodes > 255) {
        callback_assertion_failed(cb, fault.expression, fault.text, fault.file, __LINE__);
        return;
    }
    std::fill_n(table, 1 << length, kNoCode);
    for (int32_t i = 0; i < ncodes; ++i)
        if (codes[i].length != 0)
            std::fill_n(table + (codes[i].bits >> (16 - length)), 1 << (length - codes[i].length),
                        static_cast<uint8_t>(i));
}

// Drops the first `bits` bits of the frame's window and refills it.
void uncomp_take(UNCOMP* frame, int32_t bits);
} // namespace kesterlib
