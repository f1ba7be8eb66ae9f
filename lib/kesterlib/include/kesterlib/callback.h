/* SPDX-License-Identifier: MIT */
/* The callback block: a record of replaceable functions, its slots. Decoders and header functions read,
 * write, allocate, report and exit only through the block that their caller passes.
 *
 * Threads. Different threads may use different blocks, frames, decoders, headers and scale engines at the
 * same time. Use each of these objects from one thread at a time. A frame or decoder uses its block, so two
 * of them with the same block count as one object. Each thread has its own default block and its own state of
 * reports. All threads share:
 * - the message sink (set_debug_message_sink), which any thread may set at any time,
 * - the polarity of scale engines (init_countones), which any thread may set at any time,
 * - the timers (timers.h): use them from one thread at a time.
 *
 * Null. In all headers of the library, a pointer must not be null unless the comment of its function says
 * what null means. A null that is not allowed is not detected.
 *
 * Slots that the library calls. A client's block must have them; the other slots serve the client's own
 * calls. The run decoders are those of Squeeze and Group 4.
 *
 *   all functions   allocate, deallocate, message, message_fflush, exit
 *   run decoders    fread, ferror, fflush
 *   jbig decoder    fread, fseek, ftell, fflush; ferror is optional
 *   header reader   fread, fflush
 *   header writer   fwrite, fflush
 *   byte functions  of files.h: fread, fwrite, feof, fflush
 *
 * They call fflush only after a failure. A file that is too short for its header is such a failure. For input
 * in memory, the run decoders call no data slot. The jbig decoder then calls only ferror. It calls ferror
 * only if the slot is set and the block has a data stream.
 *
 * A slot must not throw a C++ exception. Only the exit slot may leave with longjmp: then do not use the
 * frame or decoder of the interrupted call again, and see callback_assertion_failed. */
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

/* One tracked allocation. Only the library makes this record. The texts are not copied: pass literals. */
typedef struct memory_debug_record {
    uint32_t size;            /* bytes requested, at most UINT32_MAX */
    const char* allocated_by; /* description passed to callback_allocate */
    const char* freed_by;     /* description passed to callback_deallocate; null on allocated_list */
    uint32_t tick;            /* the block's tick at the allocation; on freed_list, at the release */
    void* pointer;            /* the allocated memory */
    struct memory_debug_record* next;
} memory_debug_record;

/* A slot has the signature of the C library function of the same name. fprintf and message have that of
 * vfprintf.
 *
 * The library only passes `file` and `message_file` to the slots, and compares `file` with null. So they
 * need not be streams: if a client sets all slots that receive them, they can be the address of any object
 * of the client, cast to FILE*. For `file` these slots are the data slots in the table above; for
 * `message_file` they are message and message_fflush.
 *
 * A later version of the library may append fields to the record. So let make_callback_block or
 * make_unix_callback_block allocate it. Do not copy a block or use sizeof(callback_block), which is too
 * small in a program that was compiled with an older header. callback_block_size returns the true size. */
typedef struct callback_block {
    FILE* file;         /* stream of the data operations; null: none */
    FILE* message_file; /* stream of messages */

    /* Data operations. */
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
    void (*exit)(int code); /* may return: the function that made a fatal report then continues */

    int32_t debug_memory; /* allocation tracking: 0 off; above 0 on; below 0 on, and wrong frees are fatal */
    memory_debug_record* allocated_list; /* live allocations, newest first; owned by the block */
    memory_debug_record* freed_list;     /* released allocations, newest first; owned by the block */
    uint32_t tick;                       /* calls of callback_allocate and callback_deallocate so far */
    uint32_t allocation_count;           /* calls of callback_allocate */
    uint32_t deallocation_count;      /* calls of callback_deallocate without a null pointer, and cleanups */
    uint32_t failed_allocation_count; /* part of allocation_count that returned null */
} callback_block;

/* Slot numbers for set_callback_slot. The fields of the record have another order. */
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

/* The value of any slot: a stream for CALLBACK_FILE and CALLBACK_MESSAGE_FILE, for the others a function,
 * cast as in (callback_slot_value)my_fread. 0 is a null stream. */
typedef uintptr_t callback_slot_value;

/* ---- Blocks ------------------------------------------------------------------------------------------ */

/* The two make functions return a new block, which the caller releases with dispose_callback_block. Without
 * memory they make a fatal report through the block that the thread used last, and return null if its exit
 * slot returns. */

/* Returns a block that can report (to stderr), allocate and exit. Each data operation is a fatal report
 * until its slot is set. */
KESTERLIB_NODISCARD KESTERLIB_API callback_block* make_callback_block(void);

