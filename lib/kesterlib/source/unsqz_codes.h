// The Squeeze codes, the tables made from them, and what the row loops share: the step by single codes and
// raw rows.
#pragma once

#include "frame.h"

namespace kesterlib
{
constexpr int32_t kTableBCodesFrom = 3; // add codes since the last vertical one, from which table B is in use

// What the leading bits of a window hold. With lanes set: that many vertical codes, at most kLanes of them,
// their offsets in a row of kOffsets. With first set: an add code and its second run, both without an
// extension. Else an add code with one.
struct Probe {
    uint8_t length; // bits of all codes; for an add code with an extension, its bits without the second run
    uint8_t lanes;  // a bit for each vertical code, from the lowest on
    uint8_t first;  // runs of an add code; first 0 where it is long
    uint8_t second; // 0 where an extension follows the code, or follows the second run
};

constexpr int kProbeBits = 12;
constexpr int kProbeBitsB = 7; // the longest code of table B and a second run
struct UnsqzTables {
    alignas(64) int8_t offsets[1 << kProbeBits][kLanes]; // table A: of the codes in the probe, else 0
    Probe probe_a[1 << kProbeBits];
    Probe probe_b[1 << kProbeBitsB]; // one vertical code, or an add code
    int8_t offset_b[1 << kProbeBitsB];

    // Code index by the leading bits; for single codes.
    uint8_t index_a[1 << 7];
    uint8_t index_b[1 << 5];
};
extern UnsqzTables unsqz_tables;
extern const int8_t kVerticalLength[7]; // bits in table A, by offset + 3

// Where a row stands between two codes.
struct RowState {
    int32_t* out;       // place of the next entry in cur_list
    const int32_t* ref; // entry r of ref_list
    int32_t position;   // a0
    int32_t adds;       // add codes since the row's start or the last vertical code, at most kTableBCodesFrom
};

enum class Step { More, RowDone, Failed };

// One code out of the frame's own window; the text of a failure is in the frame.
Step unsqz_single_code(Frame* frame, RowState* row);
// The row behind a start byte of 0x80 that stands in the window's first byte.
void unsqz_raw_row(Frame* frame, uint8_t* row);

// The row loops of one instruction set each; the contract is Unsqz_Decode's.
using UnsqzRowLoop = int32_t(Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride);
UnsqzRowLoop unsqz_rows_plain;
UnsqzRowLoop unsqz_rows_avx2;   // on a machine that has it
UnsqzRowLoop* unsqz_row_loop(); // the fastest for this machine
} // namespace kesterlib
