/* decode_page PAGE: decodes a page file and writes it to standard output as a PBM image, in which a 1 is
 * black. It shows how to use the library: it reads the header, opens the decoder for the kind of raster,
 * decodes a batch of rows at a time and checks every result. If anything fails, it ends with status 1 and
 * says why on standard error. */
#include "kesterlib/callback.h"
#include "kesterlib/faxhdr.h"
#include "kesterlib/jbig.h"
#include "kesterlib/unccitt.h"
#include "kesterlib/unsqz.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

enum { BATCH_BYTES = 1 << 20 }; /* size of the buffer of rows; a single row may be larger */

struct open_page {
    const char* path;
    FILE* file;
    int32_t compression; /* kind of raster */
    int32_t width;       /* pixels of a row */
    int32_t height;      /* rows */
    int32_t row_bytes;
    UNCOMP* frame;   /* decoder of a Squeeze or Group 4 raster, else null */
    jbig_data* jbig; /* decoder of a JBIG raster, else null */
};

/* Prints why the page cannot be decoded. Returns 0, so that a caller can return the result. */
static int refuse(const struct open_page* page, const char* reason)
{
    fprintf(stderr, "%s: %s\n", page->path, reason);
    return 0;
}

/* Checks and copies the numbers that the decoders need, because a header can have any numbers. Then seeks to
 * the start of the raster. */
static int use_header(struct open_page* page, const FAXHeader* header)
{
    if (header->DataWidth == 0 || header->DataWidth > INT32_MAX - 7) {
        fprintf(stderr, "%s: cannot use /DataWidth %lu\n", page->path, (unsigned long)header->DataWidth);
        return 0;
    }
    if (header->ImageHeight > INT32_MAX) {
        fprintf(stderr, "%s: cannot use /ImageHeight %lu\n", page->path, (unsigned long)header->ImageHeight);
        return 0;
    }
    page->compression = header->Compression;
    page->width = (int32_t)header->DataWidth;
    page->height = (int32_t)header->ImageHeight;
    page->row_bytes = (page->width + 7) / 8;
    if (fseek(page->file, (long)header->HeaderSize, SEEK_SET) != 0)
        return refuse(page, "cannot seek to the raster");
    return 1;
}

static int open_raster(struct open_page* page)
{
    switch (page->compression) {
    case FAXHEADER_UNCOMPRESSED: return 1; /* the rows are read from the file */
    case FAXHEADER_SQUEEZE: page->frame = Unsqz_Open(page->file, page->width, page->row_bytes, NULL); break;
    case FAXHEADER_GROUP4: page->frame = Unccitt4_Open(page->file, page->width, page->row_bytes, NULL); break;
    case FAXHEADER_JBIG:
        page->jbig = Jbig_Open_Input(page->file);
        if (page->jbig && page->jbig->width != (uint32_t)page->width)
            return refuse(page, "the JBIG raster has another width than the header");
        break;
    default: return refuse(page, "unknown kind of raster");
    }
    if (!page->frame && !page->jbig)
        return refuse(page, "cannot open the raster");
    return 1;
}

static int open_page(struct open_page* page)
{
    page->file = fopen(page->path, "rb");
    if (!page->file) {
        perror(page->path);
        return 0;
    }
    FAXHeader* header = read_FAXHeader_from_file(page->file);
    if (!header)
        return refuse(page, "not a page file"); /* the library has printed what is wrong */
    const int good = use_header(page, header) && open_raster(page);
    callback_deallocate(dfcb(), header, "FAXHeader"); /* dfcb: the default block, which has allocated it */
    return good;
}

static void close_page(struct open_page* page)
{
    Uncomp_Free(page->frame); /* ignores null, as the next function does */
    Jbig_Close_Input(page->jbig);
    if (page->file)
        fclose(page->file);
}

/* Returns the number of rows that were decoded. It is less than `rows` if the raster is damaged. */
static int32_t decode_rows(struct open_page* page, int32_t rows, uint8_t* buffer)
{
    switch (page->compression) {
    case FAXHEADER_SQUEEZE: return Unsqz_Decode(page->frame, rows, buffer, page->row_bytes);
    case FAXHEADER_GROUP4: return Unccitt4_Decode(page->frame, rows, buffer, page->row_bytes);
    case FAXHEADER_JBIG: return Jbig_Decode(page->jbig, rows, buffer, page->row_bytes);
    default: return (int32_t)fread(buffer, (size_t)page->row_bytes, (size_t)rows, page->file);
    }
}

/* Returns the decoder's message, or null if it has none. */
static const char* error_text(const struct open_page* page)
{
    if (page->jbig)
        return Jbig_Error_String(page->jbig);
    return page->frame ? Uncomp_Error_String(page->frame) : NULL;
}

/* Makes 1 black in every row, and the bits after the width 0. */
static void make_pbm_rows(const struct open_page* page, int32_t rows, uint8_t* buffer)
{
    const size_t row_bytes = (size_t)page->row_bytes;
    if (page->compression == FAXHEADER_JBIG)
        for (size_t i = 0; i < (size_t)rows * row_bytes; ++i)
            buffer[i] = (uint8_t)~buffer[i];
    if (page->width % 8 != 0)
        for (size_t last = row_bytes - 1; last < (size_t)rows * row_bytes; last += row_bytes)
            buffer[last] = (uint8_t)(buffer[last] & 0xFF00 >> page->width % 8);
}

static int write_page(struct open_page* page)
{
    const int32_t batch = page->row_bytes < BATCH_BYTES ? BATCH_BYTES / page->row_bytes : 1;
    uint8_t* buffer = malloc((size_t)batch * (size_t)page->row_bytes);
    if (!buffer)
        return refuse(page, "no memory for the rows");
    int good = printf("P4\n%ld %ld\n", (long)page->width, (long)page->height) > 0;
    for (int32_t done = 0; good && done < page->height;) {
        const int32_t left = page->height - done;
        const int32_t wanted = left < batch ? left : batch;
        const int32_t got = decode_rows(page, wanted, buffer);
        make_pbm_rows(page, got, buffer);
        good = fwrite(buffer, (size_t)page->row_bytes, (size_t)got, stdout) == (size_t)got;
        done += got;
        if (good && got < wanted) {
            const char* text = error_text(page);
            fprintf(stderr, "%s: row %ld: %s\n", page->path, (long)done,
                    text ? text : "damaged, or the file ends");
            free(buffer);
            return 0;
        }
    }
    free(buffer);
    if (!good || fflush(stdout) != 0)
        return refuse(page, "cannot write to standard output");
    const int32_t first =
        page->frame
            ? Uncomp_First_Suspicious_Row(page->frame, UNCOMP_DECREASING | UNCOMP_PAST_WIDTH | UNCOMP_FILLER)
            : -1;
    if (first >= 0) {
        fprintf(stderr, "%s: the rows from row %ld on may be wrong\n", page->path, (long)first);
        return 0;
    }
    return 1;
}

int main(int argc, char** argv)
{
    if (argc != 2) {
        fputs("Usage: decode_page PAGE >PAGE.pbm\n", stderr);
        return 2;
    }
    struct open_page page = {.path = argv[1]};
    const int good = open_page(&page) && write_page(&page);
    close_page(&page);
    dispose_default_callback_block();
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
