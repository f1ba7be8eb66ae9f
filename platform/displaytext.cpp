// SPDX-License-Identifier: MIT
#include "platform/displaytext.h"
#include "platform/text.h"

namespace
{
bool IsUtf8(std::string_view text)
{
    while (!text.empty()) {
        const size_t bytes = Utf8CharacterBytes(text);
        if (bytes == 0)
            return false;
        text.remove_prefix(bytes);
    }
    return true;
}

std::string Utf8FromLatin1(std::string_view text)
{
    std::string utf8;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            utf8 += c;
        } else {
            utf8 += static_cast<char>(0xc0 | code >> 6);
            utf8 += static_cast<char>(0x80 | (code & 0x3f));
        }
    }
    return utf8;
}

bool IsLineEndOrControl(std::string_view character)
{
    const auto first = static_cast<unsigned char>(character[0]);
    return first < 0x20 || first == 0x7f ||
           (first == 0xc2 && static_cast<unsigned char>(character[1]) < 0xa0) || // U+0080 to U+009F
           character == "\u2028" || character == "\u2029";
}
} // namespace

CString DisplayText(std::string_view text, size_t most_bytes)
{
    std::string latin1;
    if (!IsUtf8(text)) {
        // More is not needed: no character becomes shorter in UTF-8.
        latin1 = Utf8FromLatin1(text.substr(0, most_bytes));
        text = latin1;
    }
    std::string shown;
    while (!text.empty()) {
        const std::string_view character = text.substr(0, Utf8CharacterBytes(text));
        const std::string_view showable = IsLineEndOrControl(character) ? " " : character;
        if (shown.size() + showable.size() > most_bytes)
            break;
        shown += showable;
        text.remove_prefix(character.size());
    }
    return shown;
}

CString DisplayBothEnds(std::string_view text, size_t head_bytes, size_t tail_bytes)
{
    CString whole = DisplayText(text, std::string_view::npos);
    const std::string_view shown = whole;
    if (shown.size() <= head_bytes + tail_bytes)
        return whole;
    size_t tail = shown.size() - tail_bytes;
    while (tail < shown.size() && IsUtf8Continuation(shown[tail]))
        ++tail; // to the start of a character
    return DisplayText(shown, head_bytes) + "..." + shown.substr(tail);
}
