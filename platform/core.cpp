// The parts of the layer that use neither Qt nor the system: texts, class records, message maps and
// resources.
#include "platform/cstring.h"
#include "platform/messages.h"
#include "platform/resources.h"

#include <cstdarg>
#include <cstdio>

int MulDiv(int a, int b, int c)
{
    if (c == 0)
        return -1;
    const int64_t product = int64_t{a} * b;
    const int64_t divisor = c;
    const int64_t magnitude = product < 0 ? -product : product;
    const int64_t divisor_magnitude = divisor < 0 ? -divisor : divisor;
    const int64_t rounded = (magnitude + divisor_magnitude / 2) / divisor_magnitude;
    const int64_t result = (product < 0) != (divisor < 0) ? -rounded : rounded;
    return result < INT32_MIN || result > INT32_MAX ? -1 : static_cast<int>(result);
}

CString::CString(const char* text) : CString(std::string_view{text ? text : ""}) {}

CString::CString(std::string_view text)
{
    if (!text.empty())
        m_text = std::make_shared<const std::string>(text);
}

CString CString::Left(int count) const
{
    return count <= 0 ? CString{} : CString{View().substr(0, static_cast<size_t>(count))};
}

CString CString::Right(int count) const
{
    return count >= GetLength() ? *this : Mid(GetLength() - (count < 0 ? 0 : count));
}

CString CString::Mid(int first) const
{
    return first >= GetLength() ? CString{}
                                : CString{View().substr(static_cast<size_t>(first < 0 ? 0 : first))};
}

namespace
{
int IndexOf(size_t position)
{
    return position == std::string_view::npos ? -1 : static_cast<int>(position);
}
} // namespace

int CString::Find(char wanted) const
{
    return IndexOf(View().find(wanted));
}

int CString::ReverseFind(char wanted) const
{
    return IndexOf(View().rfind(wanted));
}

int CString::FindOneOf(std::string_view set) const
{
    return IndexOf(View().find_first_of(set));
}

int CString::FindLastOf(std::string_view set) const
{
    return IndexOf(View().find_last_of(set));
}

static int CompareFolded(std::string_view text, std::string_view other)
{
    // strncasecmp depends on the user's locale. In the Turkish locale, I and i differ.
    const auto fold = [](char c) {
        return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    };
    for (size_t i = 0; i < text.size() && i < other.size(); ++i)
        if (fold(text[i]) != fold(other[i]))
            return fold(text[i]) < fold(other[i]) ? -1 : 1;
    return text.size() == other.size() ? 0 : text.size() < other.size() ? -1 : 1;
}

int CString::CompareNoCase(std::string_view other) const
{
    return CompareFolded(View(), other);
}

bool ComesBefore(std::string_view name, std::string_view other)
{
    const int order = CompareFolded(name, other);
    return order != 0 ? order < 0 : name < other;
}

void CString::Format(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0)
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    *this = CString{std::string_view{text}};
}

CString& CString::operator+=(std::string_view text)
{
    std::string sum{View()};
    sum += text;
    return *this = CString{std::string_view{sum}};
}

namespace
{
// Returns the number of bytes of the UTF-8 character (RFC 3629) at the start of text, 0 if there is none.
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

bool EndsLineOrControls(std::string_view character)
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
        latin1 = Utf8FromLatin1(text.substr(0, most_bytes)); // in UTF-8, no character becomes shorter
        text = latin1;
    }
    std::string shown;
    while (!text.empty()) {
        const std::string_view character = text.substr(0, Utf8CharacterBytes(text));
        const std::string_view showable = EndsLineOrControls(character) ? " " : character;
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
    while (tail < shown.size() && (static_cast<unsigned char>(shown[tail]) & 0xc0) == 0x80)
        ++tail; // to the start of a character
    return DisplayText(shown, head_bytes) + "..." + shown.substr(tail);
}

const CRuntimeClass CObject::classRecord{"CObject", nullptr, nullptr};

CObject::~CObject() = default;

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass& other) const
{
    for (const CRuntimeClass* record = this; record; record = record->base)
        if (record == &other)
            return true;
    return false;
}

const MessageEntry* MessageMap::Find(MessageEntry::Kind kind, UINT id) const
{
    for (const MessageMap* map = this; map; map = map->base)
        for (const MessageEntry& entry : map->entries)
            if (entry.kind == kind && entry.id == id)
                return &entry;
    return nullptr;
}

const CRuntimeClass CCmdTarget::classRecord{"CCmdTarget", &CObject::classRecord, nullptr};
constinit const MessageMap CCmdTarget::messages{nullptr, {}};

bool CCmdTarget::OnCmdMsg(UINT command, CommandStep step, CCmdUI* ui)
{
    const auto kind = step == CommandStep::run ? MessageEntry::Kind::command : MessageEntry::Kind::update;
    const MessageEntry* entry = GetMessageMap().Find(kind, command);
    if (!entry)
        return false;
    entry->invoke(*this, command, PackPointer(ui));
    return true;
}

bool CCmdTarget::HasCommandHandler(UINT command)
{
    return GetMessageMap().Find(MessageEntry::Kind::command, command) != nullptr;
}

const char* ApplicationResources::FindString(UINT id) const
{
    for (const StringResource& resource : strings)
        if (resource.id == id)
            return resource.text;
    return nullptr;
}

const DialogTemplate* ApplicationResources::FindDialog(UINT id) const
{
    for (const DialogTemplate& dialog : dialogs)
        if (dialog.id == id)
            return &dialog;
    return nullptr;
}
