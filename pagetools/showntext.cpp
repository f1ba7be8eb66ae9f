// SPDX-License-Identifier: MIT
// Reads a text one UTF-8 character at a time.
#include "showntext.h"

#include <cstdint>
#include <cstdio>

namespace
{
// Returns the number of bytes of the UTF-8 character at the start of the text; 0 if there is none.
size_t CharacterBytes(std::string_view text)
{
    const auto first = static_cast<uint8_t>(text[0]);
    if (first < 0x80)
        return 1;
    if (first < 0xC0 || first > 0xF7)
        return 0;
    const size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (text.size() < bytes)
        return 0;
    uint32_t code = first & (0x7FU >> bytes);
    for (size_t i = 1; i < bytes; ++i) {
        const auto next = static_cast<uint8_t>(text[i]);
        if ((next & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (next & 0x3F);
    }
    constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000}; // a smaller code has fewer bytes
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kLeast[bytes] || code > 0x10FFFF || surrogate ? 0 : bytes;
}

bool IsControl(std::string_view character)
{
    const auto first = static_cast<uint8_t>(character[0]);
    if (character.size() == 1)
        return first < 0x20 || first == 0x7F;
    return character.size() == 2 && first == 0xC2 && static_cast<uint8_t>(character[1]) < 0xA0;
}

// Calls put(character) for each UTF-8 character. A byte that is not part of one becomes a '?'.
template <typename Put>
void ForEachCharacter(std::string_view text, const Put& put)
{
    while (!text.empty()) {
        const size_t bytes = CharacterBytes(text);
        put(bytes == 0 ? std::string_view{"?"} : text.substr(0, bytes));
        text.remove_prefix(bytes == 0 ? 1 : bytes);
    }
}
} // namespace

std::string ShownText(std::string_view text)
{
    std::string shown;
    ForEachCharacter(text, [&shown](std::string_view character) {
        shown += IsControl(character) ? std::string_view{"?"} : character;
    });
    return shown;
}

std::string JsonString(std::string_view text)
{
    std::string json = "\"";
    ForEachCharacter(text, [&json](std::string_view character) {
        if (IsControl(character)) {
            char escaped[sizeof "\\u0000"];
            // The last byte of a control character is its code.
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<uint8_t>(character.back()));
            json += escaped;
            return;
        }
        if (character == "\"" || character == "\\")
            json += '\\';
        json += character;
    });
    return json += '"';
}
