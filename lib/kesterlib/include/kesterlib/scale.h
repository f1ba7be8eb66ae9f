/* SPDX-License-Identifier: MIT */
/* The scale engine: reduces a 1-bit page to 8-bit grey, a source row at a time. The page is divided into
 * square cells of `scale` x `scale` pixels. The number of 1 bits in a cell becomes one grey byte. The
 * caller passes the rows from the top. A sink receives each reduced row as soon as its band of `scale` rows
 * is complete. The engine needs memory for a few rows, regardless of the page's height, and allocates
 * nothing after make_scale_engine.
 *
 * Valid scales are 1, 2, 4 and the multiples of 8 up to 248. */
#ifndef KESTERLIB_SCALE_H
#define KESTERLIB_SCALE_H

#include "kesterlib/export.h"

#include <stddef.h>
#include <stdint.h>

KESTERLIB_BEGIN

struct scale_loops;

/* Only make_scale_engine makes this record, because a later version of the library may append fields. Clients
 * read the fields and change none. */
typedef struct scale_engine {
    int32_t scale;    /* side of a cell in pixels */
    uint8_t* bytes;   /* counts per column at scales below 8; the reduced row while the sink runs */
    uint16_t* shorts; /* counts per column at scales from 24 on; complete while the sink runs */

    int32_t width;   /* pixels of a source row */
    int32_t height;  /* source rows */
    int32_t invert;  /* polarity, as passed to make_scale_engine */
    void* user_data; /* passed to the sink */

    int32_t cell_bytes; /* source bytes per cell width: scale / 8; 0 at scales below 8 */
    int32_t up_shift;   /* 8, 6, 4, 2 at scales 1, 2, 4, 8; else 0 */
    int32_t down_shift; /* log2(cell_area / 256) if cell_area is a power of two and at least 256, else -1 */
    int32_t out_width;  /* output columns: width / scale, rounded up */
    int32_t row_bytes;  /* bytes of a source row: width / 8, rounded up */
    int32_t cell_area;  /* pixels of a cell: scale * scale */

    int32_t rows_seen;    /* source rows received so far, INT32_MAX at most */
    int32_t rows_in_cell; /* rows received of the band that is not complete */

    /* Private to the engine. */
    const struct scale_loops* loops; /* row loops for this machine */
    uint8_t* counts;                 /* 1 bits per source byte, over the last counted_rows rows of the band */
    int32_t counted_rows;            /* 0 to 31 */

    /* The step of a cell is its share of 1 bits, from 0 for none to 256 for all. From it the table makes the
     * grey. At scales from 24 on, the step is
     *     (count >> shift_before) * multiplier >> 16 >> shift_after */
    uint32_t shift_before;
    uint32_t multiplier;
    uint32_t shift_after;
} scale_engine;

/* Receives a reduced row.
 *
 *   out_row    number of the row, 0 at the top
 *   out_width  bytes of the row
 *   grey_row   the row, valid during the call only
 *   user_data  of the engine
 *
 * Returns 0 to ask the caller of scale_one_row to stop, else any other number. */
typedef int32_t scale_row_sink(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data);

/* Supplies view_reduced with source rows.
 *
 *   user_data   as passed to view_reduced
 *   row_buffer  at the first call the buffer passed to view_reduced, later the result of the previous call
 *
 * Returns the next row, of (width + 7) / 8 writable bytes, or null after a failure. */
typedef uint8_t* scale_row_fetch(void* user_data, uint8_t* row_buffer);

/* Selects the process-wide polarity, which says how the step of a cell, its share of 1 bits from 0 to 256,
 * becomes a grey: min(step, 255), or 255 - min(step, 255) if `invert` is not 0. make_scale_engine calls it.
 * Existing engines continue with the new polarity, also those of other threads.
 *
 * Returns a constant table of 256 bytes: the number of 1 bits of each byte. */
KESTERLIB_API const uint8_t* init_countones(int32_t invert);

/* Makes an engine.
 *
 *   scale          side of a cell. If it is not valid, the engine has no columns and accepts no rows
 *   width, height  pixels of the page, up to INT32_MAX; below 0 counts as 0
 *   invert         polarity: 0 maps a cell without 1 bits to 0, any other value maps it to 255
 *   user_data      passed to the sink; may be null
 *
 * Never returns null: without memory, prints a line to stderr and exits with code 1. finish_scaling frees
 * the engine. Allocates the record, out_width bytes and shorts, and a byte for each byte of a source row. */
KESTERLIB_NODISCARD KESTERLIB_API scale_engine*
make_scale_engine(int32_t scale, int32_t width, int32_t height, int32_t invert, void* user_data);

/* Adds the next source row, in order from the top.
 *
 *   row   row_bytes bytes, read during the call only: 1 bit per pixel, the leftmost in the top bit. Bits
 *         after the width in the last byte may be counted, so they should be 0
 *   sink  called if the row completes a band. It must not finish the engine or add rows to it
 *
 * A cell at the right edge counts only the pixels that the row has.
 *
 * Returns the sink's result if the row completes a band, else 1; 0 if the scale is not valid. After a 0
 * from the sink the engine continues with the next band. Allocates nothing. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t scale_one_row(scale_engine* engine, const uint8_t* row,
                                                        scale_row_sink* sink);

/* Completes the page and frees the engine.
 *
 *   blank_row  row_bytes writable bytes, which are set to 0 and added as rows until `height` rows were
 *              received and no band is incomplete, or scale_one_row returns 0; null: an incomplete band is
 *              dropped
 *   sink       receives the completed bands; may be null if blank_row is null
 *
 * Returns the result of the last scale_one_row, or 1 if no row was added. */
KESTERLIB_API int32_t finish_scaling(scale_engine* engine, uint8_t* blank_row, scale_row_sink* sink);

/* Reduces a whole page in one call.
 *
 *   scale to user_data  as for make_scale_engine
 *   row_buffer          passed to the first call of fetch; may be null
 *   fetch               called `height` times. The last row that it returned is overwritten with 0 if the
 *                       band at the bottom is to be completed
 *   sink                receives the reduced rows
 *
 * Returns 1 after the whole page. Returns 0 if fetch returned null, and at once if the sink returned 0.
 * Also returns 0 if the scale is not valid and height is above 0. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t view_reduced(int32_t scale, int32_t width, int32_t height,
                                                       int32_t invert, void* user_data, uint8_t* row_buffer,
                                                       scale_row_fetch* fetch, scale_row_sink* sink);

/* Counts the 1 bits in adjacent upright zones of a 1-bit page.
 *
 *   rows    first row; the others start `stride` bytes apart. `stride` may be negative
 *   height  rows; nothing is counted if it is not above 0
 *   starts  zones + 1 numbers of pixels, from 0 at the left, in ascending order. Zone z has the pixels
 *           starts[z] to starts[z + 1] - 1
 *   zones   nothing is counted if it is not above 0
 *   ones    the number of 1 bits of zone z is added to ones[z]
 *
 * Only the bytes that hold pixels of the zones are read. */
KESTERLIB_API void count_ones_by_zone(const uint8_t* rows, ptrdiff_t stride, int32_t height,
                                      const int32_t* starts, int32_t zones, int64_t* ones);

KESTERLIB_END

#endif
