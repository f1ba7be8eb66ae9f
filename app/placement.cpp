// SPDX-License-Identifier: MIT
#include "app/placement.h"

#include "platform/text.h"

#include <charconv>

CString FormatPlacement(const CRect& rect)
{
    CString text;
    text.Format("%d %d %d %d", rect.left, rect.top, rect.right, rect.bottom);
    return text;
}

std::optional<CRect> ParsePlacement(const CString& text)
{
    CRect rect;
    const char* at = text.c_str();
    const char* const end = at + text.GetLength();
    for (int* const side : {&rect.left, &rect.top, &rect.right, &rect.bottom}) {
        while (at != end && kBlanks.find(*at) != std::string_view::npos)
            ++at;
        if (end - at > 1 && at[0] == '+' && at[1] != '-')
            ++at;
        const auto [number_end, error] = std::from_chars(at, end, *side);
        if (error != std::errc{})
            return std::nullopt;
        at = number_end;
    }
    // In 64 bits, because the four numbers may have any value.
    const int64_t width = int64_t{rect.right} - rect.left;
    const int64_t height = int64_t{rect.bottom} - rect.top;
    if (width < 1 || width > INT32_MAX || height < 1 || height > INT32_MAX)
        return std::nullopt;
    return rect;
}
