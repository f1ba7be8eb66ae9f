// SPDX-License-Identifier: MIT
// The text of the page header: its writer and its reader, in memory and on streams. Both use the same table
// of keys, so that they always agree.
#include "faxhdr_lines.h"
#include "read_up_to.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace kesterlib
{
namespace
{
constexpr const char* kFormatError = "Header format error";
constexpr const char* kNoEnd = "Unable skip to end of header";
constexpr const char* kDestinationError = "Destination format error";

constexpr const char* kTimeFormat = "%Y:%m:%d %H:%M:%S";

constexpr int32_t kFirstYear = 1900; // year 0 of FAXTime::tm_year

constexpr const char* kRecordMemory = "FaxHeader";
constexpr const char* kFileRecordMemory = "FAXHeader";
constexpr const char* kBufferMemory = "header buffer";

enum class Kind : uint8_t { signed_number, unsigned_number, line_text, word_text, exact_text, truth, time };

struct Key {
    const char* name;
    Kind kind;
    uint16_t offset;       // of the field in the record, in bytes
    uint16_t bytes;        // size of the field
    int32_t first_version; // lowest version that has the key
};

constexpr int32_t kAlways = INT32_MIN; // for keys in every version
#define FIELD(member) offsetof(FAXHeader, member), sizeof(FAXHeader::member)
constexpr Key kKeys[] = {
    {"/FaxHeaderVersion", Kind::signed_number, FIELD(FaxHeaderVersion), kAlways},
    {"/HeaderSize", Kind::unsigned_number, FIELD(HeaderSize), kAlways},
    {"/Size", Kind::unsigned_number, FIELD(Size), kAlways},
    {"/JobName", Kind::line_text, FIELD(JobName), kAlways},
    {"/PageNumber", Kind::signed_number, FIELD(PageNumber), kAlways},
    {"/NumberOfPages", Kind::signed_number, FIELD(NumberOfPages), kAlways},
    {"/Creator", Kind::word_text, FIELD(Creator), kAlways},
    {"/CreateTime", Kind::time, FIELD(CreateTime), kAlways},
    {"/ImageWidth", Kind::unsigned_number, FIELD(ImageWidth), kAlways},
    {"/ImageHeight", Kind::unsigned_number, FIELD(ImageHeight), kAlways},
    {"/DataWidth", Kind::unsigned_number, FIELD(DataWidth), kAlways},
    {"/BandHeight", Kind::unsigned_number, FIELD(BandHeight), kAlways},
    {"/Compression", Kind::signed_number, FIELD(Compression), kAlways},
    {"/ResolutionMultiplier", Kind::unsigned_number, FIELD(ResolutionMultiplier), kAlways},
    {"/XResolution", Kind::unsigned_number, FIELD(XResolution), kAlways},
    {"/YResolution", Kind::unsigned_number, FIELD(YResolution), kAlways},
    {"/LeftMargin", Kind::unsigned_number, FIELD(LeftMargin), kAlways},
    {"/RightMargin", Kind::unsigned_number, FIELD(RightMargin), kAlways},
    {"/TopMargin", Kind::unsigned_number, FIELD(TopMargin), kAlways},
    {"/BottomMargin", Kind::unsigned_number, FIELD(BottomMargin), kAlways},
    {"/Layer", Kind::signed_number, FIELD(Layer), kAlways},
    {"/PSet", Kind::signed_number, FIELD(PSet), kAlways},
    {"/ImageNegate", Kind::truth, FIELD(ImageNegate), kAlways},
    {"/DoubleTruck", Kind::truth, FIELD(DoubleTruck), kAlways},
    {"/Mirror", Kind::truth, FIELD(Mirror), kAlways},
    {"/Rotation", Kind::signed_number, FIELD(Rotation), kAlways},
    {"/Priority", Kind::signed_number, FIELD(Priority), kAlways},
    {"/JobID", Kind::unsigned_number, FIELD(JobID), 2},
    {"/Mux", Kind::exact_text, FIELD(Mux), 3},
};
#undef FIELD
constexpr int32_t kLastVersion = 3; // the last version that added keys
constexpr const char* kNumDestinationsKey = "/NumDestinations";
constexpr const char* kDestinationKey = "/Destination";

template <class Field>
const Field* field_of(const FAXHeader* header, const Key& key)
{
    return reinterpret_cast<const Field*>(reinterpret_cast<const char*>(header) + key.offset);
}
template <class Field>
Field* field_of(FAXHeader* header, const Key& key)
{
    return reinterpret_cast<Field*>(reinterpret_cast<char*>(header) + key.offset);
}

tm calendar_of(const FAXTime& time)
{
    tm calendar{};
    calendar.tm_sec = time.tm_sec;
    calendar.tm_min = time.tm_min;
    calendar.tm_hour = time.tm_hour;
    calendar.tm_mday = time.tm_mday;
    calendar.tm_mon = time.tm_mon;
    calendar.tm_year = time.tm_year;
    calendar.tm_wday = time.tm_wday;
    calendar.tm_yday = time.tm_yday;
    calendar.tm_isdst = time.tm_isdst;
    return calendar;
}

// Returns the length of a text. A text that fills its field has no terminator.
size_t length_within(const char* field, size_t bytes)
{
    const auto* const end = static_cast<const char*>(memchr(field, 0, bytes));
    return end ? static_cast<size_t>(end - field) : bytes;
}

// ---- Writer ----

// Counts all appended bytes, and stores those that fit in the buffer.
struct Text {
    char* buffer;
    uint32_t bytes;  // size of the buffer
    uint32_t length; // bytes appended, also those that did not fit
};

void append(Text* text, const char* from, size_t count)
{
    if (text->length < text->bytes) {
        const uint32_t room = text->bytes - text->length;
        memcpy(text->buffer + text->length, from, count < room ? count : room);
    }
    text->length += static_cast<uint32_t>(count);
}

void append_line(Text* text, const char* key, const char* value, size_t value_bytes)
{
    append(text, " ", 1);
    append(text, key, strlen(key));
    append(text, " ", 1);
    append(text, value, value_bytes);
    append(text, "\n", 1);
}

void append_text_line(Text* text, const char* key, const char* field, size_t field_bytes)
{
    append_line(text, key, field, length_within(field, field_bytes));
}

void append_number_line(Text* text, const char* key, int64_t number)
{
    char digits[24];
    const int count = snprintf(digits, sizeof digits, "%lld", static_cast<long long>(number));
    append_line(text, key, digits, static_cast<size_t>(count));
}

void append_key(Text* text, const FAXHeader* header, const Key& key)
{
    switch (key.kind) {
    case Kind::signed_number: append_number_line(text, key.name, *field_of<int32_t>(header, key)); break;
    case Kind::unsigned_number: append_number_line(text, key.name, *field_of<uint32_t>(header, key)); break;
    case Kind::line_text:
    case Kind::word_text:
    case Kind::exact_text: append_text_line(text, key.name, field_of<char>(header, key), key.bytes); break;
    case Kind::truth: {
        const char* const word = *field_of<int32_t>(header, key) ? "true" : "false";
        append_line(text, key.name, word, strlen(word));
        break;
    }
    case Kind::time: {
        char time_text[80] = ""; // room for six numbers of at most 11 characters, and five separators
        const tm calendar = calendar_of(*field_of<FAXTime>(header, key));
        append_line(text, key.name, time_text, strftime(time_text, sizeof time_text, kTimeFormat, &calendar));
        break;
    }
    }
}

void append_header(Text* text, const FAXHeader* header)
{
    append(text, "<<\n", 3);
    for (const Key& key : kKeys)
        if (header->FaxHeaderVersion >= key.first_version)
            append_key(text, header, key);
    append(text, ">>\n", 3);
    if (header->NumDestinations <= 0)
        return;
    const int32_t destinations =
        header->NumDestinations < FAXHEADER_DESTINATIONS ? header->NumDestinations : FAXHEADER_DESTINATIONS;
    append(text, "<<\n", 3);
    append_number_line(text, kNumDestinationsKey, destinations);
    for (int32_t i = 0; i < destinations; ++i)
        append_text_line(text, kDestinationKey, header->Destination[i], FAXHEADER_DESTINATION);
    append(text, ">>\n", 3);
}

// ---- Scanners ----
// The scanners behave like the C library's formatted input in the "C" locale with a long of 32 bits. A
// blank in a format matches any white space or none. A number accepts white space and one sign before its
// digits. Text after the last value is ignored.

bool is_white(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

const char* skip_white(const char* at)
{
    while (is_white(*at))
        ++at;
    return at;
}

// Skips white space, the key, and white space again. Returns null if the line has another key.
const char* skip_key(const char* line, const char* key)
{
    const char* const start = skip_white(line);
    const size_t key_length = strlen(key);
    return strncmp(start, key, key_length) == 0 ? skip_white(start + key_length) : nullptr;
}

struct Number {
    bool negative;
    uint64_t magnitude; // clamped to kLargestMagnitude
};
constexpr uint64_t kLargestMagnitude = uint64_t{1} << 32; // above the largest value of any field

// Returns the first character after the number, or null if there are no digits.
const char* scan_number(const char* at, Number* number)
{
    at = skip_white(at);
    number->negative = *at == '-';
    if (*at == '-' || *at == '+')
        ++at;
    const char* const digits = at;
    number->magnitude = 0;
    for (; *at >= '0' && *at <= '9'; ++at) {
        number->magnitude = number->magnitude * 10 + static_cast<uint64_t>(*at - '0');
        if (number->magnitude > kLargestMagnitude)
            number->magnitude = kLargestMagnitude;
    }
    return at == digits ? nullptr : at;
}

int32_t clamped(int64_t number)
{
    return number < INT32_MIN ? INT32_MIN : number > INT32_MAX ? INT32_MAX : static_cast<int32_t>(number);
}

const char* scan_signed(const char* at, int32_t* target)
{
    Number number;
    const char* const end = scan_number(at, &number);
    if (end) {
        const auto magnitude = static_cast<int64_t>(number.magnitude);
        *target = clamped(number.negative ? -magnitude : magnitude);
    }
    return end;
}

// Ignores the case of ASCII letters only, because the user's locale may treat other letters differently.
bool equals_without_case(const char* word, const char* lower)
{
    for (; *word && *lower; ++word, ++lower)
        if ((*word >= 'A' && *word <= 'Z' ? *word + ('a' - 'A') : *word) != *lower)
            return false;
    return *word == *lower;
}

// Trims the value, cuts it to the length of the field, and trims its end again. So a field is unchanged if
// it is written and read again.
void set_text(char* target, uint32_t target_bytes, char* value)
{
    trim_blanks(value);
    const size_t length = length_within(value, target_bytes - 1);
    memcpy(target, value, length);
    target[length] = 0;
    trim_blanks(target);
}
} // namespace

void next_header_line(char* line, uint32_t line_bytes, const char* buffer, uint32_t* position, uint32_t size)
{
    uint32_t count = *position < size ? size - *position : 0;
    if (count > line_bytes - 1)
        count = line_bytes - 1;
    if (count > 0) {
        const char* const start = buffer + *position;
        const auto* const line_feed = static_cast<const char*>(memchr(start, '\n', count));
        if (line_feed)
            count = static_cast<uint32_t>(line_feed - start) + 1;
        memcpy(line, start, count);
        *position += count;
    }
    line[count] = 0;
}

void trim_blanks(char* text)
{
    const char* start = text;
    while (*start == ' ' || *start == '\t')
        ++start;
    size_t length = strlen(start);
    while (length > 0 && (start[length - 1] == ' ' || start[length - 1] == '\t'))
        --length;
    memmove(text, start, length);
    text[length] = 0;
}

bool scan_header_word(const char* line, char* word, uint32_t word_bytes)
{
    const char* at = skip_white(line);
    if (!*at)
        return false;
    uint32_t length = 0;
    for (; *at && !is_white(*at) && length < word_bytes - 1; ++at)
        word[length++] = *at;
    word[length] = 0;
    return true;
}

bool scan_header_text(const char* line, const char* key, TextPart part, char* target, uint32_t target_bytes)
{
    const char* const start = skip_key(line, key);
    if (!start)
        return false;
    char value[kLineBytes];
    if (part == TextPart::first_word) {
        if (!scan_header_word(start, value, sizeof value))
            return false;
    } else {
        const size_t length = strcspn(start, "\n");
        if (length == 0)
            return false;
        memcpy(value, start, length); // shorter than a line
        value[length] = 0;
    }
    set_text(target, target_bytes, value);
    return true;
}

bool scan_header_signed(const char* line, const char* key, int32_t* target)
{
    const char* const start = skip_key(line, key);
    return start && scan_signed(start, target);
}

bool scan_header_unsigned(const char* line, const char* key, uint32_t* target)
{
    const char* const start = skip_key(line, key);
    Number number;
    if (!start || !scan_number(start, &number))
        return false;
    const auto magnitude = static_cast<uint32_t>(number.magnitude);
    *target = number.magnitude > UINT32_MAX ? UINT32_MAX : number.negative ? 0U - magnitude : magnitude;
    return true;
}

bool scan_header_boolean(const char* line, const char* key, int32_t* flag)
{
    const char* const start = skip_key(line, key);
    char word[kTruthBytes];
    if (!start || !scan_header_word(start, word, sizeof word))
        return false;
    const bool is_true = equals_without_case(word, "true");
    if (!is_true && !equals_without_case(word, "false"))
        return false;
    *flag = is_true ? 1 : 0;
    return true;
}

bool scan_header_time(const char* line, const char* key, FAXTime* time)
{
    int32_t* const members[] = {&time->tm_year, &time->tm_mon, &time->tm_mday,
                                &time->tm_hour, &time->tm_min, &time->tm_sec};
    constexpr char kBefore[] = {' ', ':', ':', ' ', ':', ':'}; // a blank matches white space or nothing
    const char* at = skip_key(line, key);
    for (int i = 0; at && i < 6; ++i) {
        if (kBefore[i] != ' ' && *at++ != kBefore[i])
            return false;
        at = scan_signed(at, members[i]);
    }
    return at != nullptr;
}

bool scan_header_mux(const char* line, const char* key, char* target, uint32_t target_bytes)
{
    const size_t key_length = strlen(key);
    if (line[0] != ' ' || strncmp(line + 1, key, key_length) != 0 || line[1 + key_length] != ' ')
        return false;
    const char* const start = line + 1 + key_length + 1;
    const size_t length = strcspn(start, "\n");
    if (start[length] != '\n' || start[length + 1])
        return false;
    char value[kLineBytes];
    memcpy(value, start, length);
    value[length] = 0;
    set_text(target, target_bytes, value);
    return true;
}

// ---- Reader ----

namespace
{
struct Lines {
    const char* buffer;
    uint32_t size;
    uint32_t position;
    char line[kLineBytes];
};

const char* next_line(Lines* lines)
{
    next_header_line(lines->line, sizeof lines->line, lines->buffer, &lines->position, lines->size);
    return lines->line;
}

bool next_is(Lines* lines, const char* wanted)
{
    char token[kTokenBytes];
    return scan_header_word(next_line(lines), token, sizeof token) && strcmp(token, wanted) == 0;
}

bool scan_key(const char* line, FAXHeader* header, const Key& key)
{
    switch (key.kind) {
    case Kind::signed_number: return scan_header_signed(line, key.name, field_of<int32_t>(header, key));
    case Kind::unsigned_number: return scan_header_unsigned(line, key.name, field_of<uint32_t>(header, key));
    case Kind::line_text:
        return scan_header_text(line, key.name, TextPart::whole_line, field_of<char>(header, key), key.bytes);
    case Kind::word_text:
        return scan_header_text(line, key.name, TextPart::first_word, field_of<char>(header, key), key.bytes);
    case Kind::exact_text: return scan_header_mux(line, key.name, field_of<char>(header, key), key.bytes);
    case Kind::truth: return scan_header_boolean(line, key.name, field_of<int32_t>(header, key));
    case Kind::time: return scan_header_time(line, key.name, field_of<FAXTime>(header, key));
    }
    return false;
}

// Skips the lines of a later version, up to the first ">>". Each line must hold a word, so the loop also
// stops at the end of the text.
bool skip_to_end(Lines* lines, int32_t version)
{
    if (version <= kLastVersion)
        return next_is(lines, ">>");
    char token[kTokenBytes];
    do {
        if (!scan_header_word(next_line(lines), token, sizeof token))
            return false;
    } while (strcmp(token, ">>") != 0);
    return true;
}

// Converts the numbers of the text to a calendar time. A time that the calendar cannot represent keeps its
// numbers.
void normalise(FAXTime* time)
{
    time->tm_mon = clamped(int64_t{time->tm_mon} - 1);
    time->tm_year = clamped(int64_t{time->tm_year} - kFirstYear);
    time->tm_isdst = -1; // unknown
    tm calendar = calendar_of(*time);
    mktime(&calendar);
    time->tm_sec = calendar.tm_sec;
    time->tm_min = calendar.tm_min;
    time->tm_hour = calendar.tm_hour;
    time->tm_mday = calendar.tm_mday;
    time->tm_mon = calendar.tm_mon;
    time->tm_year = calendar.tm_year;
    time->tm_wday = calendar.tm_wday;
    time->tm_yday = calendar.tm_yday;
    time->tm_isdst = calendar.tm_isdst;
}

// Returns null, or the message about the line that was read last.
const char* read_header(Lines* lines, FAXHeader* header)
{
    header->NumDestinations = 0;
    if (!next_is(lines, "<<"))
        return kFormatError;
    for (const Key& key : kKeys) {
        if (header->FaxHeaderVersion < key.first_version)
            memset(field_of<char>(header, key), 0, key.bytes);
        else if (!scan_key(next_line(lines), header, key))
            return kFormatError;
    }
    if (!skip_to_end(lines, header->FaxHeaderVersion))
        return kNoEnd;

    if (next_is(lines, "<<")) { // otherwise there are no destinations
        int32_t destinations = 0;
        if (!scan_header_signed(next_line(lines), kNumDestinationsKey, &destinations) ||
            destinations > FAXHEADER_DESTINATIONS)
            return kDestinationError;
        header->NumDestinations = destinations;
        for (int32_t i = 0; i < destinations; ++i)
            if (!scan_header_text(next_line(lines), kDestinationKey, TextPart::first_word,
                                  header->Destination[i], FAXHEADER_DESTINATION))
                return kDestinationError;
        if (!next_is(lines, ">>"))
            return kDestinationError;
    }
    normalise(&header->CreateTime);
    return nullptr;
}

// Returns null if there is no memory and the exit slot in use returned.
callback_block* make_block_on(FILE* stream)
{
    callback_block* const callbacks = make_unix_callback_block();
    if (callbacks)
        set_callback_slot(CALLBACK_FILE, callbacks, reinterpret_cast<callback_slot_value>(stream));
    return callbacks;
}
} // namespace
} // namespace kesterlib

using namespace kesterlib;

int32_t createFaxHeader(char* buffer, uint32_t bufferSize, const FAXHeader* header, int32_t pad,
                        const char** message)
{
    if (!header) {
        *message = "No FaxHeader supplied";
        return 0;
    }
    if (header->HeaderSize > bufferSize) {
        *message = "Buffer is smaller than HeaderSize";
        return 0;
    }
    *message = "";
    Text text{buffer, bufferSize, 0};
    append_header(&text, header);
    const auto length = static_cast<int32_t>(text.length); // at most a few thousand
    if (text.length > header->HeaderSize) {
        *message = "Header is too large";
        return -length;
    }
    if (pad && text.length < header->HeaderSize) {
        memset(buffer + text.length, ' ', header->HeaderSize - text.length);
        return clamped(header->HeaderSize);
    }
    if (text.length < bufferSize)
        buffer[text.length] = 0;
    return length;
}

int32_t extractFaxHeader(const char* buffer, uint32_t size, FAXHeader* header, const char** message)
{
    Lines lines{buffer, size, 0, {}};
    const char* const error = read_header(&lines, header);
    *message = error ? error : "";
    const int32_t position = clamped(lines.position);
    return error ? -position : position;
}

FAXHeader* read_FAXHeader_from_callback(callback_block* callbacks, FAXHeader* header)
{
    char buffer[FAXHEADER_BYTES] = {};
    errno = 0; // the end of a stream does not set errno
    if (read_up_to(callbacks, buffer, sizeof buffer) < sizeof buffer) {
        callback_perror(callbacks, "not enough data, reading fax header");
        return nullptr;
    }
    FAXHeader* record = header;
    if (!record) {
        record = static_cast<FAXHeader*>(callback_allocate(callbacks, sizeof *record, kRecordMemory));
        if (!record)
            return nullptr;
        memset(record, 0, sizeof *record);
    }
    const char* message = nullptr;
    const int32_t result = extractFaxHeader(buffer, sizeof buffer, record, &message);
    if (result > 0)
        return record;
    callback_message(callbacks, "\nError at file position %ld, parsing fax header: %s", -long{result},
                     message);
    if (!header)
        callback_deallocate(callbacks, record, kRecordMemory);
    return nullptr;
}

FAXHeader* read_FAXHeader_from_file(FILE* stream)
{
    callback_block* const callbacks = make_block_on(stream);
    callback_block* const memory = callbacks ? dfcb() : nullptr;
    if (!memory) {
        dispose_callback_block(callbacks);
        return nullptr;
    }
    auto* const record =
        static_cast<FAXHeader*>(callback_allocate(memory, sizeof(FAXHeader), kFileRecordMemory));
    FAXHeader* filled = nullptr;
    if (record) {
        memset(record, 0, sizeof *record);
        filled = read_FAXHeader_from_callback(callbacks, record);
    }
    dispose_callback_block(callbacks);
    if (!filled)
        callback_deallocate(memory, record, kFileRecordMemory);
    return filled;
}

uint32_t print_FAXHeader_to_callback(const FAXHeader* header, callback_block* callbacks, char fill)
{
    const uint32_t bytes = header ? header->HeaderSize : 0;
    auto* const buffer = static_cast<char*>(callback_allocate(callbacks, bytes, kBufferMemory));
    if (!buffer && bytes > 0)
        return 0;
    if (buffer)
        memset(buffer, fill, bytes);
    const char* message = nullptr;
    const int32_t length = createFaxHeader(buffer, bytes, header, 0, &message);
    uint32_t written = 0;
    if (length > 0) {
        if (callback_fwrite(callbacks, 1, bytes, buffer) == bytes)
            written = bytes;
        else
            callback_perror(callbacks, "Writing faxheader");
    } else {
        callback_message(callbacks, "\ncreateFaxHeader failed");
        if (length < 0)
            callback_message(callbacks, "\nHeader would be too large");
    }
    callback_deallocate(callbacks, buffer, kBufferMemory);
    return written;
}

uint32_t print_FAXHeader_to_file(const FAXHeader* header, FILE* stream, char fill)
{
    callback_block* const callbacks = make_block_on(stream);
    if (!callbacks)
        return 0;
    const uint32_t written = print_FAXHeader_to_callback(header, callbacks, fill);
    dispose_callback_block(callbacks);
    return written;
}

int32_t FAXHeader_Row_Bytes(const FAXHeader* header)
{
    constexpr uint32_t kWidest = INT32_MAX - 7; // so that width + 7 does not overflow
    if (header->DataWidth == 0 || header->DataWidth > kWidest || header->ImageHeight > INT32_MAX)
        return 0;
    return (static_cast<int32_t>(header->DataWidth) + 7) / 8;
}

int FAXHeader_Label(const FAXHeader* header, char* buffer, size_t size)
{
    constexpr char kLetters[] = "BCMY"; // black, cyan, magenta, yellow
    constexpr int kNameBytes = FAXHEADER_JOB_NAME;
    const int32_t layer = header->Layer;
    if (layer >= 0 && layer < 4)
        return snprintf(buffer, size, "%d.%c %.*s", header->PageNumber, kLetters[layer], kNameBytes,
                        header->JobName);
    return snprintf(buffer, size, "%d.%d %.*s", header->PageNumber, layer, kNameBytes, header->JobName);
}
