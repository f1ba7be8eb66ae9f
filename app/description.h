// SPDX-License-Identifier: MIT
// The description of a page, as rows of a name and a value. The page images add rows, and the Page
// Information dialog shows them. A value may come from a file and hold any bytes. It is stored as one line of
// valid UTF-8 (see DisplayText). A value of more than 2000 bytes is cut, and "..." is added.
#pragma once

#include "platform/cstring.h"

#include <string_view>
#include <vector>

class Description
{
public:
    // Adds a row. An empty value adds none.
    void Add(const char* name, std::string_view value);
    // Adds a row whose value is formatted as by printf. An empty value adds none.
    void Format(const char* name, const char* format, ...) __attribute__((format(printf, 3, 4)));

    [[nodiscard]] const std::vector<NamedText>& Rows() const { return m_rows; }

private:
    std::vector<NamedText> m_rows;
};
