// SPDX-License-Identifier: MIT
// Streams of Group 4 or Squeeze codes, written by hand.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test_support
{
// Returns the bits of the text. A comma, and the end of the text, pad them with 0 to a whole byte. Blanks are
// ignored. "end" is the end-of-line code.
inline std::vector<uint8_t> FromBits(std::string text)
{
    for (size_t end = 0; (end = text.find("end")) != std::string::npos;)
        text.replace(end, 3, "000000000001");
    std::vector<uint8_t> stream;
    size_t bits = 0;
    for (const char bit : text) {
        if (bit == ',')
            bits = stream.size() * 8;
        if (bit == ',' || bit == ' ')
            continue;
        if (bits % 8 == 0)
            stream.push_back(0);
        stream.back() |= static_cast<uint8_t>((bit - '0') << (7 - bits++ % 8));
    }
    return stream;
}
} // namespace test_support
