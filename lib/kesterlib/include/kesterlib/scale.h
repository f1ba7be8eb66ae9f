/* The scale engine: reduces a 1-bit page to 8-bit grey, a source row at a time. The page is cut into square
 * cells of `scale` x `scale` pixels; the 1 bits of a cell are counted, and the count becomes a byte. Rows go
 * in from the top; a sink gets each reduced row as soon as its band of `scale` rows is complete. Memory is
 * that of a few rows, whatever the page's height; nothing is allocated after make_scale_engine.
 *
 * Valid scales are 1, 2, 4 and the multiples of 8 up to 248. */
#ifndef KESTERLIB_SCALE_H
#define KESTERLIB_SCALE_H

#include "kesterlib/export.h"

#include <stddef.h>
#include <stdint.h>

KESTERLIB_BEGIN

struct scale_loops;

typedef struct scale_engine {
    int32_t scale;    /* side of a cell in pixels */
    uint8_t* bytes;   /* counts by column at scales below 8; the finished row while the sink runs */
    uint16_t* shorts; /* counts by column at scales from 24 on, complete while the sink runs */

    int32_t width;  /* pixels of a source row */
    int32_t height; /* source rows */
    int32_t invert; /* polarity that the tables were asked for */
    void* user_data;

    int32_t cell_bytes; /* source bytes in a cell's width: scale / 8; 0 below 8 */
    int32_t up_shift;   /* 8, 6, 4, 2 for scale 1, 2, 4, 8, else 0 */
    int32_t down_shift; /* log2(cell_area / 256) of a cell_area that is a power of two from 256 on, else -1 */
    int32_t out_width;  /* output columns: width / scale, rounded up */
    int32_t row_bytes;  /* of a source row: width / 8, rounded up */
    int32_t cell_area;  /* scale * scale */

    int32_t rows_seen;    /* source rows given so far; stays at INT32_MAX */
    int32_t rows_in_cell; /* of them in the band that is open */

    /* The engine's own. */
    const struct scale_loops* loops; /* for the machine at hand */
    uint8_t* counts;                 /* 1 bits by source byte, over the last counted_rows rows of the band */
    int32_t counted_rows;
    uint32_t shift_before; /* (count >> shift_before) * multiplier >> 16 >> shift_after is the count in 256 */
    uint32_t multiplier;   /* steps, at scales from 24 on */
    uint32_t shift_after;
} scale_engine;

/* Takes a finished row: its number from 0 at the top, its out_width bytes, valid during the call only, and
 * the engine's user_data. 0 asks the caller of scale_one_row to stop. */
typedef int32_t scale_row_sink(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data);

/* Gives the next source row of view_reduced, of the engine's row_bytes bytes, or null where there is none to
 * be had. `row_buffer` is the buffer given at the start, then what the call before has given. */
typedef uint8_t* scale_row_fetch(void* user_data, uint8_t* row_buffer);

/* Makes the tables for a polarity, unless they are there: the count of 1 bits in a byte, and the grey of a
 * count in 256 steps, which is the step (256 gives 255) or, with `invert` not 0, 255 less that. The polarity
 * is the process's: engines already alive go on with the new one. Returns the counts, 256 bytes. */
KESTERLIB_API const uint8_t* init_countones(int32_t invert);

/* A new engine for a page of width x height pixels; sides below 0 count as 0. With a scale that is not valid
 * it has no columns and takes no rows: scale_one_row gives 0. Never null: without memory, a line on stderr
 * and exit with 1.
 *
 * Allocates the record, out_width bytes and shorts, and a byte for each source byte of a row; finish_scaling
 * frees them. Pages up to INT32_MAX pixels a side. */
KESTERLIB_API scale_engine* make_scale_engine(int32_t scale, int32_t width, int32_t height, int32_t invert,
                                              void* user_data);

/* The next source row from the top, row_bytes bytes, 1 bit a pixel, the leftmost in the top bit; read during
 * the call only, and not behind row_bytes. Bits behind the width are counted as far as the last byte holds
 * them: they should be 0. Cells at the right edge count what the row has of them.
 *
 * Returns the sink's result where the row completes a band, else 1; 0 if the scale is not valid. After a 0 of
 * the sink the engine goes on with the next band. */
KESTERLIB_API int32_t scale_one_row(scale_engine* engine, const uint8_t* row, scale_row_sink* sink);

/* Ends the engine and frees it. With a `blank_row` of row_bytes writable bytes, these are cleared and given
 * as a row over and over until no band is open and `height` rows are there, or scale_one_row gives 0; with
 * null, an open band is thrown away. Returns what the last row gave, 1 if there was none. */
KESTERLIB_API int32_t finish_scaling(scale_engine* engine, uint8_t* blank_row, scale_row_sink* sink);

/* The whole of it: `height` rows from `fetch`, the band at the bottom filled with blank rows, in the buffer
 * that was fetched last. 1 if all went well; 0 after a null of `fetch`, at once after a 0 of the sink, and
 * for a scale that is not valid where there are rows. */
KESTERLIB_API int32_t view_reduced(int32_t scale, int32_t width, int32_t height, int32_t invert,
                                   void* user_data, uint8_t* row_buffer, scale_row_fetch* fetch,
                                   scale_row_sink* sink);

/* Returns the number of 1 bits in a rectangle of a 1-bit page: pixels `first` to first + count - 1 of a row,
 * from 0 at the left, in `height` rows that start `stride` bytes apart. `stride` may be negative. Only the
 * bytes that hold these pixels are read. 0 if `height` or `count` is not above 0; `first` must not be below
 * 0, and the rectangle may end after INT32_MAX. */
KESTERLIB_API int64_t count_ones(const uint8_t* rows, ptrdiff_t stride, int32_t height, int32_t first,
                                 int32_t count);

KESTERLIB_END

#endif
