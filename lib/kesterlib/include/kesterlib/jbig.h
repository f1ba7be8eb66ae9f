/* The JBIG decoder: one bi-level image entity of ITU-T T.82, one bit plane, one resolution layer, the
 * template of three lines at its default place, no prediction. Rows come in order from the top, a stripe at a
 * time from the arithmetic decoder; to go back, close and open again. */
#ifndef KESTERLIB_JBIG_H
#define KESTERLIB_JBIG_H

#include "kesterlib/callback.h"
#include "kesterlib/export.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

enum {
    READ_BIH_BYTES = 20,            /* the header in front of the stripes */
    JBIG_INPUT_BUFFER = 4096,       /* bytes a read */
    JBIG_ADAPTOR_BYTES = 1024,      /* one for each context */
    JBIG_LARGEST_STRIPE = 256 << 20 /* bytes of a stripe buffer; a header that wants more is refused */
};

typedef struct jbig_data {
    callback_block* block; /* input, memory and messages */
    int32_t bytes_left;    /* of the image entity, not yet in memory */

    uint32_t width;        /* pixels of a row */
    uint32_t height;       /* rows that the header promises; nothing depends on it */
    uint32_t stripe_lines; /* rows of a stripe */
    uint32_t row_bytes;    /* (width + 7) / 8 */
    uint32_t row_stride;   /* row_bytes + 2: a margin of one zero byte on each side */

    /* stripe_lines + 2 rows of row_stride bytes: the two rows above the stripe, then the stripe. */
    uint8_t* stripe_buffer;
    uint8_t* first_row;         /* first byte of pixels of the stripe */
    uint8_t* stripe_buffer_end; /* one past the last */
    uint8_t* next_row;          /* first byte of pixels of the next row to deliver */

    uint8_t* adaptor; /* by context: 2 * index of the state + the more probable pixel */

    uint32_t lines_delivered; /* or passed over */
    int32_t lines_left;       /* of the stripe in the buffer */

    uint8_t* input_buffer;        /* null for input from memory */
    const uint8_t* io_buffer;     /* next byte */
    const uint8_t* io_buffer_end; /* one past the last in memory */

    /* The arithmetic decoder, between stripes. */
    int32_t ct;    /* bits of qm_c before the next byte is needed, 0 to 8 */
    uint32_t qm_a; /* interval, 0x8000 to 0x10000 */
    uint32_t qm_c; /* code, compared by its upper half */

    uint32_t error_count;
    int32_t error_line; /* of the first error: source line, source, text */
    const char* error_file;
    const char* error_text;

    int32_t reset_pending; /* a marker wants the contexts reset at the next stripe */
    int32_t marker_seen;   /* a marker has ended the data of this stripe */

    int32_t owns_block; /* the block goes with the record */

    uint32_t stripe_number;          /* of the stripe at hand, from 0: stripes finished so far */
    uint32_t line_in_stripe, column; /* of an error */
    const uint8_t* buffer_origin;    /* where io_buffer began */
} jbig_data;

/* Open a decoder over an image entity.
 *
 * The input runs from the current position of `stream` or of the block's stream to its end, and is read with
 * the block's read, seek and tell slots; or it is the `length` bytes at `data`, which stay where they are and
 * unchanged while the record lives. `block` and `stream` stay the caller's.
 *
 * Null where the header asks for more than this decoder does or for a stripe buffer above
 * JBIG_LARGEST_STRIPE, where the last two bytes are no end marker (0xFF 0x02 or 0xFF 0x03), where the input
 * cannot be read or moved, or where the block gave no memory. What is wrong goes out as messages of the
 * block, but for a stream that is too short for the header; nothing stays allocated. No row is decoded, and
 * no more read than the header and the last two bytes. Of an entity of 2^31 bytes and more, what lies behind
 * reads as bits of 0.
 */
KESTERLIB_API jbig_data* Jbig_Open_Input(FILE* stream);
KESTERLIB_API jbig_data* Jbig_Open_Input_Callback(callback_block* block);
KESTERLIB_API jbig_data* Jbig_Open_Input_MMapped(const uint8_t* data, size_t length);

/* Frees the record, and the block where the open made it; always 1. The stream stays open. */
KESTERLIB_API int32_t Jbig_Close_Input(jbig_data* dat);

/* Delivers the next rows.
 *
 *   lines   rows requested; 0 or less decodes nothing and returns 0
 *   buffer  row k of this call starts at buffer + k * pitch
 *   pitch   bytes from one row to the next; also the most that is written of a row
 *
 * A row is packed, 1 bit per pixel, the leftmost in the top bit, as coded. Bits after the width are 0; if
 * pitch leaves room for them, two bytes of 0 follow the row_bytes of a row.
 *
 * Returns the number of rows delivered: lines, or fewer if the data are damaged. All rows of a stripe with an
 * error are lost. The decoder is then finished: Jbig_Error_String returns the message, and further calls
 * return 0. The end of the data is no error: after it, rows are decoded from bits of 0. Request as many rows
 * as the page has.
 *
 * Allocates nothing. A call decodes whole stripes; the rest of a stripe stays for the next call. A large
 * stripe may take seconds. If the block has a stream, its ferror slot is called after about every 2^21
 * pixels. A result other than 0 ends the stripe as an error does, but no message is printed. */
KESTERLIB_API int32_t Jbig_Decode(jbig_data* dat, int32_t lines, uint8_t* buffer, int32_t pitch);

/* Passes over the next rows: the same count, and the same cost without the copy. After the end of the data,
 * once a stripe repeats, any number of rows costs nothing. */
KESTERLIB_API int32_t Jbig_Decode_Discard(jbig_data* dat, int32_t lines);

/* The message of the first error, a constant text; null if there was none. */
KESTERLIB_API const char* Jbig_Error_String(const jbig_data* dat);

KESTERLIB_END

#endif
