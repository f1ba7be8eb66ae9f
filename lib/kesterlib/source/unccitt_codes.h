// SPDX-License-Identifier: MIT
// The Group 4 codes, the tables made from them, and what the row loops share.
#pragma once

#include "run_frame.h"

namespace kesterlib
{
constexpr const char* kTooManyRunsAllocated = "number of runs must not overrun buffer allocated";

// The codes in the leading bits of a window: up to kLanes vertical codes, with their offsets in a row of
// Unccitt4Tables::offsets; or one code of another mode.
struct ModeProbe {
    uint8_t length;       // bits of all codes
    uint8_t lanes;        // a 1 bit for each vertical code, from the lowest on
    uint8_t mode;         // index of the first code's mode, or kNoCode
    uint8_t first_length; // bits of the first code
};

constexpr int kModeBits = 12;  // the longest mode code
constexpr int kWhiteBits = 12; // the longest white run code
constexpr int kBlackBits = 13;
constexpr int kMakeUpFrom = 64; // the shortest make-up code; terminating codes are shorter
struct Unccitt4Tables {
    alignas(64) int8_t offsets[1 << kModeBits][kLanes];
    ModeProbe modes[1 << kModeBits];
    // 16 * run + length of the code; 0: no code.
    uint16_t white[1 << kWhiteBits];
    uint16_t black[1 << kBlackBits];
};
extern const Unccitt4Tables unccitt4_tables;

enum Mode : uint8_t {
    kEndOfLine,
    kPass,
    kHorizontal,
    kVerticalLeft3,
    kVertical0 = 6,
    kVerticalRight3 = 9,
    kModes
};
extern const int8_t kModeLength[kModes]; // bits

// The state of a row between two codes.
struct Group4Row {
    int32_t* out;       // next entry in cur_list; an entry of odd number starts a black run
    const int32_t* ref; // b1: the entry of ref_list that a vertical code refers to
    int32_t position;   // a0
};

enum class Group4Step { More, RowDone, Failed, EndOfLine };

// Decodes one code from the frame's own window. After a failure that has a message, the frame has it.
Group4Step unccitt4_single_code(Frame* frame, Group4Row* row);

// The row loop of one instruction set; see Unccitt4_Decode.
using Unccitt4RowLoop = int32_t(Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride);
Unccitt4RowLoop unccitt4_rows_plain;
Unccitt4RowLoop unccitt4_rows_avx2;   // only for machines with AVX2
Unccitt4RowLoop* unccitt4_row_loop(); // the fastest for this machine
} // namespace kesterlib
