/* SPDX-License-Identifier: MIT */
/* The JBIG decoder, for a bi-level image entity of ITU-T T.82 with one bit plane, one resolution layer, the
 * three-line template with the adaptive pixel at its default place, and no prediction. It delivers rows in
 * order from the top and decodes a stripe at a time. To go back, close it and open it again. */
#ifndef KESTERLIB_JBIG_H
#define KESTERLIB_JBIG_H

#include "kesterlib/callback.h"
#include "kesterlib/export.h"
#include "kesterlib/status.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

enum {
    READ_BIH_BYTES = 20,            /* bytes of the header before the stripes */
    JBIG_INPUT_BUFFER = 4096,       /* bytes per read */
    JBIG_ADAPTOR_BYTES = 1024,      /* one byte per context */
    JBIG_LARGEST_STRIPE = 256 << 20 /* bytes of a stripe buffer; a header that needs more is refused */
};

/* Only the open functions make this record, because private data follow it and a later version of the library
 * may append fields. Clients read the fields and change none. */
typedef struct jbig_data {
    callback_block* block; /* input, memory and messages */
    int32_t bytes_left;    /* bytes of the entity that are still to be read from the stream */

    uint32_t width;        /* pixels of a row */
    uint32_t height;       /* rows, as the header states; the decoder does not use it */
    uint32_t stripe_lines; /* rows of a stripe */
    uint32_t row_bytes;    /* (width + 7) / 8 */
    uint32_t row_stride;   /* row_bytes + 2: a margin of one zero byte on each side */

    /* stripe_lines + 2 rows of row_stride bytes: the two rows above the stripe, then the stripe. */
    uint8_t* stripe_buffer;
    uint8_t* first_row;         /* first pixel byte of the stripe */
    uint8_t* stripe_buffer_end; /* one past the last byte */
    uint8_t* next_row;          /* first pixel byte of the next row to deliver */

    uint8_t* adaptor; /* per context: 2 * index of the state + the more probable pixel */

    uint32_t lines_delivered; /* rows delivered or skipped so far */
    int32_t lines_left;       /* rows of the stripe in the buffer that are not delivered yet */

    uint8_t* input_buffer;        /* null for input from memory */
    const uint8_t* io_buffer;     /* next byte */
    const uint8_t* io_buffer_end; /* one past the last byte in memory */

    /* The arithmetic decoder, between stripes. */
    int32_t ct;    /* bits of qm_c that remain before the next byte is needed, 0 to 8 */
    uint32_t qm_a; /* size of the interval, 0x8000 to 0x10000 */
    uint32_t qm_c; /* code register; its upper half is compared with the interval */

    uint32_t error_count;
    int32_t error_line;     /* line in the decoder's source that reported the first error */
    const char* error_file; /* name of that source, a constant text */
    const char* error_text; /* message of the first error; lives as long as the decoder */

    int32_t reset_pending; /* 1: a marker requested a reset of the contexts at the next stripe */
    int32_t marker_seen;   /* 1: a marker has ended the data of this stripe */

    int32_t owns_block; /* 1: Jbig_Close_Input disposes of the block */

    uint32_t stripe_number;          /* stripes finished so far */
    uint32_t line_in_stripe, column; /* position of an error, else 0 */
    const uint8_t* buffer_origin;    /* first byte of the input buffer or of the input in memory */
} jbig_data;

/* Limits of one decoder. 0 or less in a field: only the library's own limit.
 *
 * Clients may make this record themselves. Its size is the same in all versions of libkesterlib.so.1. */
typedef struct jbig_limits {
    /* Bytes of the stripe buffer, which has (stripe_lines + 2) * row_stride bytes. If the header needs more,
     * the open fails. The library's own limit is JBIG_LARGEST_STRIPE. */
    int64_t stripe_bytes;
    /* Pixels that are decoded after the open. A stripe counts as width * stripe_lines pixels, also if the
     * page ends within it. The stripe that would exceed the limit is not decoded: the rows before it are
     * good, and the decoder is finished with KESTERLIB_TOO_LARGE. Stripes after the end of the data that are
     * not decoded because they equal the one before do not count. The library has no limit of its own. */
    int64_t pixels;
} jbig_limits;

