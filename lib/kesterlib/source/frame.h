// What the run decoders share behind UNCOMP: making a frame, its input, its lists of transitions and its
// painter. Given a callback block or mapped bytes; hands on rows.
#pragma once

#include "kesterlib/uncompress.h"

#include <cstddef>
#include <cstdint>

static_assert(sizeof(size_t) >= sizeof(int64_t), "only for 64-bit systems");

namespace kesterlib
{
// The words of a row whose list would leave its place, or that refers behind the list above.
constexpr const char* kTooManyRuns = "number of runs must not overrun buffer";

// 0x81 starts no row of Squeeze, and in Group 4 no code follows its first bit: past the end of its input a
// decoder meets it and fails.
constexpr uint8_t kFiller = 0x81;

// Entries of a list beside one for each pixel: head and four sentinels.
constexpr int32_t kListOverhead = 1 + 4;
constexpr int64_t kLargestListBlock = int64_t{256} << 20; // bytes of both lists together

// Behind a closed list stand up to this many entries of kBehindList, so that a vector of entries can be read
// from any place in the list. They are larger than any position: a code that refers to one seems to end the
// row, and whoever ends a row asks whether the entry was one of the list's.
constexpr int32_t kLanes = 8;
constexpr int32_t kBehindList = 0x40000000;
// Runs that reach behind the row are cut here: all that counts is that they do, and nothing overflows.
constexpr int32_t kFarBehindRow = 0x10000000;
constexpr int32_t kLongestRunCode = 2560;             // that one run may lead further
static_assert(kFarBehindRow > kLargestListBlock / 8); // no row is as long: its lists take eight bytes a pixel
static_assert(2 * (kFarBehindRow + kLongestRunCode) < kBehindList);

// UNCOMP comes first, so that a frame can be given out and freed as one.
struct Frame {
    UNCOMP base;

    int32_t ref_count;       // entries of ref_list, head and copies of the row length included
    int32_t ref_transitions; // those between head and copies
    const uint8_t* raw_row;  // the row above, where its list is still to be made from it; else null
    uint64_t* words;         // one row, all zero between paints; or the copy of a raw row
    bool words_hold_row;     // the latter
    bool finished;           // a row has failed: there are no more
    bool ref_rises;          // Group 4: each entry of ref_list is above the one before, up to the first copy

    // The end of the data, once a read has met it: the first filler byte in in_buffer, and how many filler
    // bytes earlier buffers held. Null before that.
    const uint8_t* filler;
    int32_t filler_before;
    int32_t first_suspicious[3]; // row by reason, in the order of the UNCOMP_ bits; -1 for none
};

// Notes reasons to doubt the row at hand, which is number rows_done. Only the first row of each reason
// counts.
void uncomp_note(Frame* frame, int32_t reasons);
// Notes the row at hand if it used filler. Call after its last bit is taken, and only if frame->filler is
// set.
void uncomp_note_filler(Frame* frame);

// A frame over the block's input, or, with a base, over the size bytes there and then nothing; its row above
// stands. With owns_cb the block, which may be null, goes with the frame, and goes where there is none. Null
// where a side is below 0, the width above 8 * row_bytes, the lists were too large, or there was no block or
// memory.
Frame* uncomp_open(callback_block* cb, bool owns_cb, const uint8_t* base, size_t size, int32_t width,
                   int32_t row_bytes, const uint8_t* first_ref_row, int64_t row_length);
// A block for a frame over a stream, without which there is a fatal report in the name of expression and
// source. Null where there is no memory.
callback_block* stream_block(FILE* file, const char* expression, const char* source);
// A block for a frame over mapped bytes: it has no input of its own. Null where there is no memory.
callback_block* mapped_block();

// The row above the first one: packed, or null for a row of 0.
void uncomp_set_reference(Frame* frame, const uint8_t* first_ref_row, int32_t row_length);

// The window is empty before, and holds 16 to 23 bits afterwards.
void uncomp_start_bits(UNCOMP* frame);
void uncomp_load_bits(UNCOMP* frame);
// Fetches the next 512 bytes; what the input has no more of is filler. Returns the new in_ptr.
const uint8_t* uncomp_refill(UNCOMP* frame);

// A list into a packed row, a run at a time: clears nbytes of row, then sets the runs up to width. Whatever
// is in the list, nothing outside nbytes is written. The list may run up to endtrans; that it was longer is a
// fatal report.
void uncomp_paint_row(callback_block* cb, uint8_t* row, const int32_t* trans, const int32_t* endtrans,
                      int32_t nbytes, int32_t width);

// Ends a list of `count` entries, the last of which may reach behind the row and be dropped or kept; appends
// up to four copies of the row length and the entries behind the list. Gives the entries with copies, or 0
// where there was no room for four of them, those that the row itself ended with included. *transitions
// becomes the count of entries behind the head that are below the row length.
enum class Overshoot { Dropped, Kept };
int32_t uncomp_close_list(int32_t* list, const int32_t* end, int32_t count, int32_t row_length,
                          Overshoot overshoot, int32_t* transitions);

// The list of a packed row; see getruns.cpp. Gives the entries before the three sentinels, the head included.
int32_t getruns(callback_block* cb, const uint8_t* row, int32_t width, int32_t* runs, const int32_t* endruns);

// The reference list from a raw row that stands for it, if one does.
void uncomp_list_raw_row(Frame* frame, int32_t row_length);
void uncomp_forget_raw_row(Frame* frame);
// A raw row in the caller's memory is kept before the call returns to him.
void uncomp_keep_raw_row(Frame* frame);

// Of this file's own in each that includes it: what is compiled for one machine's instructions must not be
// called by what is compiled for every machine.
namespace
{
// Bits of the row's last byte that are pixels stay, those behind the width become 0.
[[maybe_unused]] inline void uncomp_clip_row(uint8_t* row, int32_t nbytes, int32_t width)
{
    if (nbytes > 0 && nbytes == width / 8 + (width % 8 != 0) && width % 8 != 0)
        row[nbytes - 1] = static_cast<uint8_t>(row[nbytes - 1] & (0xFF00 >> (width % 8)));
}

[[maybe_unused]] inline void uncomp_count_row(UNCOMP* frame)
{
    frame->rows_done += frame->rows_done < INT32_MAX; // Group 4 delivers white rows without end
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