/* Returns a block whose data slots are the C library's stream functions. Its stream is null. */
KESTERLIB_NODISCARD KESTERLIB_API callback_block* make_unix_callback_block(void);

/* Sets every field of the block as in make_callback_block, and so clears the tracking fields. `block` needs
 * callback_block_size() bytes. If the client has allocated it, do not dispose of it with
 * dispose_callback_block: call debug_memory_cleanup, then release the memory. */
KESTERLIB_API void fill_void_callback_block(callback_block* block);

/* Sets the streams and all slots but `message` as in make_unix_callback_block. `message` and the tracking
 * fields are unchanged: use it for a block that fill_void_callback_block has filled. */
KESTERLIB_API void fill_unix_callback_block(callback_block* block);

/* Sets one slot.
 *
 *   slot_id  0 to 16; any other number is a fatal report and sets nothing
 *   block    the block to change
 *   value    the stream or function; 0 only for the two streams. The library calls a slot without comparing
 *            it with null */
KESTERLIB_API void set_callback_slot(int slot_id, callback_block* block, callback_slot_value value);

/* The first function sets the data stream to standard input, the second to standard output. */
KESTERLIB_API void set_stdin_callback(callback_block* block);
KESTERLIB_API void set_stdout_callback(callback_block* block);

/* Ends the tracking as debug_memory_cleanup does, then frees the block. The data stream stays open. Null is
 * ignored. If the block was the thread's default block, the thread has no default block afterwards.
 *
 * Do not dispose of the default block of another thread. If another thread has used the block, and no block
 * after it, a make function without memory still reports through the freed block in that thread. To prevent
 * this, dispose of a block in the thread that has used it, or after that thread has ended. */
KESTERLIB_API void dispose_callback_block(callback_block* block);

/* Returns the size of the record in the library that the program runs with, in bytes. It is not below
 * sizeof(callback_block) of any older header of libkesterlib.so.1. */
KESTERLIB_NODISCARD KESTERLIB_API size_t callback_block_size(void);

/* Returns the number of slots, 17. */
KESTERLIB_NODISCARD KESTERLIB_API int callback_n_entries(void);

/* ---- The default block ------------------------------------------------------------------------------- */

/* Each thread has its own default block. A thread that has one must dispose of it before it ends. */

/* Returns the default block, which functions without a block parameter use. If there is none, makes one
 * with make_unix_callback_block. */
KESTERLIB_NODISCARD KESTERLIB_API callback_block* dfcb(void);

/* Returns the default block, or null if there is none. */
KESTERLIB_NODISCARD KESTERLIB_API callback_block* get_default_callback_block(void);

/* Makes `block` the default block; null: none. The caller keeps the ownership. A block that dfcb has made
 * is not disposed of: the function then writes a warning to the new block's data stream, or as a message if
 * the new block has no stream. */
KESTERLIB_API void set_default_callback_block(callback_block* block);

/* Disposes of the default block, whoever made it. */
KESTERLIB_API void dispose_default_callback_block(void);

/* ---- Calls through the slots ------------------------------------------------------------------------- */

/* Each function calls the block's slot of the same name and returns the slot's result, unless stated
 * otherwise. Data operations work on the block's data stream. The function also marks the block as the one
 * that the thread used last: the default slots make their reports through that block. */

/* Stores the opened stream, or null, as the block's data stream. A stream that the block had before is not
 * closed. */
KESTERLIB_NODISCARD KESTERLIB_API FILE* callback_fopen(callback_block* block, const char* name,
                                                       const char* mode);

/* Sets the data stream to null, then closes it. Without a stream, calls nothing and returns 0. */
KESTERLIB_NODISCARD KESTERLIB_API int callback_fclose(callback_block* block);

/* Note the order of the parameters: size, count, buffer. */
KESTERLIB_NODISCARD KESTERLIB_API size_t callback_fread(callback_block* block, size_t size, size_t count,
                                                        void* buffer);

/* Reads a byte through the fread slot. Returns 0 to 255, or -1 if no byte was read. */
KESTERLIB_NODISCARD KESTERLIB_API int callback_fgetc(callback_block* block);

/* The same order of parameters. */
KESTERLIB_NODISCARD KESTERLIB_API size_t callback_fwrite(callback_block* block, size_t size, size_t count,
                                                         const void* buffer);

/* Writes a byte through the fwrite slot. Returns 1, or -1 if the byte was not written. */
KESTERLIB_NODISCARD KESTERLIB_API int callback_fputc(callback_block* block, int byte);

