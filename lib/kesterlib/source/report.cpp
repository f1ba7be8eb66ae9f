// Reports: the single path of fatal errors, and the texts of system errors.
#include "kesterlib/callback.h"

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

int assertion_guard = 0;        // above 0 while a report is running
Assertion saved_assertion = {}; // the failure that is being reported

constexpr size_t kErrorTextBytes = 200; // bytes of a formatted error text

const char* text_or_null(const char* text)
{
    return text != nullptr ? text : "(null)";
}

// Writes to stderr, because no block can be trusted any more.
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

// Returns the system's constant text of a code; null for a code without one.
const char* known_error_text(int code)
{
    return strerrordesc_np(code);
}

// Writes the text of a code without one. Returns its bytes, with the terminator.
size_t format_unknown_error(char (&text)[kErrorTextBytes], int code)
{
    return static_cast<size_t>(printf_to_buffer(text, sizeof text, "Unknown error code, #%d", code)) + 1;
}

const char* copy_text(void* memory, const char* text, size_t text_bytes)
{
    if (memory != nullptr)
        memcpy(memory, text, text_bytes);
    return static_cast<const char*>(memory);
}
} // namespace

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
    if (const char* known = known_error_text(code))
        return known;
    char text[kErrorTextBytes];
    const size_t text_bytes = format_unknown_error(text, code);
    return copy_text(callback_allocate(block, text_bytes, "Error String"), text, text_bytes);
}

const char* system_error_string(int code)
{
    if (const char* known = known_error_text(code))
        return known;
    char text[kErrorTextBytes];
    const size_t text_bytes = format_unknown_error(text, code);
    return copy_text(safe_malloc(text_bytes, "Error String", nullptr), text, text_bytes);
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
