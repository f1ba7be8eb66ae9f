// SPDX-License-Identifier: MIT
// The public functions of the JBIG decoder: they check the header, deliver rows and make reports.
#include "kesterlib/files.h"
#include "kesterlib/jbig.h"

#include "open_status.h"
#include "qdecoder.h"
#include "run_frame.h"
#include "trace.h"

#include <cstring>

namespace kesterlib
{
namespace
{
constexpr const char* kSource = "jbigdecode";
constexpr const char* kNoEndMarker = "End of file not in JBIG format";
constexpr uint8_t kMarker = 0xFF;
constexpr uint32_t kWidthLimit = 0x7ffffff8; // refused from this width on: columns may exceed int32_t

struct HeaderByte {
    int32_t at;
    uint8_t wanted;
    const char* text; // message if the byte differs
};
constexpr HeaderByte kHeaderBytes[] = {
    {0, 0, "BIE Byte 0 (initial resolution) /= 0"},
    {1, 0, "BIE Byte 1 (final resolution) /= 0"},
    {2, 1, "BIE Byte 2 (number of bitplanes) /= 1"},
    {3, 0, "BIE Byte 3 (spare) /=0"},
    {16, 0, "BIE Byte 16 ( MX ) /= 0"},
    {17, 0, "BIE Byte 17 ( MY ) /= 0"},
    {18, 0, "BIE Byte 18 ( BIH spec ) /= 0"},
    {19, 0, "BIE Byte 19 ( options ) /= 0"},
};

uint32_t number_at(const uint8_t* bytes)
{
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// Returns whether a byte after 0xFF is the end marker SDNORM or SDRST.
bool is_stripe_end(uint8_t marker)
{
    return marker == 0x02 || marker == 0x03;
}

int32_t clamped_to_int32(int64_t value)
{
    return value > INT32_MAX ? INT32_MAX : value < 0 ? 0 : static_cast<int32_t>(value);
}

// Returns the record, or null if there is no block or no memory.
jbig_data* jbig_make_data(callback_block* block, const jbig_limits* limits)
{
    set_open_status(block ? KESTERLIB_NO_MEMORY : KESTERLIB_NOT_SUPPORTED);
    auto* const decoder =
        block ? static_cast<Decoder*>(callback_allocate(block, sizeof(Decoder), "jbig data object"))
              : nullptr;
    if (!decoder)
        return nullptr;
    memset(decoder, 0, sizeof *decoder);
    decoder->first_row_after_data = -1;
    if (limits)
        decoder->limits = *limits;
    decoder->row_loop = jbig_row_loop();
    decoder->base.block = block;
    return &decoder->base;
}

// Closes a decoder whose open failed, and sets the status of the open. Returns null.
jbig_data* jbig_refuse(jbig_data* dat)
{
    const int32_t status = reinterpret_cast<const Decoder*>(dat)->status;
    Jbig_Close_Input(dat);
    set_open_status(status);
    return nullptr;
}

// Checks the end marker at the end of the input, and sets bytes_left. Then seeks back to the start.
bool jbig_check_eof_marker(jbig_data* dat)
{
    callback_block* const block = dat->block;
    const long start = callback_ftell(block);
    int32_t status = KESTERLIB_CUT_OFF;
    bool good = callback_fseek(block, -kEndMarkerBytes, SEEK_END) == 0;
    if (!good) {
        status = KESTERLIB_READ_ERROR;
        callback_perror(block, "seeking EOF -2");
    } else {
        dat->bytes_left = clamped_to_int32(int64_t{callback_ftell(block)} + kEndMarkerBytes - start);
        const auto read = [dat, block, &status](uint8_t* byte) {
            const bool there = callback_read_byte(block, byte) != 0;
            if (!there)
                status = jbig_status_of_short_read(dat);
            return there;
        };
        uint8_t byte = 0;
        good = read(&byte) && byte == kMarker && read(&byte) && is_stripe_end(byte);
    }
    if (!good) {
        jbig_note_status(dat, status);
        jbig_error(dat, kNoEndMarker, __LINE__, kSource);
        return false;
    }
    if (callback_fseek(block, start, SEEK_SET) != 0) {
        jbig_note_status(dat, KESTERLIB_READ_ERROR);
        callback_perror(block, "Seek failed");
        return false;
    }
    return true;
}

bool jbig_check_eof_marker_mapped(jbig_data* dat, size_t length)
{
    if (length >= kEndMarkerBytes && dat->io_buffer_end[0] == kMarker && is_stripe_end(dat->io_buffer_end[1]))
        return true;
    jbig_note_status(dat, KESTERLIB_CUT_OFF);
    jbig_error(dat, kNoEndMarker, __LINE__, kSource);
    return false;
}

// Reads the header and reports every fault in it. Sizes are checked here, before memory is allocated for
// them.
bool jbig_read_bih(jbig_data* dat)
{
    const uint8_t* addr = dat->io_buffer;
    if (dat->io_buffer_end - addr < READ_BIH_BYTES) {
        callback_assertion_failed(dat->block, "addr+READ_BIH_BYTES<=addr_end", "read in buffer", kSource,
                                  __LINE__);
        jbig_note_status(dat, KESTERLIB_CUT_OFF);
        return false;
    }
    bool good = true;
    const auto fault = [dat, &good](int32_t status, const char* text, int32_t line) {
        jbig_note_status(dat, status);
        jbig_error(dat, text, line, kSource);
        good = false;
    };
    dat->bytes_left -= READ_BIH_BYTES;
    const auto check = [&addr, &fault](int32_t from, int32_t to) {
        for (const HeaderByte& byte : kHeaderBytes)
            if (byte.at >= from && byte.at < to && *addr++ != byte.wanted)
                fault(KESTERLIB_NOT_SUPPORTED, byte.text, __LINE__);
    };
    check(0, 4);
    uint32_t* const numbers[] = {&dat->width, &dat->height, &dat->stripe_lines};
    for (uint32_t* const number : numbers) {
        *number = number_at(addr);
        addr += sizeof *number;
    }
    if (dat->width == 0)
        fault(KESTERLIB_BAD_CODE, "BIE XD (width) is 0", __LINE__);
    if (dat->width >= kWidthLimit)
        fault(KESTERLIB_TOO_LARGE, "BIE XD (width) is too large", __LINE__);
    if (dat->stripe_lines == 0)
        fault(KESTERLIB_BAD_CODE, "BIE L0 (lines in a stripe) is 0", __LINE__);
    const uint64_t row_stride = (uint64_t{dat->width} + 7) / 8 + 2;
    const int64_t limit = reinterpret_cast<const Decoder*>(dat)->limits.stripe_bytes;
    constexpr uint64_t kMostBytes = JBIG_LARGEST_STRIPE;
    const uint64_t most_bytes =
        limit > 0 && limit < JBIG_LARGEST_STRIPE ? static_cast<uint64_t>(limit) : kMostBytes;
    if (dat->width < kWidthLimit && (uint64_t{dat->stripe_lines} + 2) * row_stride > most_bytes)
        fault(KESTERLIB_TOO_LARGE, "BIE stripe is too large", __LINE__);
    check(16, READ_BIH_BYTES);
    if (addr - dat->io_buffer != READ_BIH_BYTES)
        callback_assertion_failed(dat->block, "addr-dat->io_buffer == READ_BIH_BYTES",
                                  "processed the right number of bytes", kSource, __LINE__);
    dat->io_buffer = addr;
    return good;
}

// Completes the open. Takes ownership of the record: closes it if the open fails.
jbig_data* jbig_open_common(jbig_data* dat)
{
    if (!jbig_read_bih(dat)) {
        callback_message(dat->block, "not a .jbg file\n");
        return jbig_refuse(dat);
    }
    dat->row_bytes = (dat->width + 7) / 8;
    dat->row_stride = dat->row_bytes + 2;
    dat->adaptor = static_cast<uint8_t*>(callback_allocate(dat->block, JBIG_ADAPTOR_BYTES, "JBIG adaptor"));
    const size_t stripe_bytes = (size_t{dat->stripe_lines} + 2) * dat->row_stride;
    if (dat->adaptor) {
        jbig_reset_adaptor(dat);
        dat->stripe_buffer =
            static_cast<uint8_t*>(callback_allocate(dat->block, stripe_bytes, "stripe buffer"));
    }
    if (!dat->stripe_buffer) {
        jbig_note_status(dat, KESTERLIB_NO_MEMORY);
        return jbig_refuse(dat);
    }
    memset(dat->stripe_buffer, 0, stripe_bytes);
    dat->stripe_buffer_end = dat->stripe_buffer + stripe_bytes;
    dat->first_row = dat->stripe_buffer + size_t{2} * dat->row_stride + 1;
    dat->next_row = dat->first_row;
    KESTERLIB_TRACE_LINE(1, dat->block, "JBIG: width %u, height %u, %u rows per stripe\n", dat->width,
                         dat->height, dat->stripe_lines);
    set_open_status(KESTERLIB_OK);
    return dat;
}

// Returns the number of rows in the buffer that are not delivered yet. If there are none, decodes a stripe
// first. Returns 0 after an error.
int32_t undelivered_rows(jbig_data* dat)
{
    if (dat->lines_left < 1) {
        jbig_decode_stripe(dat);
        if (dat->error_count > 0)
            return 0;
    }
    return dat->lines_left;
}

void advance_rows(jbig_data* dat, int32_t rows)
{
    dat->next_row += static_cast<size_t>(rows) * dat->row_stride;
    dat->lines_left -= rows;
    dat->lines_delivered += static_cast<uint32_t>(rows);
    reinterpret_cast<Decoder*>(dat)->rows_done += rows;
}

// Skips whole stripes of the next rows if all are equal to the stripe in the buffer. Returns the number of
// rows skipped.
int32_t skip_same_stripes(jbig_data* dat, int32_t rows)
{
    if (!reinterpret_cast<const Decoder*>(dat)->repeats)
        return 0;
    const uint32_t stripes = static_cast<uint32_t>(rows) / dat->stripe_lines;
    const uint32_t passed = stripes * dat->stripe_lines;
    dat->stripe_number += stripes;
    dat->lines_delivered += passed;
    reinterpret_cast<Decoder*>(dat)->rows_done += passed;
    return static_cast<int32_t>(passed);
}
} // namespace

void jbig_note_status(jbig_data* dat, int32_t status)
{
    auto* const decoder = reinterpret_cast<Decoder*>(dat);
    if (decoder->status == KESTERLIB_OK)
        decoder->status = status;
}

int32_t jbig_status_of_short_read(jbig_data* dat)
{
    return input_has_failed(dat->block) ? KESTERLIB_READ_ERROR : KESTERLIB_CUT_OFF;
}

void jbig_error(jbig_data* dat, const char* text, int32_t line, const char* file)
{
    ++dat->error_count;
    callback_message(dat->block, "\nJbig error, at line %ld in file %s:\n %s\n", long{line}, file, text);
    jbig_print_position(dat->block, dat);
    if (dat->error_count == 1) {
        dat->error_line = line;
        dat->error_file = file;
        dat->error_text = text;
    }
}

void jbig_print_position(callback_block* block, jbig_data* dat)
{
    callback_message(block, "stripe %ld, line %ld in file (%ld in stripe), column %ld\n",
                     long{dat->stripe_number},
                     long{dat->stripe_lines} * long{dat->stripe_number} + long{dat->line_in_stripe},
                     long{dat->line_in_stripe}, long{dat->column});
    // Input from memory has no stream that has a position.
    long position = 0;
    if (dat->input_buffer) {
        const long unread = dat->io_buffer_end ? static_cast<long>(dat->io_buffer_end - dat->io_buffer) : 0;
        position = callback_ftell(block) - unread;
    }
    callback_message(block, "file position %ld  ", position);
    callback_message(block, "buffer position %d\n", static_cast<int>(dat->io_buffer - dat->buffer_origin));
}
} // namespace kesterlib

jbig_data* Jbig_Open_Limited(callback_block* block, const jbig_limits* limits)
{
    using namespace kesterlib;
    jbig_data* const dat = jbig_make_data(block, limits);
    if (!dat)
        return nullptr;
    dat->input_buffer = static_cast<uint8_t*>(callback_allocate(block, JBIG_INPUT_BUFFER, "i/o buffer"));
    dat->buffer_origin = dat->input_buffer;
    dat->io_buffer = dat->input_buffer;
    if (!dat->input_buffer) {
        jbig_note_status(dat, KESTERLIB_NO_MEMORY);
        return jbig_refuse(dat);
    }
    if (!jbig_check_eof_marker(dat))
        return jbig_refuse(dat);
    if (callback_fread(block, 1, READ_BIH_BYTES, dat->input_buffer) != READ_BIH_BYTES) {
        jbig_note_status(dat, jbig_status_of_short_read(dat));
        return jbig_refuse(dat);
    }
    dat->io_buffer_end = dat->input_buffer + READ_BIH_BYTES;
    return jbig_open_common(dat);
}

jbig_data* Jbig_Open_Input_Callback(callback_block* block)
{
    return Jbig_Open_Limited(block, nullptr);
}

jbig_data* Jbig_Open_Input(FILE* stream)
{
    if (!stream) {
        kesterlib::set_open_status(KESTERLIB_NOT_SUPPORTED);
        return nullptr;
    }
    callback_block* const block = make_unix_callback_block();
    if (!block) {
        kesterlib::set_open_status(KESTERLIB_NO_MEMORY);
        return nullptr;
    }
    set_callback_slot(CALLBACK_FILE, block, reinterpret_cast<callback_slot_value>(stream));
    jbig_data* const dat = Jbig_Open_Input_Callback(block);
    if (dat)
        dat->owns_block = 1;
    else
        dispose_callback_block(block);
    return dat;
}

jbig_data* Jbig_Open_Input_MMapped(const uint8_t* data, size_t length)
{
    callback_block* const block = kesterlib::mapped_block();
    if (!block) {
        kesterlib::set_open_status(KESTERLIB_NO_MEMORY);
        return nullptr;
    }
    jbig_data* const dat = Jbig_Open_Memory(block, data, length, nullptr);
    if (dat)
        dat->owns_block = 1;
    else
        dispose_callback_block(block);
    return dat;
}

jbig_data* Jbig_Open_Memory(callback_block* block, const uint8_t* data, size_t length,
                            const jbig_limits* limits)
{
    using namespace kesterlib;
    static const uint8_t nothing = 0;
    if (!data) {
        data = &nothing;
        length = 0;
    }
    jbig_data* const dat = jbig_make_data(block, limits);
    if (!dat)
        return nullptr;
    const size_t before_marker = length < kEndMarkerBytes ? 0 : length - kEndMarkerBytes;
    dat->io_buffer = data;
    dat->buffer_origin = data;
    dat->io_buffer_end = data + before_marker;
    dat->bytes_left = before_marker > INT32_MAX ? INT32_MAX : static_cast<int32_t>(before_marker);
    if (!jbig_check_eof_marker_mapped(dat, length))
        return jbig_refuse(dat);
    if (before_marker < READ_BIH_BYTES) {
        callback_message(block, "not a .jbg file\n");
        jbig_note_status(dat, KESTERLIB_CUT_OFF);
        return jbig_refuse(dat);
    }
    return jbig_open_common(dat);
}

int32_t Jbig_Close_Input(jbig_data* dat)
{
    if (!dat)
        return 1;
    callback_block* const block = dat->block;
    const bool owns_block = dat->owns_block != 0;
    callback_deallocate(block, dat->input_buffer, "jbig input buffer");
    callback_deallocate(block, dat->adaptor, "jbig input adaptor");
    callback_deallocate(block, dat->stripe_buffer, "jbig input strip buffer");
    callback_deallocate(block, dat, "input jbig_data struct");
    if (owns_block)
        dispose_callback_block(block);
    return 1;
}

int32_t Jbig_Decode(jbig_data* dat, int32_t lines, uint8_t* buffer, int32_t pitch)
{
    if (dat->error_count > 0)
        return 0;
    // A row's bytes are followed by its right margin and the left margin of the next row. The latter is
    // written as 0, not copied, because the last row of the buffer has none after it.
    const auto room = static_cast<size_t>(pitch < 0 ? 0 : pitch);
    const size_t there = size_t{dat->row_bytes} + 1;
    const size_t copied = room < there ? room : there;
    int32_t delivered = 0;
    while (delivered < lines) {
        const int32_t undelivered = kesterlib::undelivered_rows(dat);
        if (undelivered == 0)
            break;
        const int32_t now = lines - delivered < undelivered ? lines - delivered : undelivered;
        const uint8_t* row = dat->next_row;
        for (int32_t i = 0; i < now; ++i, row += dat->row_stride) {
            memcpy(buffer, row, copied);
            if (room > there)
                buffer[there] = 0;
            buffer += pitch;
        }
        kesterlib::advance_rows(dat, now);
        delivered += now;
    }
    return delivered;
}

int32_t Jbig_Decode_Discard(jbig_data* dat, int32_t lines)
{
    if (dat->error_count > 0)
        return 0;
    int32_t passed = 0;
    while (passed < lines) {
        if (dat->lines_left < 1)
            passed += kesterlib::skip_same_stripes(dat, lines - passed);
        if (passed == lines)
            break;
        const int32_t undelivered = kesterlib::undelivered_rows(dat);
        if (undelivered == 0)
            break;
        const int32_t now = lines - passed < undelivered ? lines - passed : undelivered;
        kesterlib::advance_rows(dat, now);
        passed += now;
    }
    return passed;
}

const char* Jbig_Error_String(const jbig_data* dat)
{
    return dat->error_count == 0 ? nullptr : dat->error_text;
}

int32_t Jbig_Status(const jbig_data* dat)
{
    return reinterpret_cast<const kesterlib::Decoder*>(dat)->status;
}

int64_t Jbig_Rows_Done(const jbig_data* dat)
{
    return reinterpret_cast<const kesterlib::Decoder*>(dat)->rows_done;
}

int64_t Jbig_First_Row_After_Data(const jbig_data* dat)
{
    return reinterpret_cast<const kesterlib::Decoder*>(dat)->first_row_after_data;
}
