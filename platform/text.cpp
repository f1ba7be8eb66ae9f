// SPDX-License-Identifier: MIT
#include "platform/text.h"

std::string_view Trimmed(std::string_view text, std::string_view blanks)
{
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

int CompareFolded(std::string_view text, std::string_view other)
{
    for (size_t i = 0; i < text.size() && i < other.size(); ++i)
        if (FoldedAscii(text[i]) != FoldedAscii(other[i]))
            return FoldedAscii(text[i]) < FoldedAscii(other[i]) ? -1 : 1;
    return text.size() == other.size() ? 0 : text.size() < other.size() ? -1 : 1;
}

bool ComesBefore(std::string_view name, std::string_view other)
{
    const int order = CompareFolded(name, other);
    return order != 0 ? order < 0 : name < other;
}

size_t Utf8CharacterBytes(std::string_view text)
{
    const auto byte = [text](size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : static_cast<unsigned char>(0);
    };
    const unsigned lead = byte(0);
    if (lead < 0x80)
        return text.empty() ? 0 : 1;
    if (lead < 0xc2 || lead > 0xf4)
        return 0;
    const size_t bytes = lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    // The second byte excludes codes that are longer than needed, surrogates, and codes after the end of
    // Unicode.
    const unsigned lowest = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    if (byte(1) < lowest || byte(1) > highest)
        return 0;
    for (size_t i = 2; i < bytes; ++i)
        if (byte(i) < 0x80 || byte(i) > 0xbf)
            return 0;
    return bytes;
}
