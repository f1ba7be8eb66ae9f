// SPDX-License-Identifier: MIT
// Texts of files and command lines in a form that is safe to print: any bytes may be in them.
#pragma once

#include <string>
#include <string_view>

// Returns the text with a '?' for each control character and for each byte that is not part of UTF-8.
[[nodiscard]] std::string ShownText(std::string_view text);

// Returns the text as a JSON string with its quotes. Control characters are escaped. Each byte that is not
// part of UTF-8 becomes a '?'.
[[nodiscard]] std::string JsonString(std::string_view text);
