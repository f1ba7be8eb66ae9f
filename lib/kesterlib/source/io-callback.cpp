// SPDX-License-Identifier: MIT
// The callback block: its two initial states, its slots, the calls through the slots, and the default
// block. Memory and reports are in tracking.cpp and report.cpp.
#include "io-callback.h"

#include <atomic>
#include <stdlib.h>

namespace
{
// The block that this thread used last, for the reports of the default slots. Null after the thread has
// disposed of that block.
constinit thread_local callback_block* current_callback_block = nullptr;

constinit thread_local callback_block* default_callbacks = nullptr;
constinit thread_local bool default_callback_made = false; // dfcb has made a block that is not disposed of

using MessageSink = void(const char* text);
constinit std::atomic<MessageSink*> debug_message_sink = nullptr; // of all threads

// ---- Slots of a void block --------------------------------------------------------------------------

void report_not_installed(const char* text, int line)
{
    callback_assertion_failed(current_callback_block, "0", text, "io-callback", line);
}

int fclose_callback_not_installed(FILE*)
{
    report_not_installed("CALLBACK_FCLOSE used, but not installed", __LINE__);
    return -1;
}

size_t fread_callback_not_installed(void*, size_t, size_t, FILE*)
{
    report_not_installed("CALLBACK_FREAD used, but not installed", __LINE__);
    return 0;
}

size_t fwrite_callback_not_installed(const void*, size_t, size_t, FILE*)
{
    report_not_installed("CALLBACK_FWRITE used, but not installed", __LINE__);
    return 0;
}

FILE* fopen_callback_not_installed(const char*, const char*)
{
    report_not_installed("CALLBACK_FOPEN called, but not installed", __LINE__);
    return nullptr;
}

int fseek_callback_not_installed(FILE*, long, int)
{
    report_not_installed("CALLBACK_FSEEK called, but not installed", __LINE__);
    return -1;
}

long ftell_callback_not_installed(FILE*)
{
    report_not_installed("CALLBACK_FTELL called, but not installed", __LINE__);
    return -1;
}

int feof_callback_not_installed(FILE*)
{
    report_not_installed("CALLBACK_FEOF called, but not installed", __LINE__);
    return 1;
}

int ferror_callback_not_installed(FILE*)
{
    report_not_installed("CALLBACK_FERROR called, but not installed", __LINE__);
    return 1;
}

int fflush_callback_not_installed(FILE*)
{
    report_not_installed("CALLBACK_FFLUSH called, but not installed", __LINE__);
    return -1;
}

int fprintf_callback_not_installed(FILE*, const char*, va_list)
{
    report_not_installed("CALLBACK_FPRINTF called, but not installed", __LINE__);
    return 0;
}

void* default_allocate_callback(size_t size, const char*)
{
    void* memory = malloc(size);
    if (memory == nullptr)
        callback_assertion_failed(current_callback_block, "val!=0", "allocation with malloc failed",
                                  "io-callback", __LINE__);
    return memory;
}

void default_deallocate_callback(void* pointer, const char*)
{
    free(pointer);
}

template <typename Slot>
void store(Slot& slot, callback_slot_value value)
{
    slot = reinterpret_cast<Slot>(value);
}
} // namespace

// ---- Blocks ----------------------------------------------------------------------------------------

callback_block* make_callback_block(void)
{
    // There is no block yet whose allocate slot could be used.
    auto* block =
        static_cast<callback_block*>(default_allocate_callback(sizeof(callback_block), "callback block"));
    if (block != nullptr)
        fill_void_callback_block(block);
    return block;
}

callback_block* make_unix_callback_block(void)
{
    callback_block* block = make_callback_block();
    if (block != nullptr)
        fill_unix_callback_block(block);
    return block;
}

void fill_void_callback_block(callback_block* block)
{
    *block = callback_block{};
    block->message_file = stderr;

    block->fclose = fclose_callback_not_installed;
    block->fread = fread_callback_not_installed;
    block->fwrite = fwrite_callback_not_installed;
    block->fopen = fopen_callback_not_installed;
    block->fseek = fseek_callback_not_installed;
    block->ftell = ftell_callback_not_installed;
    block->feof = feof_callback_not_installed;
    block->fflush = fflush_callback_not_installed;
    block->ferror = ferror_callback_not_installed;
    block->fprintf = fprintf_callback_not_installed;

    block->message = vfprintf;
    block->message_fflush = fflush;
    block->allocate = default_allocate_callback;
    block->deallocate = default_deallocate_callback;
    block->exit = exit;
}

void fill_unix_callback_block(callback_block* block)
{
    block->file = nullptr;
    block->message_file = stderr;

    block->fclose = fclose;
    block->fread = fread;
    block->fwrite = fwrite;
    block->fopen = fopen;
    block->fseek = fseek;
    block->ftell = ftell;
    block->feof = feof;
    block->fflush = fflush;
    block->ferror = ferror;
    block->fprintf = vfprintf;

    block->message_fflush = fflush;
    block->allocate = default_allocate_callback;
    block->deallocate = default_deallocate_callback;
    block->exit = exit;
}

