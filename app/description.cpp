// SPDX-License-Identifier: MIT
#include "app/description.h"

#include "platform/displaytext.h"
#include "platform/text.h"

#include <cstdarg>
#include <cstdio>

namespace
{
constexpr size_t kMaxValueBytes = 2000;  // a longer value is cut
constexpr size_t kMaxCharacterBytes = 4; // bytes in UTF-8

// Returns the start of a text that is longer than kMaxValueBytes: at most so many bytes, without a part of a
// character at the end.
std::string_view StartOf(std::string_view text)
{
    size_t end = kMaxValueBytes;
    while (end > kMaxValueBytes - kMaxCharacterBytes && IsUtf8Continuation(text[end]))
        --end;
    return text.substr(0, end);
}
} // namespace

// Cuts the value before it is converted, because a file may hold a text of many megabytes.
void Description::Add(const char* name, std::string_view value)
{
    const bool is_cut = value.size() > kMaxValueBytes;
    CString shown = DisplayText(is_cut ? StartOf(value) : value, std::string_view::npos);
    if (is_cut)
        shown += "...";
    if (!shown.IsEmpty())
        m_rows.push_back({name, std::move(shown)});
}

void Description::Format(const char* name, const char* format, ...)
{
    char text[kMaxValueBytes + 2]; // one byte more than Add keeps, and the zero
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    Add(name, text);
}
