// Text from files and of the system, converted for the screen.
#pragma once

#include "platform/cstring.h"

#include <string_view>

// Returns any text as one line of valid UTF-8 for the screen. Control characters and line ends become blanks.
// Text that as a whole is not valid UTF-8 is read as Latin-1. The result has at most most_bytes bytes and is
// cut at the end of a character.
[[nodiscard]] CString DisplayText(std::string_view text, size_t most_bytes);

// The same for texts whose end matters, such as messages that begin with a path. If the result is longer than
// head_bytes + tail_bytes, "..." replaces its middle.
[[nodiscard]] CString DisplayBothEnds(std::string_view text, size_t head_bytes, size_t tail_bytes);
