/* The Group 4 decoder: rows coded by ITU-T T.6. A 1 is black. */
#ifndef KESTERLIB_UNCCITT_H
#define KESTERLIB_UNCCITT_H

#include "kesterlib/export.h"
#include "kesterlib/uncompress.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

/* Open a frame over a Group 4 stream, filled from the top bit of each byte.
 *
 *   width          pixels of a row
 *   row_bytes      bytes of a row, normally (width + 7) / 8
 *   first_ref_row  packed row of width pixels above the first one, read during the call; null: a white row
 *
 * The input is the stream behind `file`, from its current position; what the read slot of `cb` gives; or the
 * `size` bytes at `base`, which stay where they are and unchanged while the frame lives. The first reads with
 * a block that it makes and frees with the frame. `cb` and `file` stay the caller's.
 *
 * Null where a side is below 0, where the width is above 8 * row_bytes, where the lists would take more than
 * 256 MiB, or where the block gave no memory. A null `file` is a fatal report. */
KESTERLIB_API UNCOMP* Unccitt4_Open(FILE* file, int32_t width, int32_t row_bytes,
                                    const uint8_t* first_ref_row);
KESTERLIB_API UNCOMP* Unccitt4_Open_Callback(callback_block* cb, int32_t width, int32_t row_bytes,
                                             const uint8_t* first_ref_row);
KESTERLIB_API UNCOMP* Unccitt4_Open_MMapped(const uint8_t* base, size_t size, int32_t width,
                                            int32_t row_bytes, const uint8_t* first_ref_row);

/* Decodes the next rows, in order from the top: row k of this call into the bytes from buffer + k * stride
 * on, of which at most stride are written. A row is packed, 1 bit per pixel, the leftmost in the top bit;
 * bits after the width are 0.
 *
 * The first end of line code ends the page: its row and all later ones are white, as many as are requested.
 * With a stride of 0, which writes nothing, any number of them costs nothing.
 *
 * Returns the number of rows delivered: rows, or fewer if the stream is damaged or ends without an end of
 * line code. The frame is then finished: further calls return 0. Uncomp_Error_String returns the message of a
 * read error, or of a row with more transitions than pixels; null if the bits were no code.
 *
 * Allocates nothing. Input is read 512 bytes at a time, unless it is in memory. */
KESTERLIB_API int32_t Unccitt4_Decode(UNCOMP* frame, int32_t rows, uint8_t* buffer, int32_t stride);

KESTERLIB_END

#endif
