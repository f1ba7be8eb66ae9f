/* SPDX-License-Identifier: MIT */
/* The frame of the run decoders, Squeeze and Group 4: input, bit window, and two rows as lists of
 * transitions. Open a frame with a decoder's own function, decode its rows in order from the top, then free
 * it. Any number of frames may be open at once. */
#ifndef KESTERLIB_UNCOMPRESS_H
#define KESTERLIB_UNCOMPRESS_H

#include "kesterlib/callback.h"
#include "kesterlib/export.h"
#include "kesterlib/status.h"

#include <stdint.h>

KESTERLIB_BEGIN

enum { UNCOMP_IN_BUFFER = 512 }; /* bytes per read */

/* Only the open functions make this record, because private data follow it and a later version of the library
 * may append fields. Clients read the fields and change none.
 *
 * A list of transitions describes one row. Entry 0 is always 0. Entry 1 is the first position whose pixel
 * is 1, entry 2 the next position whose pixel is 0, and so on. At least three copies of the row length
 * follow the last transition. */
typedef struct UNCOMP {
    callback_block* cb; /* input, memory and messages */
    int32_t width;      /* pixels of a row */
    int32_t row_bytes;  /* bytes of a row */

    /* After each row the two lists swap roles, each with its end. An end is one past the last entry that
     * the list has room for. */
    int32_t* cur_list; /* the row being decoded */
    int32_t* ref_list; /* the row above */
    int32_t* cur_end;
    int32_t* ref_end;

    /* The bit window between rows: the next bits of the stream, the first in the top bit of bits_hi. */
    uint16_t bits_hi;
    uint16_t bits_lo;
    int32_t bitsloaded; /* valid bits of the 32 */

    int32_t rows_done;   /* rows delivered since the open, INT32_MAX at most */
    int32_t* list_block; /* memory of both lists */

    int32_t bytes_before;     /* bytes of the input before buf_start, modulo 2^32 */
    const uint8_t* buf_start; /* first of the bytes in use: in_buffer, or the input in memory */
    uint8_t in_buffer[UNCOMP_IN_BUFFER];
    const uint8_t* in_ptr; /* next byte */
    const uint8_t* in_end; /* one past the last byte */

    const char* error_text; /* message of the last error, a constant text; null: none */
    int32_t eol_seen;       /* Group 4: 1 after the end of line code that ends the page */
    int32_t owns_cb;        /* 1: Uncomp_Free disposes of cb */
} UNCOMP;

/* Reasons to doubt a row that was delivered. An undamaged stream has no such row. Damage often causes one
 * long before a row fails. */
enum {
    UNCOMP_DECREASING = 1, /* its transitions are not in ascending order; equal neighbours are allowed */
    UNCOMP_PAST_WIDTH = 2, /* Group 4 only: a run passed the width and was clipped */
    UNCOMP_FILLER = 4      /* it used bits after the end of the data */
};

/* Returns the first row that has one of the reasons, or -1 if no row has one so far. May be called at any
 * time until the frame is freed.
 *
 *   frame    any frame; its rows are counted from 0
 *   reasons  a sum of the values above
 *
 * A row that failed was not delivered, so it has no reason. A white row after the end of a Group 4 page has
 * none either. The row with the end of line code can have used filler: eleven zero bits and the first bit
 * of the filler look like that code. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Uncomp_First_Suspicious_Row(const UNCOMP* frame, int32_t reasons);

/* Frees the frame, and the callback block if the open function made it. The stream stays open. Null is
 * ignored. */
KESTERLIB_API void Uncomp_Free(UNCOMP* frame);

/* Returns the message of the last error, a constant text; null if there was none. */
KESTERLIB_NODISCARD KESTERLIB_API const char* Uncomp_Error_String(const UNCOMP* frame);

/* Returns why the frame is finished:
 *   - KESTERLIB_OK: no row has failed so far, also if a read has failed and its bytes are not needed yet;
 *   - KESTERLIB_CUT_OFF: the row that failed needed bits after the end of the data;
 *   - KESTERLIB_READ_ERROR: the same, and the ferror slot has reported an error after a read;
 *   - KESTERLIB_BAD_CODE: any other failure. The data are damaged, here or earlier.
 * It is set even if Uncomp_Error_String returns null. Rows that were delivered before may already have used
 * bits after the end of the data: see UNCOMP_FILLER. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Uncomp_Status(const UNCOMP* frame);

/* Returns the number of rows delivered or skipped since the open, INT32_MAX at most. The row that failed, if
 * any, has this number, counted from 0. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Uncomp_Rows_Done(const UNCOMP* frame);

KESTERLIB_END

#endif
