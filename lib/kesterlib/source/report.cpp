// SPDX-License-Identifier: MIT
// Reports: the single path of fatal errors, and the texts of system errors.
#include "io-callback.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

namespace
{
struct Assertion {
    const char* expression;
    const char* text;
    const char* file;
    int line;
};

constinit thread_local int assertion_guard = 0;        // above 0 while this thread makes a report
constinit thread_local Assertion saved_assertion = {}; // the failure that is being reported

const char* text_or_null(const char* text)
{
    return text != nullptr ? text : "(null)";
}

// Writes to stderr, because a report through a block could fail again.
[[noreturn]] void end_on_second_failure(const Assertion& second)
{
    const Assertion& first = saved_assertion;
    fprintf(
        stderr,
        "Recursive error in callback_assertion_failed\nOriginal error is %s\nAssert %s : %s\n at line %d\n",
        text_or_null(first.expression), text_or_null(first.text), text_or_null(first.file), first.line);
    fprintf(stderr, "Second error is Assert %s : %s\n%s at %d\n", text_or_null(second.expression),
            text_or_null(second.text), text_or_null(second.file), second.line);
    fflush(stderr);
    exit(1);
}

// Copies a text into memory from allocate(bytes). Returns null if that returns null.
template <typename Allocate>
const char* copy_text(const char* text, const Allocate& allocate)
{
    const size_t bytes = strlen(text) + 1;
    void* const memory = allocate(bytes);
    return memory == nullptr ? nullptr : static_cast<const char*>(memcpy(memory, text, bytes));
}

constexpr const char* kTextMemory = "Error String";
} // namespace

const char* kesterlib::system_error_text(int code, char (&buffer)[kErrorTextBytes])
{
    if (const char* known = strerrordesc_np(code))
        return known;
    printf_to_buffer(buffer, sizeof buffer, "Unknown error code, #%d", code);
    return buffer;
}

void callback_assertion_failed(callback_block* block, const char* expression, const char* text,
                               const char* file, int line)
{
    const Assertion failure = {expression, text, file, line};
    if (block == nullptr || assertion_guard != 0)
        end_on_second_failure(failure);
    assertion_guard = 1;
    saved_assertion = failure;
    callback_message(block, "Assertion %s failed;\n%s\nAt line %d in file %s", expression, text, line, file);
    callback_message_fflush(block);
    callback_exit(block, 1);
    --assertion_guard; // the client's exit slot returned: the caller continues
}

void callback_perror(callback_block* block, const char* text)
{
    const char* error = callback_system_error_string(block, errno);
    callback_message(block, "\nError: %s\n%s\n", text_or_null(error), text);
    callback_fflush(block);
}

const char* callback_system_error_string(callback_block* block, int code)
{
    char buffer[kesterlib::kErrorTextBytes];
    const char* const text = kesterlib::system_error_text(code, buffer);
    return text != buffer ? text : copy_text(text, [block](size_t bytes) {
        return callback_allocate(block, bytes, kTextMemory);
    });
}

const char* system_error_string(int code)
{
    char buffer[kesterlib::kErrorTextBytes];
    const char* const text = kesterlib::system_error_text(code, buffer);
    return text != buffer
               ? text
               : copy_text(text, [](size_t bytes) { return safe_malloc(bytes, kTextMemory, nullptr); });
}

int printf_to_buffer(char* buffer, size_t size, const char* format, ...)
{
    constexpr size_t kLargestUnusable = 100;
    if (size <= kLargestUnusable)
        return 0;
    va_list arguments;
    va_start(arguments, format);
    const int wanted = vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return wanted > 0 && static_cast<size_t>(wanted) >= size ? static_cast<int>(size - 1) : wanted;
}
