// SPDX-License-Identifier: MIT
// The Squeeze codes, the tables made from them, and what the row loops share: decoding single codes and raw
// rows.
#pragma once

#include "run_frame.h"

namespace kesterlib
{
// Number of add codes, since a vertical code or the row's start, from which table B is used.
constexpr int32_t kTableBCodesFrom = 3;

// The codes in the leading bits of a window. If `lanes` is not 0: up to kLanes vertical codes, with their
// offsets in a row of UnsqzTables::offsets. Else an add code: if `second` is not 0, with both runs, none of
// them extended; else with an extension.
struct Probe {
    uint8_t length; // bits of all codes; for an add code with an extension, its bits without the second run
    uint8_t lanes;  // a 1 bit for each vertical code, from the lowest on
    uint8_t first;  // first run of an add code; 0: a long run
    uint8_t second; // second run of an add code; 0: an extension follows the code or the second run
};

constexpr int kProbeBits = 12;
constexpr int kProbeBitsB = 7; // the longest code of table B, and a second run
struct UnsqzTables {
    alignas(64) int8_t offsets[1 << kProbeBits][kLanes]; // table A: offsets of the codes in the probe, else 0
    Probe probe_a[1 << kProbeBits];
    Probe probe_b[1 << kProbeBitsB]; // holds one vertical code, or one add code
    int8_t offset_b[1 << kProbeBitsB];

    // Index of the code by the leading bits, for single codes.
    uint8_t index_a[1 << 7];
    uint8_t index_b[1 << 5];
};
extern const UnsqzTables unsqz_tables;
extern const int8_t kVerticalLength[7]; // bits of the vertical codes in table A, by offset + 3

// The state of a row between two codes.
struct RowState {
    int32_t* out;       // next entry in cur_list
    const int32_t* ref; // current entry of ref_list
    int32_t position;   // a0
    int32_t adds;       // add codes since the row's start or the last vertical code, at most kTableBCodesFrom
};

enum class Step { More, RowDone, Failed };

// Decodes one code from the frame's own window. After a failure the frame has the message.
Step unsqz_single_code(Frame* frame, RowState* row);
// Copies the raw row after a start byte of 0x80, which is the first byte in the window. If `row` is null,
// copies it into the frame's memory only.
void unsqz_raw_row(Frame* frame, uint8_t* row);

// The row loop of one instruction set; see Unsqz_Decode. With a null buffer and a stride of 0 it is
// Unsqz_Discard.
using UnsqzRowLoop = int32_t(Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride);
UnsqzRowLoop unsqz_rows_plain;
UnsqzRowLoop unsqz_rows_avx2;   // only for machines with AVX2
UnsqzRowLoop* unsqz_row_loop(); // the fastest for this machine
} // namespace kesterlib