void set_callback_slot(int slot_id, callback_block* block, callback_slot_value value)
{
    switch (slot_id) {
    case CALLBACK_FILE: store(block->file, value); break;
    case CALLBACK_MESSAGE_FILE: store(block->message_file, value); break;
    case CALLBACK_FOPEN: store(block->fopen, value); break;
    case CALLBACK_FCLOSE: store(block->fclose, value); break;
    case CALLBACK_FREAD: store(block->fread, value); break;
    case CALLBACK_FWRITE: store(block->fwrite, value); break;
    case CALLBACK_FSEEK: store(block->fseek, value); break;
    case CALLBACK_FTELL: store(block->ftell, value); break;
    case CALLBACK_FEOF: store(block->feof, value); break;
    case CALLBACK_FERROR: store(block->ferror, value); break;
    case CALLBACK_FFLUSH: store(block->fflush, value); break;
    case CALLBACK_MESSAGE_FFLUSH: store(block->message_fflush, value); break;
    case CALLBACK_FPRINTF: store(block->fprintf, value); break;
    case CALLBACK_MESSAGE: store(block->message, value); break;
    case CALLBACK_ALLOCATE: store(block->allocate, value); break;
    case CALLBACK_DEALLOCATE: store(block->deallocate, value); break;
    case CALLBACK_EXIT: store(block->exit, value); break;
    default:
        callback_assertion_failed(block, "0", "missing case in set_callback slot", "io-callback", __LINE__);
    }
}

void set_stdin_callback(callback_block* block)
{
    set_callback_slot(CALLBACK_FILE, block, reinterpret_cast<callback_slot_value>(stdin));
}

void set_stdout_callback(callback_block* block)
{
    set_callback_slot(CALLBACK_FILE, block, reinterpret_cast<callback_slot_value>(stdout));
}

void dispose_callback_block(callback_block* block)
{
    if (block == nullptr)
        return;
    debug_memory_cleanup(block);
    if (current_callback_block == block)
        current_callback_block = nullptr; // a later report must not use freed memory
    if (default_callbacks == block) {     // dfcb must not return it
        default_callbacks = nullptr;
        default_callback_made = false;
    }
    free(block); // it was not allocated through its own slot
}

size_t callback_block_size(void)
{
    return sizeof(callback_block);
}

int callback_n_entries(void)
{
    return CALLBACK_EXIT + 1;
}

// ---- The default block -----------------------------------------------------------------------------

callback_block* dfcb(void)
{
    if (default_callbacks == nullptr) {
        default_callbacks = make_unix_callback_block();
        default_callback_made = default_callbacks != nullptr;
    }
    return default_callbacks;
}

callback_block* get_default_callback_block(void)
{
    return default_callbacks;
}

void set_default_callback_block(callback_block* block)
{
    if (default_callback_made && block != nullptr) {
        constexpr const char* kWarning = "Leaking existing default callback";
        if (block->file != nullptr)
            callback_fprintf(block, "%s", kWarning);
        else
            callback_message(block, "%s", kWarning);
    }
    default_callbacks = block;
}

void dispose_default_callback_block(void)
{
    dispose_callback_block(default_callbacks);
    default_callback_made = false; // also if its block was replaced by another one
}

// ---- Calls through the slots -----------------------------------------------------------------------

void set_current_callback_block(callback_block* block)
{
    current_callback_block = block;
}

FILE* callback_fopen(callback_block* block, const char* name, const char* mode)
{
    current_callback_block = block;
    block->file = block->fopen(name, mode);
    return block->file;
}

int callback_fclose(callback_block* block)
{
    current_callback_block = block;
    FILE* stream = block->file;
    if (stream == nullptr)
        return 0;
    block->file = nullptr;
    return block->fclose(stream);
}

size_t callback_fread(callback_block* block, size_t size, size_t count, void* buffer)
{
    current_callback_block = block;
    return block->fread(buffer, size, count, block->file);
}

int callback_fgetc(callback_block* block)
{
    unsigned char byte = 0;
    return callback_fread(block, 1, 1, &byte) == 1 ? byte : -1;
}

size_t callback_fwrite(callback_block* block, size_t size, size_t count, const void* buffer)
{
    current_callback_block = block;
    return block->fwrite(buffer, size, count, block->file);
}

int callback_fputc(callback_block* block, int byte)
{
    const auto written = static_cast<unsigned char>(byte);
    return callback_fwrite(block, 1, 1, &written) == 1 ? 1 : -1;
}

int callback_fseek(callback_block* block, long offset, int whence)
{
    current_callback_block = block;
    return block->fseek(block->file, offset, whence);
}

long callback_ftell(callback_block* block)
{
    current_callback_block = block;
    return block->ftell(block->file);
}

int callback_feof(callback_block* block)
{
    current_callback_block = block;
    return block->feof(block->file);
}

int callback_fflush(callback_block* block)
{
    current_callback_block = block;
    return block->fflush(block->file);
}

int callback_message_fflush(callback_block* block)
{
    current_callback_block = block;
    return block->message_fflush(block->message_file);
}

int callback_ferror(callback_block* block)
{
    current_callback_block = block;
    return block->ferror(block->file);
}

bool kesterlib::input_has_failed(callback_block* block)
{
    return block->file != nullptr && block->ferror != ferror_callback_not_installed &&
           callback_ferror(block) != 0;
}

int callback_fprintf(callback_block* block, const char* format, ...)
{
    current_callback_block = block;
    va_list arguments;
    va_start(arguments, format);
    const int result = block->fprintf(block->file, format, arguments);
    va_end(arguments);
    return result;
}

int callback_message(callback_block* block, const char* format, ...)
{
    current_callback_block = block;
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int result = block->message(block->message_file, format, arguments);
    if (MessageSink* const sink = debug_message_sink) {
        char copy[256];
        vsnprintf(copy, sizeof copy, format, again);
        sink(copy);
    }
    va_end(again);
    va_end(arguments);
    return result;
}

void callback_exit(callback_block* block, int code)
{
    current_callback_block = block;
    block->exit(code);
}

void set_debug_message_sink(void (*sink)(const char* text))
{
    debug_message_sink = sink;
}
