/* SPDX-License-Identifier: MIT */
/* The Group 4 decoder, for rows coded as in ITU-T T.6. A 1 bit is black. */
#ifndef KESTERLIB_UNCCITT_H
#define KESTERLIB_UNCCITT_H

#include "kesterlib/export.h"
#include "kesterlib/uncompress.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

/* Open a frame for a Group 4 stream. The first bit of the stream is the top bit of its first byte.
 *
 *   file           the input, read from its current position; stays open; the caller closes it
 *   cb             the caller's block, which must live as long as the frame and is not disposed of with it.
 *                  For Unccitt4_Open_Callback its fread slot supplies the input, its ferror slot says whether
 *                  the input has failed or ended, and its fflush slot is called after a read error. For
 *                  Unccitt4_Open_Memory no data slot is called
 *   base, size     the input in memory; must be unchanged as long as the frame lives; null: 0 bytes
 *   width          pixels of a row
 *   row_bytes      bytes of a row, normally (width + 7) / 8
 *   first_ref_row  packed row of width pixels above the first row, read during the call; null: a white row
 *
 * Returns the frame, which the caller frees with Uncomp_Free. Returns null if width or row_bytes is below
 * 0, width is above 8 * row_bytes, the transition lists would take more than 256 MiB, `cb` is null, or
 * there is no memory. A null `file` makes a fatal report and ends the process.
 * kesterlib_open_status then returns the reason:
 *   - KESTERLIB_NOT_SUPPORTED: `cb` is null, or width or row_bytes is wrong;
 *   - KESTERLIB_TOO_LARGE: the lists are too large;
 *   - KESTERLIB_NO_MEMORY: memory is short.
 *
 * The functions for `file` and for `base` without `cb` make a block of their own. It writes its messages to
 * standard error. If memory is short, it makes a fatal report, which ends the process. To avoid both, pass a
 * block: open with the functions that have `cb`.
 *
 * Unccitt4_Open and Unccitt4_Open_Callback read the first 512 bytes. If that read fails, they still return
 * a frame; Uncomp_Error_String then returns a message. */
KESTERLIB_NODISCARD KESTERLIB_API UNCOMP* Unccitt4_Open(FILE* file, int32_t width, int32_t row_bytes,
                                                        const uint8_t* first_ref_row);
KESTERLIB_NODISCARD KESTERLIB_API UNCOMP*
Unccitt4_Open_Callback(callback_block* cb, int32_t width, int32_t row_bytes, const uint8_t* first_ref_row);
KESTERLIB_NODISCARD KESTERLIB_API UNCOMP* Unccitt4_Open_MMapped(const uint8_t* base, size_t size,
                                                                int32_t width, int32_t row_bytes,
                                                                const uint8_t* first_ref_row);
KESTERLIB_NODISCARD KESTERLIB_API UNCOMP* Unccitt4_Open_Memory(callback_block* cb, const uint8_t* base,
                                                               size_t size, int32_t width, int32_t row_bytes,
                                                               const uint8_t* first_ref_row);

/* Decodes the next rows, in order from the top.
 *
 *   frame   from one of the open functions
 *   rows    rows requested; 0 or less decodes nothing and returns 0
 *   buffer  row k of this call starts at buffer + k * stride
 *   stride  bytes from one row to the next, normally row_bytes, and the most bytes that are written per row.
 *           If it is 0 or below, no row is written
 *
 * A row is packed: 1 bit per pixel, the leftmost in the top bit. Bits after the width are 0.
 *
 * The first end of line code ends the page: its row and all later rows are white, as many as are requested.
 * If stride is 0 or below, these rows cost nothing.
 *
 * The filler after the end of the data begins with the code of a row that is equal to a white row above. So
 * an empty stream delivers one white row, unless first_ref_row has black pixels. The row has the reason
 * UNCOMP_FILLER.
 *
 * Returns the number of rows delivered: rows, or fewer if the stream is damaged or ends without an end of
 * line code. Those rows stay in buffer. The frame is then finished: further calls return 0.
 * Uncomp_Error_String returns the message of a read error, or of a row with too many transitions. It
 * returns null if the bits were not a code, or if a code moved to the left of the row.
 *
 * Allocates nothing. Input that is not in memory is read 512 bytes at a time. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Unccitt4_Decode(UNCOMP* frame, int32_t rows, uint8_t* buffer,
                                                          int32_t stride);

/* Skips the next rows. Returns the same count as Unccitt4_Decode and leaves the same state: rows decoded
 * after it, message, status and suspicious rows are the same. Takes as long as decoding, less the time
 * for painting. Rows after the end of the page cost nothing, so the time is limited by the bytes of the
 * input. Allocates nothing. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Unccitt4_Discard(UNCOMP* frame, int32_t rows);

KESTERLIB_END

#endif
