// SPDX-License-Identifier: MIT
// The arithmetic decoder of JBIG: its input, and the start and end of a stripe. The decisions are in
// qdecoder_rows_tmpl.h.
//
// A simple decoder reads a byte when it shifts the code register and has no bit left. This one reads ahead
// within the buffer for speed, stuffed bytes included, but never past its end, a marker or an error. It
// reads the remaining bytes when a shift needs them. At the end of a stripe it returns the bytes that it
// read ahead but did not use to the buffer. So reads, reports and positions are the same as those of the
// simple decoder.
#include "qdecoder.h"

#include "bits.h"
#include "machine.h"
#include "qdecoder_table.h"

#include <cerrno>
#include <cstring>

namespace kesterlib
{
namespace
{
constexpr const char* kSource = "qdecoder";

// A number of bits that is never used up: this stripe reads nothing more, and bits of 0 follow. A multiple
// of 8.
constexpr int64_t kForever = int64_t{1} << 62;
// Bits of the code register below those that are compared.
constexpr int64_t kBitsBelow = 48;

void jbig_refill(jbig_data* dat)
{
    if (!dat->input_buffer || dat->bytes_left <= 0)
        return;
    const auto wanted =
        static_cast<size_t>(dat->bytes_left < JBIG_INPUT_BUFFER ? dat->bytes_left : JBIG_INPUT_BUFFER);
    size_t got = callback_fread(dat->block, 1, wanted, dat->input_buffer);
    if (got > wanted)
        got = 0; // a slot that returns more than requested counts as the end of input
    dat->io_buffer = dat->input_buffer;
    dat->io_buffer_end = dat->input_buffer + got;
    dat->bytes_left -= static_cast<int32_t>(got);
    if (got < wanted) {
        const int error = errno; // the ferror slot may change it
        const int32_t status = jbig_status_of_short_read(dat);
        jbig_note_status(dat, status);
        jbig_error(dat, system_error_text(error, reinterpret_cast<Decoder*>(dat)->unknown_error), __LINE__,
                   kSource);
    }
    if (got == 0)
        jbig_error(dat, "Ran out of JBIG data", __LINE__, kSource);
}

bool next_byte(jbig_data* dat, uint8_t* byte)
{
    if (dat->io_buffer == dat->io_buffer_end)
        return false;
    *byte = *dat->io_buffer++;
    return true;
}

// Reads one byte into bits 8 to 15 of qm_c. After the end of the data these bits stay 0.
void qm_byte_in(jbig_data* dat)
{
    dat->ct = 8;
    if (dat->io_buffer == dat->io_buffer_end)
        jbig_refill(dat);
    if (dat->io_buffer == dat->io_buffer_end || dat->marker_seen)
        return;
    uint8_t byte = 0;
    next_byte(dat, &byte);
    if (byte != 0xFF) {
        dat->qm_c |= uint32_t{byte} << 8;
        return;
    }
    if (dat->io_buffer == dat->io_buffer_end)
        jbig_refill(dat);
    if (!next_byte(dat, &byte))
        return;
    switch (byte) {
    case 0x00: dat->qm_c |= 0xFF00; break;
    case 0x02: dat->marker_seen = 1; break;
    case 0x03:
        dat->reset_pending = 1;
        dat->marker_seen = 1;
        break;
    default:
        jbig_note_status(dat, KESTERLIB_BAD_CODE);
        jbig_error(dat, "Non-stuffed FF found in PSCD\n", __LINE__, kSource);
    }
}

void qm_init_decoder(jbig_data* dat)
{
    if (dat->reset_pending)
        jbig_reset_adaptor(dat);
    dat->marker_seen = 0;
    dat->qm_c = 0;
    qm_byte_in(dat);
    dat->qm_c <<= 8;
    qm_byte_in(dat);
    dat->qm_c <<= 8;
    qm_byte_in(dat);
    dat->qm_a = 0x10000;
}

bool any_byte_is_ff(uint64_t word)
{
    constexpr uint64_t kOnes = 0x0101010101010101;
    const uint64_t flipped = ~word;
    return ((flipped - kOnes) & word & (kOnes << 7)) != 0;
}

// Reads ahead from the buffer as far as the code register has room. Stops before a marker or an error.
void read_ahead(const jbig_data* dat, QmCoder* coder)
{
    const uint8_t* next = coder->next;
    if (dat->io_buffer_end - next >= 8) {
        const int64_t bytes = (kBitsBelow - coder->bits) / 8;
        const uint64_t word = bytes > 0 ? load_be64(next) & ~uint64_t{0} << (64 - 8 * bytes) : 0;
        if (bytes > 0 && !any_byte_is_ff(word)) {
            coder->c |= word >> (16 + coder->bits);
            coder->bits += 8 * bytes;
            coder->next = next + bytes;
            return;
        }
    }
    while (coder->bits <= kBitsBelow - 8 && next != dat->io_buffer_end) {
        const uint64_t byte = *next;
        if (byte == 0xFF) {
            if (dat->io_buffer_end - next < 2 || next[1] != 0x00)
                break;
            ++next;
        }
        ++next;
        coder->c |= byte << (kBitsBelow - 8 - coder->bits);
        coder->bits += 8;
    }
    coder->next = next;
}

// Returns whether this stripe reads nothing more, even if bits are needed.
bool input_is_over(const jbig_data* dat)
{
    if (dat->io_buffer != dat->io_buffer_end)
        return dat->marker_seen != 0;
    return !dat->input_buffer || dat->bytes_left <= 0;
}

// Stores the registers of a decoder that reads byte by byte, and returns the bytes that were read ahead to
// the buffer.
void store_coder(jbig_data* dat, const QmCoder& coder)
{
    dat->qm_a = coder.a == 0 ? 0x10000 : coder.a >> 16;
    // Before the first shift, all eight bits of the start remain.
    const bool fresh = coder.bits == 8 && !coder.more_read;
    dat->ct = fresh ? 8 : static_cast<int32_t>(coder.bits & 7);
    dat->qm_c = static_cast<uint32_t>(coder.c >> 32) & ~uint32_t{0} << (16 - dat->ct);
    const uint8_t* next = coder.next;
    if (coder.bits <= kBitsBelow)
        for (int64_t ahead = (coder.bits - dat->ct) / 8; ahead > 0; --ahead) {
            --next;
            if (*next == 0x00 && next != dat->buffer_origin && next[-1] == 0xFF)
                --next; // a stuffed byte: before the first error, no other byte follows 0xFF
        }
    dat->io_buffer = next;
}
} // namespace

void qm_shift_beyond(Decoder* decoder, QmCoder* coder, int32_t n, uint32_t x, uint32_t line)
{
    jbig_data* const dat = &decoder->base;
    coder->more_read = true;
    if (!dat->marker_seen)
        read_ahead(dat, coder);
    while (coder->bits < n) {
        coder->c <<= coder->bits;
        n -= static_cast<int32_t>(coder->bits);
        dat->io_buffer = coder->next;
        dat->line_in_stripe = line;
        dat->column = x & ~7u; // first pixel of the group
        dat->qm_c = 0;
        qm_byte_in(dat);
        if (dat->error_count == 0) {
            dat->line_in_stripe = 0; // an error at the start of the next stripe is at 0, 0
            dat->column = 0;
        }
        coder->c |= uint64_t{dat->qm_c} << 32;
        coder->next = dat->io_buffer;
        coder->bits = 8;
        if (input_is_over(dat))
            coder->bits = kForever;
        else if (!dat->marker_seen)
            read_ahead(dat, coder);
    }
    coder->c <<= n;
    coder->bits -= n;
}

void jbig_poll(jbig_data* dat, uint32_t line)
{
    if (!input_has_failed(dat->block))
        return;
    // No message, because the client requested the end.
    jbig_note_status(dat, KESTERLIB_INTERRUPTED);
    ++dat->error_count;
    dat->error_line = __LINE__;
    dat->error_file = kSource;
    dat->error_text = "Error reading file";
    dat->line_in_stripe = line;
    dat->column = 0;
}

JbigRowLoop* jbig_row_loop()
{
#if defined(__x86_64__)
    // On processors that run pext in microcode, single steps are faster.
    if (has_avx2() && !__builtin_cpu_is("znver1") && !__builtin_cpu_is("znver2"))
        return jbig_rows_avx2;
#endif
    return jbig_rows_plain;
}

void jbig_reset_adaptor(jbig_data* dat)
{
    memset(dat->adaptor, 0, JBIG_ADAPTOR_BYTES);
    dat->reset_pending = 0;
    auto* const decoder = reinterpret_cast<Decoder*>(dat);
    for (uint64_t& pair : decoder->pairs)
        pair = uint64_t{qm_word(0, 0)} << 32 | qm_word(0, 0);
}

namespace
{
// Returns whether the next stripe begins after the last byte of the data. The end marker is not part of the
// data: in memory the input ends before it, and in a stream a damaged stripe can use all data without
// reading it. But the stripe that reads the end marker begins within the data, even if it has no byte of its
// own. This is possible for the first stripe, and for one after a stripe that another marker has ended.
bool begins_after_data(const jbig_data* dat)
{
    int64_t data_left = dat->io_buffer_end - dat->io_buffer;
    if (dat->input_buffer)
        data_left += dat->bytes_left - kEndMarkerBytes;
    if (data_left < 0)
        return true; // the last stripe has read the end marker
    return data_left == 0 && dat->stripe_number > 0 && dat->marker_seen == 0;
}

// Returns whether the next stripe equals the one in the buffer. After the end of the data, a stripe and the
// registers after it depend only on the contexts and the two rows above. If both are the same as one stripe
// earlier, the stripe is the same too.
bool is_same_stripe(jbig_data* dat)
{
    auto* const decoder = reinterpret_cast<Decoder*>(dat);
    if (decoder->repeats)
        return true;
    const bool after_data = dat->io_buffer == dat->io_buffer_end && input_is_over(dat) && !dat->reset_pending;
    if (after_data) {
        const uint8_t* const last_rows = dat->stripe_buffer + size_t{dat->stripe_lines} * dat->row_stride;
        decoder->repeats = decoder->began_after_data &&
                           memcmp(decoder->contexts_before, dat->adaptor, JBIG_ADAPTOR_BYTES) == 0 &&
                           memcmp(dat->stripe_buffer, last_rows, size_t{2} * dat->row_stride) == 0;
        memcpy(decoder->contexts_before, dat->adaptor, JBIG_ADAPTOR_BYTES);
    }
    decoder->began_after_data = after_data;
    return decoder->repeats;
}

void finish_stripe(jbig_data* dat)
{
    ++dat->stripe_number;
    dat->next_row = dat->first_row;
    dat->lines_left = static_cast<int32_t>(dat->stripe_lines);
}

// Returns whether the next stripe is within the limit of pixels, and counts it. If not, reports an error.
bool is_within_limit(jbig_data* dat)
{
    auto* const decoder = reinterpret_cast<Decoder*>(dat);
    const int64_t pixels = int64_t{dat->width} * dat->stripe_lines;
    if (decoder->limits.pixels > 0 && pixels > decoder->limits.pixels - decoder->pixels_done) {
        jbig_note_status(dat, KESTERLIB_TOO_LARGE);
        jbig_error(dat, "JBIG pixels are above the limit", __LINE__, kSource);
        return false;
    }
    decoder->pixels_done += pixels;
    return true;
}

void decode_stripe(jbig_data* dat)
{
    qm_init_decoder(dat);
    memmove(dat->stripe_buffer, dat->stripe_buffer + size_t{dat->stripe_lines} * dat->row_stride,
            size_t{2} * dat->row_stride);

    QmCoder coder{};
    coder.c = uint64_t{dat->qm_c} << 32;
    coder.bits = 8;
    coder.next = dat->io_buffer;
    constexpr uint32_t kGroup = 8; // pixels that are still decoded after an error
    const bool cut = dat->error_count > 0 && dat->width > kGroup;
    auto* const decoder = reinterpret_cast<Decoder*>(dat);
    decoder->row_loop(decoder, &coder, cut ? kGroup : dat->width);

    store_coder(dat, coder);
    finish_stripe(dat);
}
} // namespace

void jbig_decode_stripe(jbig_data* dat)
{
    auto* const decoder = reinterpret_cast<Decoder*>(dat);
    const bool after_data = begins_after_data(dat);
    if (is_same_stripe(dat))
        finish_stripe(dat);
    else if (is_within_limit(dat))
        decode_stripe(dat);
    if (after_data && dat->error_count == 0 && decoder->first_row_after_data < 0)
        decoder->first_row_after_data = decoder->rows_done;
}
} // namespace kesterlib