/* Open a decoder for an image entity.
 *
 *   stream        the input, from its current position to its end; must be able to seek; stays open; the
 *                 caller closes it
 *   block         the caller's block, which must live as long as the decoder and is not disposed of with it.
 *                 Its stream is the input, and it needs the fread, fseek, ftell and fflush slots. The
 *                 ferror slot is called too if it is set and the stream is not null. Jbig_Open_Memory
 *                 calls no other data slot
 *   data, length  the input in memory; must be unchanged as long as the decoder lives; null: 0 bytes
 *   limits        read during the call; null: only the library's own limits
 *
 * Returns the decoder, which the caller closes with Jbig_Close_Input. Returns null if
 *   - the header requires a feature that this decoder does not have, or a stripe buffer above
 *     JBIG_LARGEST_STRIPE,
 *   - the last two bytes are not an end marker (0xFF 0x02 or 0xFF 0x03),
 *   - the input cannot be read or cannot seek, or `stream`, `block` or `data` is null,
 *   - there is no memory.
 * The block's messages say what is wrong with the input, but a stream that is too short for the header makes
 * no message. After a failure nothing stays allocated. kesterlib_open_status then returns the reason; if the
 * header has several faults, that of the first one:
 *   - KESTERLIB_CUT_OFF: the last two bytes are not an end marker, or the entity is shorter than its header;
 *   - KESTERLIB_READ_ERROR: the input cannot be read or cannot seek;
 *   - KESTERLIB_BAD_CODE: the header states a width or a stripe of 0;
 *   - KESTERLIB_TOO_LARGE: the width or the stripe buffer is above a limit;
 *   - KESTERLIB_NOT_SUPPORTED: the header requires another feature, or `stream` or `block` is null;
 *   - KESTERLIB_NO_MEMORY: there is no memory.
 *
 * Jbig_Open_Input and Jbig_Open_Input_MMapped make a block of their own. It writes its messages to standard
 * error. If memory is short, it makes a fatal report, which ends the process. To avoid both, pass a block.
 *
 * Decodes no row. Reads only the header and the last two bytes. From a stream, only the first 2^31 - 1
 * bytes of an entity are read; bits of 0 follow them. */
KESTERLIB_NODISCARD KESTERLIB_API jbig_data* Jbig_Open_Input(FILE* stream);
KESTERLIB_NODISCARD KESTERLIB_API jbig_data* Jbig_Open_Input_Callback(callback_block* block);
KESTERLIB_NODISCARD KESTERLIB_API jbig_data* Jbig_Open_Input_MMapped(const uint8_t* data, size_t length);
KESTERLIB_NODISCARD KESTERLIB_API jbig_data* Jbig_Open_Limited(callback_block* block,
                                                               const jbig_limits* limits);
KESTERLIB_NODISCARD KESTERLIB_API jbig_data* Jbig_Open_Memory(callback_block* block, const uint8_t* data,
                                                              size_t length, const jbig_limits* limits);

/* Frees the decoder, and the block if the open function made it. The stream stays open. Null is ignored.
 * Always returns 1. */
KESTERLIB_API int32_t Jbig_Close_Input(jbig_data* dat);

/* Delivers the next rows.
 *
 *   dat     from one of the open functions
 *   lines   rows requested; 0 or less decodes nothing and returns 0
 *   buffer  row k of this call starts at buffer + k * pitch
 *   pitch   bytes from one row to the next, normally row_bytes, and the most bytes that are written per row.
 *           If it is 0 or below, no row is written
 *
 * A row is packed, 1 bit per pixel, the leftmost in the top bit, as coded. Bits after the width are 0; if
 * pitch leaves room for them, two bytes of 0 follow the row_bytes of a row.
 *
 * Returns the number of rows delivered: lines, or fewer if the data are damaged. All rows of a stripe with
 * an error are lost. The decoder is then finished: Jbig_Error_String returns the message, and further calls
 * return 0. The end of the data is no error: after it, rows are decoded from bits of 0. Request as many
 * rows as the page has.
 *
 * Allocates nothing. A call decodes whole stripes; the rest of a stripe stays for the next call. A large
 * stripe may take seconds. If the block has a stream and a ferror slot, the slot is called after about every
 * 2^21 pixels. If it returns a number other than 0, the stripe ends as with an error, but the block receives
 * no message. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Jbig_Decode(jbig_data* dat, int32_t lines, uint8_t* buffer,
                                                      int32_t pitch);

/* Skips the next rows. Returns the same count as Jbig_Decode. Takes as long as decoding, less the time for
 * the copy. If, after the end of the data, a stripe equals the one before, all further rows are skipped at
 * once. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Jbig_Decode_Discard(jbig_data* dat, int32_t lines);

/* Returns the message of the first error; null if there was none. It is valid until the decoder is closed. It
 * can end with a newline. */
KESTERLIB_NODISCARD KESTERLIB_API const char* Jbig_Error_String(const jbig_data* dat);

/* Returns the status of the first error; KESTERLIB_OK if there was none:
 *   - KESTERLIB_BAD_CODE: the data have a byte after 0xFF that is no marker of this profile;
 *   - KESTERLIB_CUT_OFF: a read returned fewer bytes than the stream had at the open;
 *   - KESTERLIB_READ_ERROR: the same, and the ferror slot reports an error. This slot is called only if
 *     it is set and the block has a stream;
 *   - KESTERLIB_TOO_LARGE: the next stripe is above the caller's limit of pixels;
 *   - KESTERLIB_INTERRUPTED: the ferror slot has ended a stripe. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Jbig_Status(const jbig_data* dat);

/* Returns the number of rows delivered or skipped since the open. */
KESTERLIB_NODISCARD KESTERLIB_API int64_t Jbig_Rows_Done(const jbig_data* dat);

/* Returns the first row, counted from 0, of the first stripe that began after the last byte of the data. If
 * no such row has been delivered or skipped, returns -1. Data that were cut off at the end of a stripe are
 * decoded without an error. So if the result is not -1 and is below ImageHeight (see faxhdr.h), the page was
 * cut off. */
KESTERLIB_NODISCARD KESTERLIB_API int64_t Jbig_First_Row_After_Data(const jbig_data* dat);

KESTERLIB_END

#endif
