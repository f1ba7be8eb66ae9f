/* The JBIG decoder, for a bi-level image entity of ITU-T T.82 with one bit plane, one resolution layer, the
 * three-line template with the adaptive pixel at its default place, and no prediction. It delivers rows in
 * order from the top and decodes a stripe at a time. To go back, close it and open it again. */
#ifndef KESTERLIB_JBIG_H
#define KESTERLIB_JBIG_H

#include "kesterlib/callback.h"
#include "kesterlib/export.h"

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

/* Open a decoder for an image entity.
 *
 *   stream        the input, from its current position to its end; must be able to seek; stays open; the
 *                 caller closes it
 *   block         the block whose stream is the input; needs the fread, fseek and ftell slots; must live as
 *                 long as the decoder
 *   data, length  the input in memory; must be unchanged as long as the decoder lives
 *
 * Returns the decoder, which the caller closes with Jbig_Close_Input. Returns null if
 *   - the header requires a feature that this decoder does not have, or a stripe buffer above
 *     JBIG_LARGEST_STRIPE,
 *   - the last two bytes are not an end marker (0xFF 0x02 or 0xFF 0x03),
 *   - the input cannot be read or cannot seek, or `stream`, `block` or `data` is null,
 *   - there is no memory.
 * The block's messages say what is wrong with the input, but a stream that is too short for the header makes
 * no message. After a failure nothing stays allocated.
 *
 * Decodes no row. Reads only the header and the last two bytes. From a stream, only the first 2^31 - 1
 * bytes of an entity are read; bits of 0 follow them. */
KESTERLIB_NODISCARD KESTERLIB_API jbig_data* Jbig_Open_Input(FILE* stream);
KESTERLIB_NODISCARD KESTERLIB_API jbig_data* Jbig_Open_Input_Callback(callback_block* block);
KESTERLIB_NODISCARD KESTERLIB_API jbig_data* Jbig_Open_Input_MMapped(const uint8_t* data, size_t length);

/* Frees the decoder, and the block if the open function made it. The stream stays open. Null is ignored.
 * Always returns 1. */
KESTERLIB_API int32_t Jbig_Close_Input(jbig_data* dat);

/* Delivers the next rows.
 *
 *   dat     from one of the open functions
 *   lines   rows requested; 0 or less decodes nothing and returns 0
 *   buffer  row k of this call starts at buffer + k * pitch
 *   pitch   bytes from one row to the next, and the most bytes that are written per row
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
 * stripe may take seconds. If the block has a stream, its ferror slot is called after about every 2^21
 * pixels. If it returns a number other than 0, the stripe ends as with an error, but without a message. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Jbig_Decode(jbig_data* dat, int32_t lines, uint8_t* buffer,
                                                      int32_t pitch);

/* Skips the next rows. Returns the same count as Jbig_Decode, and takes the same time without the copy.
 * If, after the end of the data, a stripe equals the one before, all further rows are skipped at once. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Jbig_Decode_Discard(jbig_data* dat, int32_t lines);

/* Returns the message of the first error; null if there was none. It is valid until the decoder is closed. */
KESTERLIB_NODISCARD KESTERLIB_API const char* Jbig_Error_String(const jbig_data* dat);

KESTERLIB_END

#endif
