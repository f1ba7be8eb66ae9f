/* SPDX-License-Identifier: MIT */
/* The Squeeze decoder. Squeeze is a two-dimensional run code for 1-bit rows. A stream has no header, no
 * code table and no end mark. */
#ifndef KESTERLIB_UNSQZ_H
#define KESTERLIB_UNSQZ_H

#include "kesterlib/export.h"
#include "kesterlib/uncompress.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

/* Open a frame, the state of the decoder, for a Squeeze stream.
 *
 *   file           the input, read from its current position; stays open; the caller closes it
 *   cb             the caller's block, which must live as long as the frame and is not disposed of with it.
 *                  For Unsqz_Open_Callback its fread slot supplies the input, its ferror slot says whether
 *                  the input has failed or ended, and its fflush slot is called after a read error. For
 *                  Unsqz_Open_Memory no data slot is called
 *   base, size     the input in memory; must be unchanged as long as the frame lives; null: 0 bytes
 *   width          pixels of a row
 *   row_bytes      bytes of a row in the stream, normally (width + 7) / 8
 *   first_ref_row  packed row of row_bytes bytes above the first row, read during the call; null: a row
 *                  of 0 bits
 *
 * Returns the frame, which the caller frees with Uncomp_Free. Returns null if
 * - width or row_bytes is below 0,
 * - width is above 8 * row_bytes,
 * - the transition lists (see uncompress.h) would take more than 256 MiB,
 * - `cb` is null,
 * - memory is short.
 * kesterlib_open_status then returns the reason:
 *   - KESTERLIB_NOT_SUPPORTED: `cb` is null, or width or row_bytes is wrong;
 *   - KESTERLIB_TOO_LARGE: the lists are too large;
 *   - KESTERLIB_NO_MEMORY: memory is short.
 * If `file` is null, the call makes a fatal report (see callback.h), which ends the process.
 *
 * The functions for `file` and for `base` without `cb` make a block of their own. It writes its messages to
 * standard error. If memory is short, it makes a fatal report, which ends the process. To avoid both, pass a
 * block: open with the functions that have `cb`.
 *
 * Unsqz_Open and Unsqz_Open_Callback read the first 512 bytes. If that read fails, they still return a
 * frame; Uncomp_Error_String then returns a message. */
KESTERLIB_NODISCARD KESTERLIB_API UNCOMP* Unsqz_Open(FILE* file, int32_t width, int32_t row_bytes,
                                                     const uint8_t* first_ref_row);
KESTERLIB_NODISCARD KESTERLIB_API UNCOMP*
Unsqz_Open_Callback(callback_block* cb, int32_t width, int32_t row_bytes, const uint8_t* first_ref_row);
KESTERLIB_NODISCARD KESTERLIB_API UNCOMP* Unsqz_Open_MMapped(const uint8_t* base, size_t size, int32_t width,
                                                             int32_t row_bytes, const uint8_t* first_ref_row);
KESTERLIB_NODISCARD KESTERLIB_API UNCOMP* Unsqz_Open_Memory(callback_block* cb, const uint8_t* base,
                                                            size_t size, int32_t width, int32_t row_bytes,
                                                            const uint8_t* first_ref_row);

/* Decodes the next rows, in order from the top.
 *
 *   frame   from one of the open functions
 *   rows    rows requested; 0 or less decodes nothing and returns 0
 *   buffer  row k of this call starts at buffer + k * stride
 *   stride  bytes from one row to the next, normally row_bytes. A coded row writes at most stride bytes, and
 *           none if stride is 0 or below. A raw row, which is in the stream without coding, always writes
 *           row_bytes bytes. So row_bytes bytes from each row start must be writable
 *
 * A row is packed: 1 bit per pixel, the leftmost in the top bit. A 1 is black. Bits after the width are 0
 * in a coded row. A raw row keeps those of the stream.
 *
 * Returns the number of rows delivered: rows, or fewer if the stream is damaged or at its end. The delivered
 * rows stay in buffer. If the stream was cut off, the decoder reads filler bytes after its end, so the last
 * rows may have wrong pixels (see UNCOMP_FILLER). If the call delivers fewer rows than requested, the frame
 * is finished: Uncomp_Error_String returns the message, and further calls return 0. A stream has no end
 * mark, so request as many rows as the page has.
 *
 * Allocates nothing. Input that is not in memory is read 512 bytes at a time. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Unsqz_Decode(UNCOMP* frame, int32_t rows, uint8_t* buffer,
                                                       int32_t stride);

/* Skips the next rows. Returns the same count as Unsqz_Decode and leaves the same state: rows decoded after
 * it, message, status and suspicious rows are the same. Takes as long as decoding, less the time for
 * painting. The time is limited by the bytes of the input. Allocates nothing. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t Unsqz_Discard(UNCOMP* frame, int32_t rows);

KESTERLIB_END

#endif