KESTERLIB_NODISCARD KESTERLIB_API int callback_fseek(callback_block* block, long offset, int whence);
KESTERLIB_NODISCARD KESTERLIB_API long callback_ftell(callback_block* block);
KESTERLIB_NODISCARD KESTERLIB_API int callback_feof(callback_block* block);
KESTERLIB_API int callback_fflush(callback_block* block);
KESTERLIB_API int callback_message_fflush(callback_block* block);
KESTERLIB_NODISCARD KESTERLIB_API int callback_ferror(callback_block* block);
KESTERLIB_API int callback_fprintf(callback_block* block, const char* format, ...) KESTERLIB_PRINTF(2, 3);
KESTERLIB_API void callback_exit(callback_block* block, int code);

/* Sends a message to the message slot, and a copy of at most 255 bytes to the debug sink. The library's own
 * messages contain no texts from files. Some begin or end within a line. */
KESTERLIB_API int callback_message(callback_block* block, const char* format, ...) KESTERLIB_PRINTF(2, 3);

/* Sets the function that receives a copy of each message of all threads; null, as at the start, means none.
 * `text` is valid during the call only. Several threads may call the function at the same time. */
KESTERLIB_API void set_debug_message_sink(void (*sink)(const char* text));

/* ---- Memory ------------------------------------------------------------------------------------------ */

/* Allocates `size` bytes, aligned as by malloc. `description`, a literal, says what they are for. The caller
 * releases them with callback_deallocate and the same block.
 *
 * Returns the slot's result. If memory is short, the default slot makes a fatal report; it returns null if
 * the exit slot returns. A client's slot may return null without a report. */
KESTERLIB_NODISCARD KESTERLIB_API void* callback_allocate(callback_block* block, size_t size,
                                                          const char* description);

/* Releases memory. Null is ignored. With tracking on, memory that the block does not track is reported and
 * then released; a second release of the same memory is reported and not carried out. Cost with tracking: a
 * search through all records. */
KESTERLIB_API void callback_deallocate(callback_block* block, void* pointer, const char* description);

/* Returns the field debug_memory. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t debug_memory_state(const callback_block* block);

/* Sets debug_memory, with effect from the next call on. Earlier allocations are not tracked. */
KESTERLIB_API void set_callback_debug_memory(callback_block* block, int32_t mode);

/* Lists the live tracked allocations as messages, and the counts if they disagree. */
KESTERLIB_API void debug_memory_report(callback_block* block);

/* Ends the tracking. Deletes the records of released allocations. Reports the live allocations, if any, and
 * releases them. Also makes a report if the counts of allocations and releases disagree. The block stays
 * usable. */
KESTERLIB_API void debug_memory_cleanup(callback_block* block);

/* Allocates `size` bytes, at least 1, with malloc, outside any block. The caller frees them with free.
 * Never returns null: without memory, prints a line with `description` to stderr, then jumps to `recover`
 * or, if that is null, exits with code 1. */
KESTERLIB_NODISCARD KESTERLIB_API void* safe_malloc(size_t size, const char* description, jmp_buf* recover);

/* ---- Reports ----------------------------------------------------------------------------------------- */

/* Makes a fatal report: sends a message through the block, then calls its exit slot with code 1. Returns
 * only if that slot returns.
 *
 *   block       null: the texts go to stderr and the process exits with code 1
 *   expression  the condition that failed
 *   text        what the failure means
 *   file, line  where it was detected
 *
 * The texts must be literals: a later report may print them.
 *
 * A failure during a report is printed to stderr and ends the process. If the exit slot leaves with
 * longjmp, the report is not finished. The next failure in this thread is then treated as a failure during
 * a report. */
KESTERLIB_API void callback_assertion_failed(callback_block* block, const char* expression, const char* text,
                                             const char* file, int line);

/* Sends the text of errno and `text` as one message, then flushes the data stream through the fflush slot. */
KESTERLIB_API void callback_perror(callback_block* block, const char* text);

/* Return the text of a system error code. For an unknown code they return "Unknown error code, #%d" in new
 * memory, which the library never frees. The first function allocates it from the block, and returns null
 * if the block returns null. The second uses safe_malloc. */
KESTERLIB_NODISCARD KESTERLIB_API const char* callback_system_error_string(callback_block* block, int code);
KESTERLIB_NODISCARD KESTERLIB_API const char* system_error_string(int code);

/* Formats into `buffer`, which has `size` bytes. A longer text is cut. `buffer` may be null if size is 100
 * or less.
 *
 * Returns the number of characters written, without the terminator. If size is 100 or less, writes nothing
 * and returns 0. */
KESTERLIB_API int printf_to_buffer(char* buffer, size_t size, const char* format, ...) KESTERLIB_PRINTF(3, 4);

KESTERLIB_END

#endif
