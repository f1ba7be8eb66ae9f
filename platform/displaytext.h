// SPDX-License-Identifier: MIT
// Converts text from files and from the system for the screen. Receives any bytes, and returns one line of
// valid UTF-8.
#pragma once

#include "platform/cstring.h"

#include <string_view>

// Returns any text as one line of valid UTF-8 for the screen. Control characters and line ends become blanks.
// If any part of the text is not valid UTF-8, the whole text is read as Latin-1. The result has at most
// most_bytes bytes and is cut at the end of a character.
[[nodiscard]] CString DisplayText(std::string_view text, size_t most_bytes);

// Converts a text whose end is important too, such as a message that begins with a path. If the result is
// longer than head_bytes + tail_bytes, "..." replaces its middle.
[[nodiscard]] CString DisplayBothEnds(std::string_view text, size_t head_bytes, size_t tail_bytes);
