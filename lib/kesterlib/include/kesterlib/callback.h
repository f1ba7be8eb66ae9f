/* The callback block: through one record of replaceable functions the library reads, writes, allocates,
 * reports and ends. A decoder or a header function is given a block and touches the world through nothing
 * else.
 *
 * A block and the library's few globals are used from one thread at a time. */
#ifndef KESTERLIB_CALLBACK_H
#define KESTERLIB_CALLBACK_H

#include "kesterlib/export.h"

#include <setjmp.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

/* ---- The record -------------------------------------------------------------------------------------- */

/* One tracked allocation. Texts are not copied: descriptions are literals. */
typedef struct memory_debug_record {
    uint32_t size; /* bytes asked for */
    const char* allocated_by;
    const char* freed_by; /* null while the record is on allocated_list */
    uint32_t tick;        /* of the allocation; on freed_list, of the release */
    void* pointer;
    struct memory_debug_record* next;
} memory_debug_record;

/* Slots have the signatures of their namesakes in the C library; fprintf and message those of vfprintf. */
typedef struct callback_block {
    FILE* file;         /* stream of the data operations; null means none */
    FILE* message_file; /* stream of messages */

    int (*fclose)(FILE* stream);
    size_t (*fread)(void* buffer, size_t size, size_t count, FILE* stream);
    size_t (*fwrite)(const void* buffer, size_t size, size_t count, FILE* stream);
    FILE* (*fopen)(const char* name, const char* mode);
    int (*fseek)(FILE* stream, long offset, int whence);
    long (*ftell)(FILE* stream);
    int (*feof)(FILE* stream);
    int (*fflush)(FILE* stream);
    int (*ferror)(FILE* stream);
    int (*fprintf)(FILE* stream, const char* format, va_list arguments);

    int (*message)(FILE* stream, const char* format, va_list arguments);
    int (*message_fflush)(FILE* stream);
    void* (*allocate)(size_t size, const char* description);
    void (*deallocate)(void* pointer, const char* description);
    void (*exit)(int code); /* may return: the caller of a fatal report then goes on */

    int32_t debug_memory; /* allocation tracking: 0 off, above 0 reports, below 0 wrong frees are fatal */
    memory_debug_record* allocated_list; /* live allocations, newest first */
    memory_debug_record* freed_list;     /* released ones, newest first */
    uint32_t tick;                       /* allocate and deallocate calls */
    uint32_t allocation_count;
    uint32_t deallocation_count;      /* without those of a null pointer */
    uint32_t failed_allocation_count; /* of allocation_count: returned null, so there is nothing to release */
} callback_block;

/* Numbers of the slots, for set_callback_slot. Not the order of the fields. */
enum {
    CALLBACK_FILE = 0,
    CALLBACK_MESSAGE_FILE = 1,
    CALLBACK_FOPEN = 2,
    CALLBACK_FCLOSE = 3,
    CALLBACK_FREAD = 4,
    CALLBACK_FWRITE = 5,
    CALLBACK_FSEEK = 6,
    CALLBACK_FTELL = 7,
    CALLBACK_FEOF = 8,
    CALLBACK_FERROR = 9,
    CALLBACK_FFLUSH = 10,
    CALLBACK_MESSAGE_FFLUSH = 11,
    CALLBACK_FPRINTF = 12,
    CALLBACK_MESSAGE = 13,
    CALLBACK_ALLOCATE = 14,
    CALLBACK_DEALLOCATE = 15,
    CALLBACK_EXIT = 16
};

/* The value of any slot: a stream for CALLBACK_FILE and CALLBACK_MESSAGE_FILE, else a function, as in
 * (callback_slot_value)my_fread. A null stream is 0. */
typedef uintptr_t callback_slot_value;

/* ---- Blocks ------------------------------------------------------------------------------------------ */

/* A block that can report (to stderr), allocate and exit; each data operation is a fatal report until a slot
 * is set. The caller disposes of it. */
KESTERLIB_API callback_block* make_callback_block(void);

/* The same with the C library's stream functions in the data slots and no stream. */
KESTERLIB_API callback_block* make_unix_callback_block(void);

/* The two fillings by themselves. The first also clears the tracking fields; the second leaves them and
 * `message` as they stand, so it is for a block that the first has filled. */
KESTERLIB_API void fill_void_callback_block(callback_block* block);
KESTERLIB_API void fill_unix_callback_block(callback_block* block);

/* An id outside 0 to 16 is a fatal report. */
KESTERLIB_API void set_callback_slot(int slot_id, callback_block* block, callback_slot_value value);

/* The data stream becomes standard input or output. */
KESTERLIB_API void set_stdin_callback(callback_block* block);
KESTERLIB_API void set_stdout_callback(callback_block* block);

/* Reports and releases what was allocated through the block and is still there, then frees the block itself.
 * The stream stays open. Null is ignored. Where it was the default block, there is none afterwards. */
KESTERLIB_API void dispose_callback_block(callback_block* block);

