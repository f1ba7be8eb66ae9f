// Prefix codes as lists, and the tables that find a code by the leading bits of a stream.
#pragma once

#include "frame.h"

#include <cstdint>

namespace kesterlib
{
struct Code {
    uint16_t bits;  // left-aligned
    uint8_t length; // 0: no code of the stream
};

constexpr uint8_t kNoCode = 255;

// How a fault of a list itself is reported.
struct CodeTableFault {
    const char* expression;
    const char* text;
    const char* file;
};

// Fills the 2 to the longest length cells of table with the index of the code that begins with the cell's
// bits, or with kNoCode. A list with codes of 15 bits or of more than 255 codes is a fatal report.
void build_decode_table(callback_block* cb, const Code* codes, int32_t ncodes, uint8_t* table,
                        const CodeTableFault& fault);

// Drops bits of the frame's window and tops it up.
void uncomp_take(UNCOMP* frame, int32_t bits);
} // namespace kesterlib
