// SPDX-License-Identifier: MIT
// Shared by the run decoders: the whole frame, of which UNCOMP is the public part; its input, its lists of
// transitions, and its painter.
#pragma once

#include "kesterlib/uncompress.h"

#include <cstddef>
#include <cstdint>

static_assert(sizeof(size_t) >= sizeof(int64_t), "only for 64-bit systems");

namespace kesterlib
{
// Message of a row whose list would exceed its memory, or that refers to an entry after the list above.
constexpr const char* kTooManyRuns = "number of runs must not overrun buffer";

// The byte that follows the end of the input. In Squeeze no row starts with 0x81, and in Group 4 no code
// follows its first bit. So a decoder fails soon after the end of its input.
constexpr uint8_t kFiller = 0x81;

// Entries of a list, in addition to one for each pixel: the head and four sentinels.
constexpr int32_t kListOverhead = 1 + 4;
constexpr int64_t kLargestListBlock = int64_t{256} << 20; // bytes of both lists together

// A closed list is followed by up to kLanes entries of kAfterList, so that kLanes entries can be read from
// any place in the list. They are larger than any position. A code that refers to one of them seems to end
// the row, so the code that ends a row must check that the entry belongs to the list.
constexpr int32_t kLanes = 8;
constexpr int32_t kAfterList = 0x40000000;
// A position after every row. Larger positions are clamped to it, so that sums cannot overflow. It only
// matters that they are after the row.
constexpr int32_t kFarAfterRow = 0x10000000;
constexpr int32_t kLongestRunCode = 2560;            // largest run of a single code
static_assert(kFarAfterRow > kLargestListBlock / 8); // no row is as long: its lists take 8 bytes per pixel
static_assert(2 * (kFarAfterRow + kLongestRunCode) < kAfterList);

// UNCOMP comes first, so that a pointer to it is a pointer to the frame.
struct Frame {
    UNCOMP base;

    int32_t ref_count;       // entries of ref_list, with the head and the copies of the row length
    int32_t ref_transitions; // entries of ref_list between the head and the copies
    const uint8_t* raw_row;  // the row above while it has no list yet, else null
    uint64_t* words;         // memory of one row: all 0 between paints, or the copy of a raw row
    bool words_hold_row;     // words holds the copy of a raw row
    bool finished;           // a row has failed, so no more rows follow
    bool ref_ascends;        // Group 4: the entries of ref_list ascend strictly, up to the first copy

    const uint8_t* filler; // first filler byte in in_buffer; null until a read has met the end of the input
    int32_t filler_before; // filler bytes in earlier buffers
    int32_t first_suspicious[3]; // first row with each reason, in the order of the UNCOMP_ bits; -1: none

