/* A C program, linked by the C compiler alone, once with the static and once with the shared library. It
 * calls functions of six public headers and exits with 0 if all of them work. */
#include "kesterlib/callback.h"
#include "kesterlib/faxhdr.h"
#include "kesterlib/files.h"
#include "kesterlib/scale.h"
#include "kesterlib/uncompress.h"
#include "kesterlib/unsqz.h"

#include <stdlib.h>
#include <string.h>

static int failures = 0;

static void check(int holds, const char* what)
{
    if (holds)
        return;
    fprintf(stderr, "FAILED: %s\n", what);
    ++failures;
}

static int exits = 0;

static void count_exit(int code)
{
    exits += code;
}

static char said[256];

static void keep(const char* text)
{
    memcpy(said, text, strlen(text) + 1);
}

/* A client's fread slot: all bytes have one value. */
static size_t read_rows(void* buffer, size_t size, size_t count, FILE* stream)
{
    (void)stream;
    memset(buffer, 0x5a, size * count);
    return count;
}

static void callbacks_and_files(void)
{
    callback_block* block = make_unix_callback_block();
    set_callback_slot(CALLBACK_MESSAGE_FILE, block, (callback_slot_value)tmpfile());
    set_callback_slot(CALLBACK_EXIT, block, (callback_slot_value)count_exit);
    set_callback_slot(CALLBACK_FREAD, block, (callback_slot_value)read_rows);
    set_debug_message_sink(keep);

    uint32_t number = 0;
    check(callback_read_long(block, &number) == 1 && number == 0x5a5a5a5a,
          "a number read through a slot in C");
    check(callback_message(block, "page %d", 7) == 6 && strcmp(said, "page 7") == 0, "a message");
    set_callback_slot(-1, block, 0);
    check(exits == 1, "a fatal report that returns");

    fclose(block->message_file);
    dispose_callback_block(block);
    set_debug_message_sink(NULL);
}

static void pages(void)
{
    static FAXHeader written = {.JobName = "job", .Creator = "c", .Mux = "m", .CreateTime = {.tm_mday = 1}};
    static FAXHeader read;
    static char text[FAXHEADER_BYTES];
    const char* message = NULL;
    written.FaxHeaderVersion = 3;
    written.HeaderSize = sizeof text;
    written.ImageWidth = 1234;
    check(createFaxHeader(text, sizeof text, &written, 1, &message) == FAXHEADER_BYTES, "a header's text");
    check(extractFaxHeader(text, sizeof text, &read, &message) > 0 && read.ImageWidth == 1234, "a header");

    static const uint8_t stream[] = {0x80, 0xa5, 0x0f}; /* one raw row */
    uint8_t row[2] = {0, 0};
    UNCOMP* frame = Unsqz_Open_MMapped(stream, sizeof stream, 16, 2, NULL);
    check(frame != NULL && Unsqz_Decode(frame, 1, row, 2) == 1 && row[0] == 0xa5 && row[1] == 0x0f, "a row");
    check(Unsqz_Decode(frame, 1, row, 2) == 0 && Uncomp_Error_String(frame) != NULL, "the end of the rows");
    Uncomp_Free(frame);

    static const int32_t starts[] = {0, 4, 16};
    int64_t ones[2] = {0, 0};
    count_ones_by_zone(row, 2, 1, starts, 2, ones);
    check(ones[0] == 2 && ones[1] == 6, "the 1 bits of two zones");
}

int main(void)
{
    callbacks_and_files();
    pages();
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
