// SPDX-License-Identifier: MIT
// Converts the text of the settings file to groups of keys and values, and back. The parser only copies
// values. Nothing in the text makes it run code or create objects.
#pragma once

#include <map>
#include <string>
#include <string_view>

// Maps "group/key" to the value. Both may hold any bytes, valid UTF-8 or not.
using ProfileValues = std::map<std::string, std::string>;

// Reads a text of any bytes. Never fails: a line that is no group, key or comment is ignored. If a key occurs
// twice, its last value counts. Keys before the first group are in the group "General".
[[nodiscard]] ProfileValues ParseProfile(std::string_view text);

// Returns the text with lines "[group]" and "key=value". A name without "/" after its first character is
// skipped.
//
// In groups and keys, each byte other than a letter, digit, "-", "." and "_" is written as % and two
// hexadecimal digits. In a value, control characters and bytes that are not valid UTF-8 are written as \x and
// two digits, and quotation marks and backslashes have a backslash before them. A value with a semicolon, or
// with blanks at its start or end, is in quotation marks.
[[nodiscard]] std::string ComposeProfile(const ProfileValues& values);
