// What there is to tell about a page, as rows of a name and a value. Values come from files and may be any
// bytes: each is one line of text here that can be shown, of 1000 bytes at most.
#pragma once

#include "platform/cstring.h"

#include <string_view>
#include <vector>

class Description
{
public:
    // Nothing is added for an empty value.
    void Add(const char* name, std::string_view value);
    // As printf.
    void Format(const char* name, const char* format, ...) __attribute__((format(printf, 3, 4)));

    const std::vector<NamedText>& Rows() const { return m_rows; }

private:
    std::vector<NamedText> m_rows;
};
