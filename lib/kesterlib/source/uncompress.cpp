// SPDX-License-Identifier: MIT
// The frame of the run decoders: its memory, its input with filler, and the painter of lists.
#include "open_status.h"
#include "read_up_to.h"
#include "run_frame.h"

#include <cstring>

namespace kesterlib
{
namespace
{
constexpr const char* kFrameMemory = "UNCOMP struct";
constexpr const char* kListMemory = "transition buffer";
constexpr const char* kWordsMemory = "row of words";
constexpr const char* kReadError = "Error reading file";

// Bits of a byte: from pixel k to its end; before pixel k; from pixel `start` to `stop`, not including
// `stop`.
constexpr uint8_t kFromPixel[8] = {0xFF, 0x7F, 0x3F, 0x1F, 0x0F, 0x07, 0x03, 0x01};
constexpr uint8_t kBeforePixel[8] = {0x00, 0x80, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE};
struct Between {
    uint8_t mask[8][8] = {};
    constexpr Between()
    {
        for (int start = 0; start < 8; ++start)
            for (int stop = start + 1; stop < 8; ++stop)
                mask[start][stop] = static_cast<uint8_t>(kFromPixel[start] & kBeforePixel[stop]);
    }
};
constexpr Between kBetween;

size_t memory_input_read(void*, size_t, size_t, FILE*)
{
    return 0;
}

int memory_input_eof(FILE*)
{
    return 1;
}

int memory_input_error(FILE*)
{
    return 0;
}

// Returns the frame. Sets the status of the open to that of a failure.
Frame* uncomp_make(callback_block* cb, int32_t width, int32_t row_bytes)
{
    if (width < 0 || row_bytes < 0 || width > int64_t{row_bytes} * 8) {
        set_open_status(KESTERLIB_NOT_SUPPORTED);
        return nullptr;
    }
    const int64_t list_entries = int64_t{row_bytes} * 8 + kListOverhead;
    const int64_t list_bytes = 2 * list_entries * static_cast<int64_t>(sizeof(int32_t));
    if (list_bytes > kLargestListBlock) {
        set_open_status(KESTERLIB_TOO_LARGE);
        return nullptr;
    }

    set_open_status(KESTERLIB_NO_MEMORY);
    const size_t row_words =
        static_cast<size_t>(row_bytes) / 8 + 1; // one more if a row ends at the end of a word
    const size_t words_bytes = (row_words + 1) * sizeof(uint64_t);
    auto* const frame = static_cast<Frame*>(callback_allocate(cb, sizeof(Frame), kFrameMemory));
    if (!frame)
        return nullptr;
    memset(frame, 0, sizeof(Frame));
    frame->words = static_cast<uint64_t*>(callback_allocate(cb, words_bytes, kWordsMemory));
    auto* const lists =
        frame->words
            ? static_cast<int32_t*>(callback_allocate(cb, static_cast<size_t>(list_bytes), kListMemory))
            : nullptr;
    if (!lists) {
        callback_deallocate(cb, frame->words, kWordsMemory);
        callback_deallocate(cb, frame, kFrameMemory);
        return nullptr;
    }
    memset(frame->words, 0, words_bytes);

    UNCOMP& base = frame->base;
    base.cb = cb;
    base.width = width;
    base.row_bytes = row_bytes;
    // The buffer is empty, and the first refill adds nothing to bytes_before.
    base.buf_start = base.in_buffer + UNCOMP_IN_BUFFER;
    base.in_ptr = base.buf_start;
    base.in_end = base.buf_start;
    base.list_block = lists;
    base.cur_list = lists;
    base.cur_end = lists + list_entries;
    base.ref_list = base.cur_end;
    base.ref_end = base.ref_list + list_entries;
    for (int32_t& row : frame->first_suspicious)
        row = -1;
    set_open_status(KESTERLIB_OK);
    return frame;
}

// Returns whether the row uses filler: in the bits taken, and `more` bits after them.
bool uses_filler(const Frame* frame, int32_t more)
{
    if (!frame->filler)
        return false;
    const UNCOMP& base = frame->base;
    const auto taken = static_cast<int32_t>(base.in_ptr - frame->filler); // bytes, with those in the window
    return int64_t{frame->filler_before + taken} * 8 + more > base.bitsloaded;
}
} // namespace

Frame* uncomp_open(callback_block* cb, Block kind, const uint8_t* base, size_t size, int32_t width,
                   int32_t row_bytes, const uint8_t* first_ref_row, int64_t row_length)
{
    const bool owns_cb = kind == Block::Own;
    Frame* const frame = cb ? uncomp_make(cb, width, row_bytes) : nullptr;
    if (!frame) {
        if (!cb) // either the caller passed no block, or there was no memory for one
            set_open_status(owns_cb ? KESTERLIB_NO_MEMORY : KESTERLIB_NOT_SUPPORTED);
        if (owns_cb)
            dispose_callback_block(cb);
        return nullptr;
    }
    frame->base.owns_cb = owns_cb;
    frame->memory_only = kind == Block::Callers_without_input;
    if (base) {
        frame->base.buf_start = base;
        frame->base.in_ptr = base;
        frame->base.in_end = base + size;
    }
    uncomp_set_reference(frame, first_ref_row, static_cast<int32_t>(row_length));
    return frame;
}

callback_block* stream_block(FILE* file, const char* expression, const char* source)
{
    callback_block* const block = make_unix_callback_block();
    if (!block)
        return nullptr;
    if (!file)
        callback_assertion_failed(block, expression, "a FILE must be supplied", source, __LINE__);
    set_callback_slot(CALLBACK_FILE, block, reinterpret_cast<callback_slot_value>(file));
    return block;
}

callback_block* mapped_block()
{
    callback_block* const block = make_unix_callback_block();
    if (!block)
        return nullptr;
    set_callback_slot(CALLBACK_FILE, block, 0);
    set_callback_slot(CALLBACK_FREAD, block, reinterpret_cast<callback_slot_value>(memory_input_read));
    set_callback_slot(CALLBACK_FEOF, block, reinterpret_cast<callback_slot_value>(memory_input_eof));
    set_callback_slot(CALLBACK_FERROR, block, reinterpret_cast<callback_slot_value>(memory_input_error));
    return block;
}

void uncomp_set_reference(Frame* frame, const uint8_t* first_ref_row, int32_t row_length)
{
    UNCOMP& base = frame->base;
    if (first_ref_row) {
        frame->raw_row = first_ref_row;
        uncomp_list_raw_row(frame, row_length);
        return;
    }
    constexpr int32_t kCopies = 3;
    base.ref_list[0] = 0;
    int32_t count = 1;
    while (count <= kCopies)
        base.ref_list[count++] = row_length;
    frame->ref_count = count;
    frame->ref_transitions = 0;
    for (int32_t i = count; i < count + kLanes && base.ref_list + i < base.ref_end; ++i)
        base.ref_list[i] = kAfterList;
}

void uncomp_list_raw_row(Frame* frame, int32_t row_length)
{
    if (!frame->raw_row)
        return;
    UNCOMP& base = frame->base;
    const int32_t count = getruns(base.cb, frame->raw_row, row_length, base.ref_list, base.ref_end);
    frame->ref_count = count + 3; // getruns appends three copies
    frame->ref_transitions = count - 1;
    for (int32_t i = frame->ref_count; i < frame->ref_count + kLanes && base.ref_list + i < base.ref_end; ++i)
        base.ref_list[i] = kAfterList;
    uncomp_forget_raw_row(frame);
}

void uncomp_forget_raw_row(Frame* frame)
{
    frame->raw_row = nullptr;
    if (!frame->words_hold_row)
        return;
    memset(frame->words, 0, static_cast<size_t>(frame->base.row_bytes));
    frame->words_hold_row = false;
}

void uncomp_keep_raw_row(Frame* frame)
{
    if (!frame->raw_row || frame->words_hold_row)
        return;
    memcpy(frame->words, frame->raw_row, static_cast<size_t>(frame->base.row_bytes));
    frame->raw_row = reinterpret_cast<const uint8_t*>(frame->words);
    frame->words_hold_row = true;
}

int32_t uncomp_close_list(int32_t* list, const int32_t* end, int32_t count, int32_t row_length,
                          Overshoot overshoot, int32_t* transitions)
{
    constexpr int32_t kCopies = 4;
    if (overshoot == Overshoot::Dropped)
        while (count > 1 && list[count - 1] > row_length)
            --count;
    int32_t kept = 0;
    while (count - 1 - kept > 0 && list[count - 1 - kept] >= row_length)
        ++kept;
    *transitions = count - 1 - kept;
    const auto room = static_cast<int32_t>(end - list);
    if (room - count >= kCopies + kLanes) {
        for (int32_t i = 0; i < kCopies; ++i)
            list[count++] = row_length;
        for (int32_t i = 0; i < kLanes; ++i)
            list[count + i] = kAfterList;
        return count;
    }
    int32_t copies = kept;
    for (int32_t i = 0; i < kCopies && count < room; ++i, ++copies)
        list[count++] = row_length;
    for (int32_t i = count; i < count + kLanes && i < room; ++i)
        list[i] = kAfterList;
    return copies < kCopies ? 0 : count;
}

void uncomp_start_bits(UNCOMP* frame)
{
    frame->bits_hi = 0;
    frame->bits_lo = 0;
    frame->bitsloaded = 0;
    frame->rows_done = 0;
    uncomp_load_bits(frame);
}

void uncomp_load_bits(UNCOMP* frame)
{
    uint32_t window = uint32_t{frame->bits_hi} << 16 | frame->bits_lo;
    while (frame->bitsloaded < 16) {
        if (frame->in_ptr == frame->in_end)
            uncomp_refill(frame);
        window |= uint32_t{*frame->in_ptr++} << (24 - frame->bitsloaded);
        frame->bitsloaded += 8;
    }
    frame->bits_hi = static_cast<uint16_t>(window >> 16);
    frame->bits_lo = static_cast<uint16_t>(window);
}

bool uncomp_input_failed(Frame* frame)
{
    return !frame->memory_only && callback_ferror(frame->base.cb) != 0;
}

const uint8_t* uncomp_refill(UNCOMP* frame)
{
    auto* const whole = reinterpret_cast<Frame*>(frame);
    const auto used = static_cast<uint32_t>(frame->in_ptr - frame->buf_start);
    frame->bytes_before = static_cast<int32_t>(static_cast<uint32_t>(frame->bytes_before) + used);
    const size_t arrived = whole->memory_only ? 0 : read_up_to(frame->cb, frame->in_buffer, UNCOMP_IN_BUFFER);
    if (arrived < UNCOMP_IN_BUFFER && uncomp_input_failed(whole)) {
        whole->read_failed = true;
        frame->error_text = kReadError;
        callback_perror(frame->cb, kReadError);
    }
    if (whole->filler) {
        constexpr int32_t kEnough = 1 << 20; // bytes; larger counts have the same meaning
        const auto more = static_cast<int32_t>(frame->in_end - whole->filler);
        whole->filler_before = whole->filler_before < kEnough ? whole->filler_before + more : kEnough;
        whole->filler = frame->in_buffer;
    }
    if (arrived < UNCOMP_IN_BUFFER) {
        memset(frame->in_buffer + arrived, kFiller, UNCOMP_IN_BUFFER - arrived);
        if (!whole->filler)
            whole->filler = frame->in_buffer + arrived;
    }
    frame->buf_start = frame->in_buffer;
    frame->in_ptr = frame->in_buffer;
    frame->in_end = frame->in_buffer + UNCOMP_IN_BUFFER;
    return frame->in_ptr;
}

void uncomp_note(Frame* frame, int32_t reasons)
{
    for (int32_t& row : frame->first_suspicious) {
        if (reasons & 1 && row < 0)
            row = frame->base.rows_done;
        reasons >>= 1;
    }
}

void uncomp_note_filler(Frame* frame)
{
    if (uses_filler(frame, 0))
        uncomp_note(frame, UNCOMP_FILLER);
}

void uncomp_finish(Frame* frame)
{
    frame->finished = true;
    if (!uses_filler(frame, frame->fault_bits))
        frame->status = KESTERLIB_BAD_CODE;
    else
        frame->status = frame->read_failed ? KESTERLIB_READ_ERROR : KESTERLIB_CUT_OFF;
}

void uncomp_paint_row(callback_block* cb, uint8_t* row, const int32_t* trans, const int32_t* endtrans,
                      int32_t nbytes, int32_t width)
{
    if (nbytes > 0)
        memset(row, 0, static_cast<size_t>(nbytes));
    ++trans; // skip the head
    while (trans < endtrans) {
        int32_t start = *trans++;
        if (start >= width || trans >= endtrans)
            break;
        int32_t stop = *trans++;
        if (stop > width)
            stop = width;
        start = start < 0 ? 0 : start;
        stop = stop < 0 ? 0 : stop;
        const int32_t first = start >> 3;
        const int32_t last = stop >> 3;
        if (first == last) {
            if (first < nbytes)
                row[first] |= kBetween.mask[start & 7][stop & 7];
            continue;
        }
        if (first < nbytes)
            row[first] |= kFromPixel[start & 7];
        for (int32_t byte = first + 1; byte < last && byte < nbytes; ++byte)
            row[byte] = 0xFF;
        if (last < nbytes && (stop & 7) != 0)
            row[last] |= kBeforePixel[stop & 7];
    }
    uncomp_clip_row(row, nbytes, width); // a pair in descending order may have reached there
    if (trans >= endtrans)
        callback_assertion_failed(cb, "trans<endtrans", "number of transitions must not overrun buffer",
                                  "uncompress", __LINE__);
}
} // namespace kesterlib

