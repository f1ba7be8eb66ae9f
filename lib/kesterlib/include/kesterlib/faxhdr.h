/* The text header at the start of a page file: the record, its writer, its strict reader, and the same over
 * streams. The raster follows at offset HeaderSize. */
#ifndef KESTERLIB_FAXHDR_H
#define KESTERLIB_FAXHDR_H

#include "kesterlib/callback.h"
#include "kesterlib/export.h"

#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

enum {
    FAXHEADER_BYTES = 4096,      /* what a reader takes from the start of a file, and the usual HeaderSize */
    FAXHEADER_DESTINATIONS = 64, /* entries of Destination */
    FAXHEADER_JOB_NAME = 32,     /* bytes of the text fields, each with its terminator */
    FAXHEADER_CREATOR = 16,
    FAXHEADER_DESTINATION = 16,
    FAXHEADER_MUX = 33
};

/* Formats of the raster, as the key Compression names them. */
enum {
    FAXHEADER_UNCOMPRESSED = -1, /* packed rows of (DataWidth + 7) / 8 bytes */
    FAXHEADER_SQUEEZE = 1000,
    FAXHEADER_GROUP4 = 2000,
    FAXHEADER_JBIG = 2001
};

/* A calendar time in the members and units of struct tm, in its order. */
typedef struct FAXTime {
    int32_t tm_sec;
    int32_t tm_min;
    int32_t tm_hour;
    int32_t tm_mday;
    int32_t tm_mon;  /* from 0 */
    int32_t tm_year; /* since 1900 */
    int32_t tm_wday;
    int32_t tm_yday;
    int32_t tm_isdst;
} FAXTime;

typedef struct FAXHeader {
    int32_t FaxHeaderVersion; /* of the text form: JobID is in it from 2 on, Mux from 3 on */
    uint32_t HeaderSize;      /* bytes before the raster */
    uint32_t Size;

    char JobName[FAXHEADER_JOB_NAME];
    int32_t PageNumber;
    int32_t NumberOfPages;
    char Creator[FAXHEADER_CREATOR];
    FAXTime CreateTime;

    uint32_t ImageWidth;
    uint32_t ImageHeight; /* rows of the raster */
    uint32_t DataWidth;   /* pixels of a row; sizes the rows, not ImageWidth */
    uint32_t BandHeight;
    int32_t Compression;
    uint32_t ResolutionMultiplier; /* divides the two resolutions */
    uint32_t XResolution;          /* dots per inch, times ResolutionMultiplier */
    uint32_t YResolution;
    uint32_t LeftMargin;
    uint32_t RightMargin;
    uint32_t TopMargin;
    uint32_t BottomMargin;

    int32_t Layer; /* 0 black, 1 cyan, 2 magenta, 3 yellow; from 4 on spot colours, counted from 0 */
    int32_t PSet;
    int32_t ImageNegate; /* flags: 0 or not */
    int32_t DoubleTruck;
    int32_t Mirror;
    int32_t Rotation;
    int32_t Priority;

    int32_t NumDestinations; /* entries in use */
    char Destination[FAXHEADER_DESTINATIONS][FAXHEADER_DESTINATION];
    uint32_t JobID;
    char Mux[FAXHEADER_MUX];
} FAXHeader;

/* ---- Text in memory ---------------------------------------------------------------------------------- */

/* Writes the header's text.
 *
 *   buffer, bufferSize  where it goes, and the bytes there; nothing is written behind them
 *   header              its HeaderSize is the room that the text has, at most bufferSize
 *   pad                 0: a zero byte follows the text, where it still lies within the buffer, and the
 *                       rest stays as it was. Not 0: blanks fill what the text leaves of HeaderSize, and
 *                       no zero byte follows them; a text that leaves nothing is ended as with 0
 *   message             receives a constant text, empty after a success
 *
 * Returns the bytes that count as header: HeaderSize with pad, else those of the text. 0 for no header, or
 * one whose HeaderSize is above bufferSize. The negative length of the whole text where that is above
 * HeaderSize; the buffer then holds nothing of use.
 *
 * Contents are not judged, but a text field is written up to its own end at most, whether closed or not, and
 * of the destinations no more than there are entries; the text then counts as many as it holds. The longest
 * text of a version 3 record is below 2700 bytes, so FAXHEADER_BYTES are always enough. A HeaderSize above
 * 0x7fffffff counts as that in the result. */
KESTERLIB_API int32_t createFaxHeader(char* buffer, uint32_t bufferSize, const FAXHeader* header, int32_t pad,
                                      const char** message);

/* Reads the text back. Strict: each key on its own line, in the writer's order; lines of a later version are
 * passed over only behind the last key of version 3. What follows the text is not looked at, one line
 * excepted.
 *
 *   buffer, size  the text; needs no terminator, and may hold anything
 *   header        receives the values. What no line sets stays as it was, NumDestinations excepted, so
 *                 the caller clears a new record first. After a failure it holds what was read up to then
 *   message       receives a constant text, empty after a success
 *
 * A number out of range is held to the nearest end of its field (-1 in an unsigned one is 0xffffffff), a text
 * to the length of its field. NumDestinations may come back negative, and then stands for none. CreateTime
 * comes back normalised as local time, with weekday, day of the year and daylight flag.
 *
 * Returns the position reached, above 0; or, after a failure, its negative or 0. A position above 0x7fffffff
 * counts as that. Allocates nothing. */
KESTERLIB_API int32_t extractFaxHeader(const char* buffer, uint32_t size, FAXHeader* header,
                                       const char** message);

/* ---- Streams ----------------------------------------------------------------------------------------- */

/* Reads FAXHEADER_BYTES from the block's stream, whatever HeaderSize turns out to be, and the header from
 * them. The stream is then FAXHEADER_BYTES further on.
 *
 *   header  the record to fill; null: a zeroed one from the block's memory, which the caller gives back with
 *           callback_deallocate
 *
 * Returns the record; null where the bytes are fewer, are no header (a message says which), or the block gave
 * no memory. Needs the read slot, which may give the bytes in pieces. */
KESTERLIB_API FAXHeader* read_FAXHeader_from_callback(callback_block* callbacks, FAXHeader* header);

/* The same from a stream, which stays open. The record comes from the default block's memory. */
KESTERLIB_API FAXHeader* read_FAXHeader_from_file(FILE* stream);

/* Writes HeaderSize bytes to the block's stream: the text, a zero byte, then `fill`.
 *
 * Returns HeaderSize; 0 where the text does not fit in it, a write fails (a message says which), or the block
 * gave no memory. Needs the write slot. */
KESTERLIB_API uint32_t print_FAXHeader_to_callback(const FAXHeader* header, callback_block* callbacks,
                                                   char fill);

/* The same to a stream, which stays open. */
KESTERLIB_API uint32_t print_FAXHeader_to_file(const FAXHeader* header, FILE* stream, char fill);

KESTERLIB_END

#endif
