/* SPDX-License-Identifier: MIT */
/* The text header at the start of a page file: the record, its writer and its strict reader, in memory and
 * on streams. The raster follows at offset HeaderSize. */
#ifndef KESTERLIB_FAXHDR_H
#define KESTERLIB_FAXHDR_H

#include "kesterlib/callback.h"
#include "kesterlib/export.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

enum {
    FAXHEADER_BYTES = 4096, /* bytes that a reader reads from the start of a file; the usual HeaderSize */
    FAXHEADER_DESTINATIONS = 64, /* entries of Destination */
    FAXHEADER_JOB_NAME = 32,     /* bytes of the text fields, with the terminator */
    FAXHEADER_CREATOR = 16,
    FAXHEADER_DESTINATION = 16,
    FAXHEADER_MUX = 33
};

/* Formats of the raster: the values of Compression. A row is packed: 1 bit per pixel, the leftmost in the top
 * bit of its first byte. Rows follow in order from the top.
 *
 * | Compression  | decoder   | bytes of a row       | a 1 is | bits after the width | rows after the data |
 * | ------------ | --------- | -------------------- | ------ | -------------------- | ------------------- |
 * | UNCOMPRESSED | none      | (DataWidth + 7) / 8  | black  | as in the file       | none                |
 * | SQUEEZE      | unsqz.h   | (DataWidth + 7) / 8  | black  | 0; any in raw rows   | fail                |
 * | GROUP4       | unccitt.h | (DataWidth + 7) / 8  | black  | 0                    | are white, or fail  |
 * | JBIG         | jbig.h    | jbig_data::row_bytes | white  | 0                    | have no meaning     |
 *
 * The decoders do not know how many rows a page has: request ImageHeight rows and no more. In Group 4 all
 * rows after an end of line code are white, and rows fail if the data end without this code. If Squeeze or
 * Group 4 data are cut off, the last rows before the one that fails can be wrong (see
 * Uncomp_First_Suspicious_Row). JBIG data have a width of their own: compare jbig_data::width with DataWidth.
 *
 * The rows are delivered as they are stored. ImageNegate, DoubleTruck, Mirror and Rotation have no effect on
 * them. The viewer shows these fields, but does not turn or invert a page because of them. */
enum {
    FAXHEADER_UNCOMPRESSED = -1,
    FAXHEADER_SQUEEZE = 1000,
    FAXHEADER_GROUP4 = 2000,
    FAXHEADER_JBIG = 2001
};

/* A calendar time, with the members and units of struct tm in the same order. */
typedef struct FAXTime {
    int32_t tm_sec;
    int32_t tm_min;
    int32_t tm_hour;
    int32_t tm_mday;
    int32_t tm_mon;  /* 0 to 11 */
    int32_t tm_year; /* years since 1900 */
    int32_t tm_wday;
    int32_t tm_yday;
    int32_t tm_isdst;
} FAXTime;

/* The library only stores the fields without a comment; it defines no unit or range for them. A reader
 * accepts any numbers, so check a number before you use it.
 *
 * A text field holds the bytes of the file and a terminator. The file does not state an encoding, and readers
 * check none: the bytes can be invalid UTF-8 and contain control characters, but no line feed.
 *
 * Clients may make this record themselves. Its size is the same in all versions of libkesterlib.so.1. */
typedef struct FAXHeader {
    int32_t FaxHeaderVersion; /* version of the text; it has JobID from 2 on, Mux from 3 on */
    uint32_t HeaderSize;      /* bytes before the raster */
    uint32_t Size;

    char JobName[FAXHEADER_JOB_NAME];
    int32_t PageNumber;
    int32_t NumberOfPages;
    char Creator[FAXHEADER_CREATOR];
    FAXTime CreateTime;

    uint32_t ImageWidth;
    uint32_t ImageHeight; /* rows of the raster */
    uint32_t DataWidth;   /* pixels of a row; this, not ImageWidth, sets the size of a row */
    uint32_t BandHeight;
    int32_t Compression;           /* one of the formats above */
    uint32_t ResolutionMultiplier; /* divisor of the two resolutions */
    uint32_t XResolution;          /* dots per inch, times ResolutionMultiplier */
    uint32_t YResolution;          /* the same */
    uint32_t LeftMargin;
    uint32_t RightMargin;
    uint32_t TopMargin;
    uint32_t BottomMargin;

    int32_t Layer; /* 0 black, 1 cyan, 2 magenta, 3 yellow; 4 + n: spot colour n, from 0 */
    int32_t PSet;
    int32_t ImageNegate; /* flag: 0 is false, any other value true */
    int32_t DoubleTruck; /* flag */
    int32_t Mirror;      /* flag */
    int32_t Rotation;
    int32_t Priority;

    int32_t NumDestinations; /* entries of Destination in use; 0 or less: none */
    char Destination[FAXHEADER_DESTINATIONS][FAXHEADER_DESTINATION];
    uint32_t JobID;
    char Mux[FAXHEADER_MUX];
} FAXHeader;

/* ---- The record -------------------------------------------------------------------------------------- */

