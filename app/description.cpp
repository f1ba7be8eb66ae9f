#include "app/description.h"

#include <cstdarg>
#include <cstdio>

namespace
{
constexpr size_t kMostBytes = 1000;
} // namespace

void Description::Add(const char* name, std::string_view value)
{
    if (CString shown = DisplayText(value, kMostBytes); !shown.IsEmpty())
        m_rows.push_back({name, std::move(shown)});
}

void Description::Format(const char* name, const char* format, ...)
{
    char text[kMostBytes + 1];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    Add(name, text);
}