KESTERLIB_API size_t callback_block_size(void); /* bytes of the record */
KESTERLIB_API int callback_n_entries(void);     /* slots: 17 */

/* ---- The block of code that has none at hand --------------------------------------------------------- */

/* The default block; the first call makes one. */
KESTERLIB_API callback_block* dfcb(void);

/* The default block as it stands; may be null. */
KESTERLIB_API callback_block* get_default_callback_block(void);

/* Makes the caller's block the default one. One that dfcb made before is not disposed of; a warning on the
 * new block's data stream says so, or a message where it has no stream. */
KESTERLIB_API void set_default_callback_block(callback_block* block);

KESTERLIB_API void dispose_default_callback_block(void);

/* ---- What everybody calls ---------------------------------------------------------------------------- */

/* Each remembers its block for reports of a default slot, calls the slot, and returns what the slot returns
 * unless told otherwise. Data operations work on the block's stream. */

/* The stream becomes the block's. */
KESTERLIB_API FILE* callback_fopen(callback_block* block, const char* name, const char* mode);

KESTERLIB_API int callback_fclose(callback_block* block); /* without a stream: 0, and nothing is called */
KESTERLIB_API size_t callback_fread(callback_block* block, size_t size, size_t count, void* buffer);
KESTERLIB_API int callback_fgetc(callback_block* block); /* 0 to 255, or -1 where no byte came */
KESTERLIB_API size_t callback_fwrite(callback_block* block, size_t size, size_t count, const void* buffer);
KESTERLIB_API int callback_fputc(callback_block* block, int byte); /* 1, or -1 where it was not written */
KESTERLIB_API int callback_fseek(callback_block* block, long offset, int whence);
KESTERLIB_API long callback_ftell(callback_block* block);
KESTERLIB_API int callback_feof(callback_block* block);
KESTERLIB_API int callback_fflush(callback_block* block);
KESTERLIB_API int callback_message_fflush(callback_block* block);
KESTERLIB_API int callback_ferror(callback_block* block);
KESTERLIB_API int callback_fprintf(callback_block* block, const char* format, ...) KESTERLIB_PRINTF(2, 3);
KESTERLIB_API void callback_exit(callback_block* block, int code);

/* A message: to the block's message slot, and a copy of at most 255 bytes to the debug sink. */
KESTERLIB_API int callback_message(callback_block* block, const char* format, ...) KESTERLIB_PRINTF(2, 3);

/* Where copies of messages go; null, as at start, means nowhere. */
KESTERLIB_API void set_debug_message_sink(void (*sink)(const char* text));

/* ---- Memory ------------------------------------------------------------------------------------------ */

/* `size` bytes; `description`, a literal, names the use. The default slot reports a failure as fatal; a slot
 * of the client's may give null, which is handed on. */
KESTERLIB_API void* callback_allocate(callback_block* block, size_t size, const char* description);

/* Null is ignored. With tracking on, memory that the block does not know is reported, and released all the
 * same; a second free is reported and not carried out. */
KESTERLIB_API void callback_deallocate(callback_block* block, void* pointer, const char* description);

KESTERLIB_API int32_t debug_memory_state(const callback_block* block);
KESTERLIB_API void set_callback_debug_memory(callback_block* block, int32_t mode); /* from the next call on */

KESTERLIB_API void debug_memory_report(callback_block* block); /* the live allocations, as messages */

/* Ends the tracking: forgets what was released, reports and releases what was not. The block stays usable. */
KESTERLIB_API void debug_memory_cleanup(callback_block* block);

/* malloc outside any block. Without memory: a line on stderr, then longjmp to `recover`, or, where that is
 * null, exit with 1. Never null. */
KESTERLIB_API void* safe_malloc(size_t size, const char* description, jmp_buf* recover);

/* ---- Reports ----------------------------------------------------------------------------------------- */

/* The fatal path: reports what failed (`expression`), what it means (`text`) and where, then leaves by the
 * block's exit slot with code 1; returns only where that slot does. Without a block, or for a failure within
 * a report, writes to stderr and ends the process. A slot that leaves by longjmp leaves the report open, so
 * that the next failure counts as one within it. */
KESTERLIB_API void callback_assertion_failed(callback_block* block, const char* expression, const char* text,
                                             const char* file, int line);

/* The text of errno and the caller's, as a message; then the data stream is flushed, by its slot. */
KESTERLIB_API void callback_perror(callback_block* block, const char* text);

/* The text of an error code of the system. A code without one gives "Unknown error code, #%d" in new memory:
 * of the block (null where it gives none), or of safe_malloc. Nobody frees that. */
KESTERLIB_API const char* callback_system_error_string(callback_block* block, int code);
KESTERLIB_API const char* system_error_string(int code);

/* Formats into `buffer` of `size` bytes and returns the number of characters. A size of 100 or less writes
 * nothing and gives 0. */
KESTERLIB_API int printf_to_buffer(char* buffer, size_t size, const char* format, ...) KESTERLIB_PRINTF(3, 4);

KESTERLIB_END

#endif
