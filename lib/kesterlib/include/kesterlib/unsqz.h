/* The Squeeze decoder: a two-dimensional run code of 1-bit rows, without header, code table or end mark. */
#ifndef KESTERLIB_UNSQZ_H
#define KESTERLIB_UNSQZ_H

#include "kesterlib/export.h"
#include "kesterlib/uncompress.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

/* Open a frame over a Squeeze stream.
 *
 *   width          pixels of a row
 *   row_bytes      bytes of a row in the stream, normally (width + 7) / 8
 *   first_ref_row  packed row of row_bytes above the first one, read during the call; null: a row of 0
 *
 * The input is the stream behind `file`, from its current position; what the read slot of `cb` gives; or the
 * `size` bytes at `base`, which stay where they are and unchanged while the frame lives. The first reads with
 * a block that it makes and frees with the frame. `cb` and `file` stay the caller's.
 *
 * Null where a side is below 0, where the width is above 8 * row_bytes, where the lists would take more than
 * 256 MiB, or where the block gave no memory. A null `file` is a fatal report. */
KESTERLIB_API UNCOMP* Unsqz_Open(FILE* file, int32_t width, int32_t row_bytes, const uint8_t* first_ref_row);
KESTERLIB_API UNCOMP* Unsqz_Open_Callback(callback_block* cb, int32_t width, int32_t row_bytes,
                                          const uint8_t* first_ref_row);
KESTERLIB_API UNCOMP* Unsqz_Open_MMapped(const uint8_t* base, size_t size, int32_t width, int32_t row_bytes,
                                         const uint8_t* first_ref_row);

/* Decodes the next rows, in order from the top.
 *
 *   frame   from one of the open calls, and not finished (see below)
 *   rows    rows wanted; 0 or less decodes nothing and gives 0
 *   buffer  row k of this call starts at buffer + k * stride
 *   stride  bytes from one row to the next
 *
 * A raw row is copied whole: every row start needs row_bytes writable bytes behind it, even where stride is
 * smaller.
 *
 * A row is packed, 1 bit a pixel, the leftmost in the top bit, 1 for the code's black. Bits behind the width
 * are 0 in a coded row, and as they stand in the stream in a raw one.
 *
 * Returns the rows delivered: rows, or fewer where the stream is damaged or at its end. Those rows stay in
 * buffer; of a stream that was cut off, the last may be painted from filler. The frame is then finished:
 * Uncomp_Error_String has the words, and further calls give 0. A stream has no end mark; ask for as many rows
 * as the page has.
 *
 * Allocates nothing; input comes 512 bytes a read, or as it lies in memory. */
KESTERLIB_API int32_t Unsqz_Decode(UNCOMP* frame, int32_t rows, uint8_t* buffer, int32_t stride);

KESTERLIB_END

#endif
