// The Group 4 codes, the tables made from them, and what the row loops share.
#pragma once

#include "frame.h"

namespace kesterlib
{
constexpr const char* kTooManyRunsAllocated = "number of runs must not overrun buffer allocated";

// What the leading bits of a window hold: vertical codes, at most kLanes of them, their offsets in a row of
// offsets; or one other mode.
struct ModeProbe {
    uint8_t length;       // bits of all codes
    uint8_t lanes;        // a bit for each vertical code, from the lowest on
    uint8_t mode;         // index of the first code's mode, or kNoCode
    uint8_t first_length; // bits of the first code
};

constexpr int kModeBits = 12;  // the longest mode code
constexpr int kWhiteBits = 12; // the longest white run code
constexpr int kBlackBits = 13;
constexpr int kMakeUpFrom = 64; // runs of make-up codes; those of terminating ones are below
struct Unccitt4Tables {
    alignas(64) int8_t offsets[1 << kModeBits][kLanes];
    ModeProbe modes[1 << kModeBits];
    // Run times 16, and the code's length; 0 where there is no code.
    uint16_t white[1 << kWhiteBits];
    uint16_t black[1 << kBlackBits];
};
extern Unccitt4Tables unccitt4_tables;

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

// Where a row stands between two codes.
struct Group4Row {
    int32_t* out;       // place of the next entry in cur_list; an odd one begins a black run
    const int32_t* ref; // b1: the entry of ref_list that a vertical code refers to
    int32_t position;   // a0
};

enum class Group4Step { More, RowDone, Failed, EndOfLine };

// One code out of the frame's own window; the text of a failure, if it has one, is in the frame.
Group4Step unccitt4_single_code(Frame* frame, Group4Row* row);

// The row loops of one instruction set each; the contract is Unccitt4_Decode's.
using Unccitt4RowLoop = int32_t(Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride);
Unccitt4RowLoop unccitt4_rows_plain;
Unccitt4RowLoop unccitt4_rows_avx2;   // on a machine that has it
Unccitt4RowLoop* unccitt4_row_loop(); // the fastest for this machine
} // namespace kesterlib
