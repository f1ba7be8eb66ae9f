// SPDX-License-Identifier: MIT
#include "platform/cstring.h"
#include "platform/text.h"

#include <cstdarg>
#include <cstdio>

CString::CString(const char* text) : CString(std::string_view{text ? text : ""}) {}

CString::CString(std::string_view text)
{
    if (!text.empty())
        m_text = std::make_shared<const std::string>(text);
}

CString CString::Left(int count) const
{
    return count <= 0 ? CString{} : CString{View().substr(0, static_cast<size_t>(count))};
}

CString CString::Right(int count) const
{
    return count >= GetLength() ? *this : Mid(GetLength() - (count < 0 ? 0 : count));
}

CString CString::Mid(int first) const
{
    return first >= GetLength() ? CString{}
                                : CString{View().substr(static_cast<size_t>(first < 0 ? 0 : first))};
}

namespace
{
int IndexOf(size_t position)
{
    return position == std::string_view::npos ? -1 : static_cast<int>(position);
}
} // namespace

int CString::Find(char wanted) const
{
    return IndexOf(View().find(wanted));
}

int CString::ReverseFind(char wanted) const
{
    return IndexOf(View().rfind(wanted));
}

int CString::FindOneOf(std::string_view set) const
{
    return IndexOf(View().find_first_of(set));
}

int CString::FindLastOf(std::string_view set) const
{
    return IndexOf(View().find_last_of(set));
}

int CString::CompareNoCase(std::string_view other) const
{
    return CompareFolded(View(), other);
}

void CString::Format(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0)
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    *this = CString{std::string_view{text}};
}

CString& CString::operator+=(std::string_view text)
{
    std::string sum{View()};
    sum += text;
    return *this = CString{std::string_view{sum}};
}
