// SPDX-License-Identifier: MIT
// Operations on bytes of text: blanks, the case of ASCII letters, characters of UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

constexpr std::string_view kBlanks = " \t\n\v\f\r"; // the blanks of the C locale

// Returns `text` without the bytes in `blanks` at its start and end.
[[nodiscard]] std::string_view Trimmed(std::string_view text, std::string_view blanks = kBlanks);

// Converts an ASCII letter to lower case. Returns any other byte unchanged. Do not use tolower instead. It
// depends on the user's locale: in the Turkish locale, the lower case of I is not i.
[[nodiscard]] constexpr unsigned char FoldedAscii(char c)
{
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
}

// Compares without regard to the case of ASCII letters. Returns -1, 0 or 1.
[[nodiscard]] int CompareFolded(std::string_view text, std::string_view other);

// Returns true if `name` is before `other` in lists. Names are sorted without regard to the case of ASCII
// letters, and equal ones by bytes.
[[nodiscard]] bool ComesBefore(std::string_view name, std::string_view other);

// Returns true for the second and later bytes of a UTF-8 character.
[[nodiscard]] constexpr bool IsUtf8Continuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

// Returns the number of bytes of the valid UTF-8 character (RFC 3629) at the start of `text`, or 0 if there
// is none.
[[nodiscard]] size_t Utf8CharacterBytes(std::string_view text);