    int32_t status;     // why the frame is finished
    int32_t fault_bits; // bits after those taken that show why the row failed: of a code that is none
    bool memory_only;   // the input is in memory, and the slots of the block are not called for more
    bool read_failed;   // a read ended with an error
};

// Notes reasons to doubt the current row, number rows_done. Only the first row with each reason is kept.
void uncomp_note(Frame* frame, int32_t reasons);
// Notes the current row if it used filler. Call this after the last bit of the row is taken, and only if
// frame->filler is set.
void uncomp_note_filler(Frame* frame);
// Ends the frame because the current row has failed. Call this with the window after the last bit of the row
// that was taken. Sets the status.
void uncomp_finish(Frame* frame);

// Who owns the block of a frame, and what supplies the input after the input in memory.
enum class Block {
    Callers,               // the caller owns it; its fread slot supplies the input
    Callers_without_input, // the caller owns it; there is no input but that in memory
    Own                    // made by the open function; its fread slot supplies the input
};

// Makes a frame.
//
//   cb             the callback block; null: the open fails
//   kind           Own: freeing the frame disposes of cb, and so does this function if the open fails
//   base, size     the input in memory; base null: none
//   width          pixels of a row
//   row_bytes      bytes of a row
//   first_ref_row  packed row above the first row, or null for a row of 0
//   row_length     pixels of a row of transitions: width, or 8 * row_bytes
//
// Returns null if width or row_bytes is below 0, width is above 8 * row_bytes, the lists would be too
// large, or there is no block or no memory. Sets the status that kesterlib_open_status returns.
[[nodiscard]] Frame* uncomp_open(callback_block* cb, Block kind, const uint8_t* base, size_t size,
                                 int32_t width, int32_t row_bytes, const uint8_t* first_ref_row,
                                 int64_t row_length);
// Makes the block of a frame that reads a stream. A null `file` makes a fatal report, which names
// `expression` and `source`. Returns null if there is no memory.
[[nodiscard]] callback_block* stream_block(FILE* file, const char* expression, const char* source);
// Makes the block of a frame that reads from memory: the block has no input of its own. Returns null if
// there is no memory.
[[nodiscard]] callback_block* mapped_block();

// Sets the row above the first row: packed, or null for a row of 0.
void uncomp_set_reference(Frame* frame, const uint8_t* first_ref_row, int32_t row_length);

// Fill the bit window until it holds 16 to 23 bits. uncomp_start_bits empties it first.
void uncomp_start_bits(UNCOMP* frame);
void uncomp_load_bits(UNCOMP* frame);
// Returns whether the input has an error, as its ferror slot says.
[[nodiscard]] bool uncomp_input_failed(Frame* frame);
// Reads the next 512 bytes into in_buffer. Filler replaces those that the input does not have. Returns the
// new in_ptr.
const uint8_t* uncomp_refill(UNCOMP* frame);

// Paints a list into a packed row, a run at a time: sets nbytes of row to 0, then the runs up to width to
// 1. Writes nothing outside nbytes, for any list. A list that does not end before endtrans is
// a fatal report.
void uncomp_paint_row(callback_block* cb, uint8_t* row, const int32_t* trans, const int32_t* endtrans,
                      int32_t nbytes, int32_t width);

// Closes a list of `count` entries: appends up to four copies of the row length, and the entries of
// kAfterList. Trailing entries may lie after the row; `overshoot` says whether those are dropped or kept.
//
// Sets *transitions to the number of entries after the head that are below the row length. Returns the
// number of entries with the copies. Returns 0 if the list does not end with at least four entries at or
// after the row length.
enum class Overshoot { Dropped, Kept };
[[nodiscard]] int32_t uncomp_close_list(int32_t* list, const int32_t* end, int32_t count, int32_t row_length,
                                        Overshoot overshoot, int32_t* transitions);

// Makes the list of a packed row; see getruns.cpp. Returns the number of entries before the three
// sentinels, with the head.
int32_t getruns(callback_block* cb, const uint8_t* row, int32_t width, int32_t* runs, const int32_t* endruns);

// If a raw row is the row above, makes ref_list from it.
void uncomp_list_raw_row(Frame* frame, int32_t row_length);
void uncomp_forget_raw_row(Frame* frame);
// Copies a raw row that is in the caller's memory. Call this before control returns to the caller.
void uncomp_keep_raw_row(Frame* frame);

// In an unnamed namespace, so that each source has its own copy: code compiled for every machine must not
// call code compiled for one machine's instructions.
namespace
{
// Sets the bits after the width in the row's last byte to 0.
[[maybe_unused]] inline void uncomp_clip_row(uint8_t* row, int32_t nbytes, int32_t width)
{
    if (nbytes > 0 && nbytes == width / 8 + (width % 8 != 0) && width % 8 != 0)
        row[nbytes - 1] = static_cast<uint8_t>(row[nbytes - 1] & (0xFF00 >> (width % 8)));
}

[[maybe_unused]] inline void uncomp_count_row(UNCOMP* frame)
{
    frame->rows_done += frame->rows_done < INT32_MAX; // Group 4 delivers any number of white rows
}

[[maybe_unused]] inline void uncomp_swap_lists(UNCOMP* frame)
{
    int32_t* const list = frame->cur_list;
    int32_t* const end = frame->cur_end;
    frame->cur_list = frame->ref_list;
    frame->cur_end = frame->ref_end;
    frame->ref_list = list;
    frame->ref_end = end;
}
} // namespace
} // namespace kesterlib