/* Returns the bytes of a packed row, (DataWidth + 7) / 8. Returns 0 if the decoders cannot use the sides, so
 * check for it before any other use of them: DataWidth is 0 or above 0x7ffffff8, or ImageHeight is above
 * 0x7fffffff. An ImageHeight of 0 is accepted. An open function can still refuse a large width. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t FAXHeader_Row_Bytes(const FAXHeader* header);

/* Writes the page's label, a text such as "12.C News": PageNumber, a point, Layer, a blank, JobName. Layer is
 * a letter, "B", "C", "M" or "Y" for 0 to 3, or the number of any other layer.
 *
 *   header  JobName needs no terminator. It may have any bytes, and these are not changed
 *   buffer  receives the label and a terminator; may be null if size is 0
 *   size    bytes of buffer. A longer label is cut. With 64 bytes no label is cut. 0: writes nothing
 *
 * Returns the length of the whole label without the terminator, also if it was cut. */
KESTERLIB_API int FAXHeader_Label(const FAXHeader* header, char* buffer, size_t size);

/* ---- Text in memory ---------------------------------------------------------------------------------- */

/* Writes the header's text.
 *
 *   buffer      receives the text
 *   bufferSize  bytes of buffer; nothing is written after them
 *   header      the record; its HeaderSize is the limit of the text and must be at most bufferSize. Null is a
 *               failure
 *   pad         0: a zero byte follows the text if the buffer has room for it; the rest of the buffer is
 *               unchanged. Not 0: blanks follow the text up to HeaderSize, and no zero byte; a text of
 *               exactly HeaderSize bytes ends as with 0
 *   message     receives a constant text, empty after a success
 *
 * Returns the number of header bytes: HeaderSize with pad, at most 0x7fffffff; else the length of the text.
 * Returns 0 if header is null or its HeaderSize is above bufferSize. If the text is longer than HeaderSize,
 * returns its length as a negative number; the contents of the buffer are then undefined.
 *
 * The values are not checked. A text field without a terminator is written to its end. At most
 * FAXHEADER_DESTINATIONS destinations are written, and counted in the text. The longest text of a version 3
 * record is below 2700 bytes, so FAXHEADER_BYTES are always enough. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t createFaxHeader(char* buffer, uint32_t bufferSize,
                                                          const FAXHeader* header, int32_t pad,
                                                          const char** message);

/* Reads the text of a header. Each key must be on its own line, in the writer's order. Lines of a later
 * version are skipped, but only after the last key of version 3.
 *
 *   buffer   the text; needs no terminator, and may hold any bytes
 *   size     bytes of buffer, which may be null if size is 0
 *   header   receives the values. Fields that no line sets are unchanged, so clear a new record first.
 *            Exceptions: NumDestinations is 0 without destinations, and JobID and Mux are cleared if the
 *            version does not have them
 *   message  receives a constant text, empty after a success
 *
 * A number out of range is clamped to the range of its field, and a text is cut to the length of its field.
 * In an unsigned field, -1 is 0xffffffff. NumDestinations may be negative, which means none. The text has no
 * time zone: CreateTime is normalised by mktime, as local time of this process, and its weekday, day of the
 * year and daylight flag are set. A time that mktime refuses keeps its numbers.
 *
 * Returns the number of bytes read, above 0 and at most 0x7fffffff. If the text has no destinations, this
 * includes the line after the text. After a failure, returns 0 or the number of bytes read as a negative
 * number; the record then has the values that were read before, and CreateTime is not normalised. Allocates
 * nothing. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t extractFaxHeader(const char* buffer, uint32_t size,
                                                           FAXHeader* header, const char** message);

/* ---- Streams ----------------------------------------------------------------------------------------- */

/* Reads FAXHEADER_BYTES from the block's stream, regardless of HeaderSize, and extracts the header from
 * them.
 *
 *   callbacks  needs the slots fread, which may return the bytes in pieces, and fflush, which is called if
 *              the stream has fewer bytes
 *   header     the record to fill; null: a zeroed record from the block's memory, which the caller releases
 *              with callback_deallocate
 *
 * Returns the record. Returns null if the stream has fewer bytes or the bytes are no header; a message of
 * the block then says which. Also returns null if the block returns no memory. */
KESTERLIB_NODISCARD KESTERLIB_API FAXHeader* read_FAXHeader_from_callback(callback_block* callbacks,
                                                                          FAXHeader* header);

/* The same from a stream, which stays open, at its current position. The record is new. It comes from the
 * memory of the default block of the thread: release it with callback_deallocate(dfcb(), header,
 * "FAXHeader") in the same thread. Messages go to stderr. If memory is short, the process ends. */
KESTERLIB_NODISCARD KESTERLIB_API FAXHeader* read_FAXHeader_from_file(FILE* stream);

/* Writes HeaderSize bytes to the block's stream: the text, a zero byte if there is room, then bytes of
 * `fill`. Needs the slots fwrite, and fflush, which is called if the write fails. `header` may be null, which
 * is a failure.
 *
 * Returns HeaderSize. Returns 0 if header is null, the text is longer than HeaderSize, or the write fails;
 * a message of the block then says which. Also returns 0 if the block returns no memory. Allocates
 * HeaderSize bytes during the call. */
KESTERLIB_NODISCARD KESTERLIB_API uint32_t print_FAXHeader_to_callback(const FAXHeader* header,
                                                                       callback_block* callbacks, char fill);

/* The same to a stream, which stays open. Messages go to stderr. If memory is short, the process ends. */
KESTERLIB_NODISCARD KESTERLIB_API uint32_t print_FAXHeader_to_file(const FAXHeader* header, FILE* stream,
                                                                   char fill);

KESTERLIB_END

#endif
