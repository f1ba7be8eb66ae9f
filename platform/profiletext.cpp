// SPDX-License-Identifier: MIT
// Reads the text of the settings line by line, and writes it group by group. Bytes that have a special
// meaning in the text are escaped.
#include "platform/profiletext.h"
#include "platform/text.h"

#include <cstdint>

namespace
{
constexpr char kDigits[] = "0123456789abcdef";

// Returns the byte of the two hexadecimal digits at the start of text, -1 if they are not there.
int HexByte(std::string_view text)
{
    int value = 0;
    for (size_t i = 0; i < 2; ++i) {
        if (i >= text.size())
            return -1;
        const char c = text[i];
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (digit < 0)
            return -1;
        value = value * 16 + digit;
    }
    return value;
}

void AppendHex(std::string* out, char escape, char byte)
{
    const auto value = static_cast<uint8_t>(byte);
    *out += escape;
    *out += kDigits[value >> 4];
    *out += kDigits[value & 15];
}

std::string DecodedName(std::string_view text)
{
    std::string name;
    for (size_t i = 0; i < text.size(); ++i) {
        const int byte = text[i] == '%' ? HexByte(text.substr(i + 1)) : -1;
        name += byte < 0 ? text[i] : static_cast<char>(byte);
        i += byte < 0 ? 0 : 2;
    }
    return name;
}

std::string EncodedName(std::string_view name)
{
    std::string text;
    for (const char c : name) {
        const bool is_plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                              c == '-' || c == '.' || c == '_';
        if (is_plain)
            text += c;
        else
            AppendHex(&text, '%', c);
    }
    return text;
}

std::string DecodedValue(std::string_view text)
{
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        text = text.substr(1, text.size() - 2);
    std::string value;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            value += text[i];
            continue;
        }
        const char kind = text[++i];
        const int byte = kind == 'x' ? HexByte(text.substr(i + 1)) : -1;
        if (byte >= 0) {
            value += static_cast<char>(byte);
            i += 2;
        } else {
            value += kind == 'n' ? '\n' : kind == 't' ? '\t' : kind == 'r' ? '\r' : kind;
        }
    }
    return value;
}

std::string EncodedValue(std::string_view value)
{
    const bool is_quoted = Trimmed(value).size() != value.size() || value.find(';') != std::string_view::npos;
    std::string text = is_quoted ? "\"" : "";
    while (!value.empty()) {
        const size_t bytes = Utf8CharacterBytes(value);
        const char c = value.front();
        if (bytes > 1) {
            text += value.substr(0, bytes);
        } else if (c == '\\' || c == '"') {
            text += '\\';
            text += c;
        } else if (bytes == 0 || static_cast<uint8_t>(c) < ' ' || c == '\x7f') {
            text += '\\';
            AppendHex(&text, 'x', c);
        } else {
            text += c;
        }
        value.remove_prefix(bytes == 0 ? 1 : bytes);
    }
    if (is_quoted)
        text += '"';
    return text;
}
} // namespace

ProfileValues ParseProfile(std::string_view text)
{
    ProfileValues values;
    std::string group = "General/";
    constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf"; // some editors write it
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = Trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const size_t equals = line.find('=');
        if (line.starts_with('[') && line.ends_with(']')) {
            group = DecodedName(line.substr(1, line.size() - 2)) + "/";
        } else if (!line.starts_with(';') && !line.starts_with('#') && equals != std::string_view::npos) {
            values[group + DecodedName(Trimmed(line.substr(0, equals)))] =
                DecodedValue(Trimmed(line.substr(equals + 1)));
        }
    }
    return values;
}

std::string ComposeProfile(const ProfileValues& values)
{
    std::map<std::string, std::string> groups;
    for (const auto& [name, value] : values) {
        const size_t slash = name.find('/', 1);
        if (slash != std::string::npos)
            groups[name.substr(0, slash)] +=
                EncodedName(std::string_view(name).substr(slash + 1)) + "=" + EncodedValue(value) + "\n";
    }
    std::string text;
    for (const auto& [name, lines] : groups)
        text += (text.empty() ? "[" : "\n[") + EncodedName(name) + "]\n" + lines;
    return text;
}