void Uncomp_Free(UNCOMP* frame)
{
    if (!frame)
        return;
    callback_block* const cb = frame->cb;
    const bool owns_cb = frame->owns_cb != 0;
    callback_deallocate(cb, reinterpret_cast<kesterlib::Frame*>(frame)->words, kesterlib::kWordsMemory);
    callback_deallocate(cb, frame->list_block, kesterlib::kListMemory);
    callback_deallocate(cb, frame, kesterlib::kFrameMemory);
    if (owns_cb)
        dispose_callback_block(cb);
}

int32_t Uncomp_First_Suspicious_Row(const UNCOMP* frame, int32_t reasons)
{
    int32_t first = -1;
    for (const int32_t row : reinterpret_cast<const kesterlib::Frame*>(frame)->first_suspicious) {
        if (reasons & 1 && row >= 0 && (first < 0 || row < first))
            first = row;
        reasons >>= 1;
    }
    return first;
}

const char* Uncomp_Error_String(const UNCOMP* frame)
{
    return frame->error_text;
}

int32_t Uncomp_Status(const UNCOMP* frame)
{
    return reinterpret_cast<const kesterlib::Frame*>(frame)->status;
}

int32_t Uncomp_Rows_Done(const UNCOMP* frame)
{
    return frame->rows_done;
}
