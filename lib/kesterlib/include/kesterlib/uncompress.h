/* The frame of the run decoders: input, bit window, and the rows above and at hand as lists of transitions.
 * Open one with a decoder's own call, take rows in order from the top, free it. Any number may be open at
 * once. */
#ifndef KESTERLIB_UNCOMPRESS_H
#define KESTERLIB_UNCOMPRESS_H

#include "kesterlib/callback.h"
#include "kesterlib/export.h"

#include <stdint.h>

KESTERLIB_BEGIN

enum { UNCOMP_IN_BUFFER = 512 }; /* bytes a read */

/* A list of transitions is one row: entry 0 is always 0; entry 1 the first position whose pixel is 1, entry 2
 * the next whose pixel is 0, and so on; behind the last transition stand at least three copies of the row
 * length. */
typedef struct UNCOMP {
    callback_block* cb;
    int32_t width;     /* pixels of a row */
    int32_t row_bytes; /* bytes of a row */

    /* The lists swap roles after a row, each with its end. An end is one past the list's last entry. */
    int32_t* cur_list;
    int32_t* ref_list; /* the row above */
    int32_t* cur_end;
    int32_t* ref_end;

    /* The next bits of the stream, between rows: the top bit of bits_hi comes first. */
    uint16_t bits_hi;
    uint16_t bits_lo;
    int32_t bitsloaded; /* of the 32 */

    int32_t rows_done;   /* since the frame was opened, INT32_MAX at most */
    int32_t* list_block; /* holds both lists */

    int32_t bytes_before;     /* input in front of the buffer */
    const uint8_t* buf_start; /* of the bytes being read: in_buffer, or the mapped data */
    uint8_t in_buffer[UNCOMP_IN_BUFFER];
    const uint8_t* in_ptr; /* next byte */
    const uint8_t* in_end; /* one past the last */

    const char* error_text; /* constant text of the last error, or null */
    int32_t eol_seen;       /* Group 4: the end of the data has been met */
    int32_t owns_cb;        /* cb goes with the frame */
} UNCOMP;

/* Reasons to doubt a row that was delivered. A sound stream has no such row; damage often leads to one long
 * before a row fails. */
enum {
    UNCOMP_DECREASING = 1, /* its transitions are not in ascending order; equal neighbours are fine */
    UNCOMP_PAST_WIDTH = 2, /* Group 4 only: a run passed the width and was clipped */
    UNCOMP_FILLER = 4      /* it used bits after the end of the data */
};

/* Returns the first row, counted from the frame's first row as 0, that has one of the reasons; -1 if no row
 * has one so far. A row that failed was not delivered and has none, and nor has a blank row that follows the
 * end of a Group 4 page. The row with the end code itself can have used filler: eleven zero bits and the
 * first bit of the filler look like that code. May be called at any time until the frame is freed. */
KESTERLIB_API int32_t Uncomp_First_Suspicious_Row(const UNCOMP* frame, int32_t reasons);

/* Frees the frame, and the callback block where the open made it. A stream given to the open stays open. */
KESTERLIB_API void Uncomp_Free(UNCOMP* frame);

/* The words of the last error, a constant text; null where there was none. */
KESTERLIB_API const char* Uncomp_Error_String(const UNCOMP* frame);

KESTERLIB_END

#endif
