// Lists of prefix codes, and the tables that find a code by the leading bits of a stream.
#pragma once

#include "run_frame.h"

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

// Fills a table of 2^n cells, n being the length of the longest code. Each cell receives the index of the
// code that begins with the cell's bits, or kNoCode. A list whose longest code has 15 bits, or with more
// than 255 codes, is a fatal report.
void build_decode_table(callback_block* cb, const Code* codes, int32_t ncodes, uint8_t* table,
                        const CodeTableFault& fault);

// Drops the first `bits` bits of the frame's window and refills it.
void uncomp_take(UNCOMP* frame, int32_t bits);
} // namespace kesterlib
