/* SPDX-License-Identifier: MIT */
/* decode_page PAGE: decodes a page file and writes it to standard output as a PBM image, in which a 1 is
 * black. It shows how to use the library: it makes a callback block of its own, reads the header, opens the
 * decoder for the kind of raster, decodes a batch of rows at a time and checks every result. If anything
 * fails, it ends with status 1 and says why on standard error. */
#include "kesterlib/callback.h"
#include "kesterlib/faxhdr.h"
#include "kesterlib/jbig.h"
#include "kesterlib/status.h"
#include "kesterlib/unccitt.h"
#include "kesterlib/unsqz.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

enum { BATCH_BYTES = 1 << 20 }; /* size of the buffer of rows; a single row may be larger */

/* A header of 20 bytes can request large stripes, and can make the decoder work for hours. */
static const jbig_limits kLimits = {128 << 20, (int64_t)1 << 32};

struct open_page {
    const char* path;
    FILE* file;
    callback_block* block; /* input, memory and messages of the library */
    int32_t compression;   /* kind of raster */
    int32_t width;         /* pixels of a row */
    int32_t height;        /* rows */
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

static const char* status_text(int32_t status)
{
    switch (status) {
    case KESTERLIB_CUT_OFF: return "CUT OFF";
    case KESTERLIB_BAD_CODE: return "DAMAGED";
    case KESTERLIB_READ_ERROR: return "read error";
    case KESTERLIB_NO_MEMORY: return "no memory";
    case KESTERLIB_TOO_LARGE: return "too large";
    case KESTERLIB_NOT_SUPPORTED: return "not supported";
    default: return "failed";
    }
}

/* ---- The callback block ---- */

/* The library's messages are for developers. This program shows the statuses instead. */
static int drop_message(FILE* stream, const char* format, va_list arguments)
{
    (void)stream, (void)format, (void)arguments;
    return 0;
}

/* The default slot would end the program if memory is short. With this one the open function fails. It must
 * use malloc, because the default slot that releases the memory calls free. */
static void* allocate(size_t size, const char* description)
{
    (void)description;
    return malloc(size);
}

static callback_block* make_block(FILE* file)
{
    callback_block* block = make_unix_callback_block();
    if (block) {
        set_callback_slot(CALLBACK_FILE, block, (callback_slot_value)file);
        set_callback_slot(CALLBACK_MESSAGE, block, (callback_slot_value)drop_message);
        set_callback_slot(CALLBACK_ALLOCATE, block, (callback_slot_value)allocate);
    }
    return block;
}

/* ---- Open and close ---- */

/* Checks and copies the numbers that the decoders need, because a header can have any numbers. Then seeks to
 * the start of the raster. */
static int use_header(struct open_page* page, const FAXHeader* header)
{
    page->row_bytes = FAXHeader_Row_Bytes(header);
    if (page->row_bytes == 0) {
        fprintf(stderr, "%s: cannot use /DataWidth %lu with /ImageHeight %lu\n", page->path,
                (unsigned long)header->DataWidth, (unsigned long)header->ImageHeight);
        return 0;
    }
    page->compression = header->Compression;
    page->width = (int32_t)header->DataWidth;
    page->height = (int32_t)header->ImageHeight;
    if (fseek(page->file, (long)header->HeaderSize, SEEK_SET) != 0)
        return refuse(page, "cannot seek to the raster");
    return 1;
}

static int open_raster(struct open_page* page)
{
    switch (page->compression) {
    case FAXHEADER_UNCOMPRESSED: return 1; /* the rows are read from the file */
    case FAXHEADER_SQUEEZE:
        page->frame = Unsqz_Open_Callback(page->block, page->width, page->row_bytes, NULL);
        break;
    case FAXHEADER_GROUP4:
        page->frame = Unccitt4_Open_Callback(page->block, page->width, page->row_bytes, NULL);
        break;
    case FAXHEADER_JBIG:
        page->jbig = Jbig_Open_Limited(page->block, &kLimits);
        if (page->jbig && page->jbig->width != (uint32_t)page->width)
            return refuse(page, "the JBIG raster has another width than the header");
        break;
    default: return refuse(page, "unknown kind of raster");
    }
    if (!page->frame && !page->jbig) {
        fprintf(stderr, "%s: cannot open the raster: %s\n", page->path, status_text(kesterlib_open_status()));
        return 0;
    }
    return 1;
}

static int open_page(struct open_page* page)
{
    page->file = fopen(page->path, "rb");
    if (!page->file) {
        perror(page->path);
        return 0;
    }
    page->block = make_block(page->file);
    if (!page->block)
        return refuse(page, "no memory");
    FAXHeader header = {0};
    if (!read_FAXHeader_from_callback(page->block, &header))
        return refuse(page, "not a page file");
    return use_header(page, &header) && open_raster(page);
}

/* Frees the decoders before the block that they use. Each function ignores null. */
static void close_page(struct open_page* page)
{
    Uncomp_Free(page->frame);
    Jbig_Close_Input(page->jbig);
    dispose_callback_block(page->block);
    if (page->file)
        fclose(page->file);
}

/* ---- Rows ---- */

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

/* Prints at which row the page ends too early, and why. Returns 0. */
static int refuse_row(const struct open_page* page, int64_t row, const char* reason)
{
    fprintf(stderr, "%s: row %ld: %s\n", page->path, (long)row, reason);
    return 0;
}

/* Says why decode_rows has returned fewer rows than requested. `row` is the number of rows before. */
static int refuse_rows(const struct open_page* page, int32_t row)
{
    if (page->frame)
        return refuse_row(page, row, status_text(Uncomp_Status(page->frame)));
    if (page->jbig)
        return refuse_row(page, row, status_text(Jbig_Status(page->jbig)));
    return refuse_row(page, row, status_text(ferror(page->file) ? KESTERLIB_READ_ERROR : KESTERLIB_CUT_OFF));
}

/* Returns whether all rows are certain. A decoder can deliver all rows of a page that was damaged or cut
 * off. */
static int check_rows(const struct open_page* page)
{
    if (page->jbig) {
        const int64_t first = Jbig_First_Row_After_Data(page->jbig);
        return first < 0 || first >= page->height || refuse_row(page, first, status_text(KESTERLIB_CUT_OFF));
    }
    const int32_t reasons = UNCOMP_DECREASING | UNCOMP_PAST_WIDTH | UNCOMP_FILLER;
    const int32_t first = page->frame ? Uncomp_First_Suspicious_Row(page->frame, reasons) : -1;
    return first < 0 || refuse_row(page, first, "this row and those after it may be wrong");
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
    int written = printf("P4\n%ld %ld\n", (long)page->width, (long)page->height) > 0;
    int32_t done = 0;
    int whole = 1;
    while (written && whole && done < page->height) {
        const int32_t left = page->height - done;
        const int32_t wanted = left < batch ? left : batch;
        const int32_t got = decode_rows(page, wanted, buffer);
        make_pbm_rows(page, got, buffer);
        written = fwrite(buffer, (size_t)page->row_bytes, (size_t)got, stdout) == (size_t)got;
        done += got;
        whole = got == wanted;
    }
    free(buffer);
    if (!written || fflush(stdout) != 0)
        return refuse(page, "cannot write to standard output");
    return whole ? check_rows(page) : refuse_rows(page, done);
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
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
