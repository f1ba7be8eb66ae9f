// SPDX-License-Identifier: MIT
// Compares the writer and the reader of the page header with each other, also on damaged headers, in memory
// and over a callback block.
#include "faxhdr_lines.h"
#include "tests/support/short_malloc.h"
#include "tests/support/test_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using namespace kesterlib;

namespace
{
using test_support::RecordedBlock;
// Every field has a different value. The time is a Thursday.
// clang-format off
constexpr FAXHeader kSample = {
    3, 4096, 12345, "Front page", 12, 48, "rip7", {56, 34, 12, 29, 1, 124, 4, 59, 0},
    7900, 11000, 8000, 64, FAXHEADER_SQUEEZE, 10, 6000, 3000, 1, 2, 3, 4000000000,
    5, -6, 1, 0, 7, -90, 9, 2, {"north", "south"}, 4294967295, "two words"};
// clang-format on

constexpr std::string_view kText = R"(<<
 /FaxHeaderVersion 3
 /HeaderSize 4096
 /Size 12345
 /JobName Front page
 /PageNumber 12
 /NumberOfPages 48
 /Creator rip7
 /CreateTime 2024:02:29 12:34:56
 /ImageWidth 7900
 /ImageHeight 11000
 /DataWidth 8000
 /BandHeight 64
 /Compression 1000
 /ResolutionMultiplier 10
 /XResolution 6000
 /YResolution 3000
 /LeftMargin 1
 /RightMargin 2
 /TopMargin 3
 /BottomMargin 4000000000
 /Layer 5
 /PSet -6
 /ImageNegate true
 /DoubleTruck false
 /Mirror true
 /Rotation -90
 /Priority 9
 /JobID 4294967295
 /Mux two words
>>
<<
 /NumDestinations 2
 /Destination north
 /Destination south
>>
)";
// The bytes of the record, without the padding at its end.
std::string_view BytesOf(const FAXHeader& header)
{
    return {reinterpret_cast<const char*>(&header), offsetof(FAXHeader, Mux) + sizeof header.Mux};
}

enum { kFirstEnd = 30, kSecondStart = 31, kLastLine = 35 };

using Lines = std::vector<std::string>;
Lines SampleLines()
{
    Lines lines;
    for (size_t start = 0, end = 0; start < kText.size(); start = end) {
        end = kText.find('\n', start) + 1;
        lines.emplace_back(kText.substr(start, end - start));
    }
    return lines;
}

std::string Joined(const Lines& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line;
    return text;
}

// The sample's text with one line replaced.
std::string With(size_t line, const std::string& text)
{
    Lines lines = SampleLines();
    lines[line] = text;
    return Joined(lines);
}

struct Written {
    int32_t result;
    std::string message, buffer;
};
Written Write(const FAXHeader& header, uint32_t buffer_bytes, int pad)
{
    const std::unique_ptr<char[]> buffer{new char[buffer_bytes]}; // exact size: detects a write outside
    memset(buffer.get(), '#', buffer_bytes);
    const char* message = nullptr;
    const int32_t result = createFaxHeader(buffer.get(), buffer_bytes, &header, pad, &message);
    return {result, message, {buffer.get(), buffer_bytes}};
}

std::string TextOf(FAXHeader header)
{
    header.HeaderSize = 4096;
    const Written written = Write(header, 4096, 0);
    return written.buffer.substr(0, static_cast<size_t>(std::max(written.result, 0)));
}

struct Parsed {
    int32_t result;
    std::string message;
    FAXHeader header;
};
Parsed Parse(const std::string& text, FAXHeader header = {})
{
    const std::unique_ptr<char[]> buffer{new char[text.size()]};
    memcpy(buffer.get(), text.data(), text.size());
    const char* message = nullptr;
    const int32_t result =
        extractFaxHeader(buffer.get(), static_cast<uint32_t>(text.size()), &header, &message);
    return {result, message, header};
}

TEST(FaxHeaderWriter, TextOfEachVersion)
{
    for (const int version : {-1, 1, 2, 3, 4}) {
        FAXHeader header = kSample;
        header.FaxHeaderVersion = version;
        Lines want = SampleLines();
        want[1] = " /FaxHeaderVersion " + std::to_string(version) + "\n";
        if (version < 3)
            want[29].clear();
        if (version < 2)
            want[28].clear();
        EXPECT_EQ(TextOf(header), Joined(want));
    }
    FAXHeader header = kSample;
    header.NumDestinations = -1;
    EXPECT_TRUE(TextOf(header).ends_with("\n>>\n"));
    memset(header.Creator, 'c', sizeof header.Creator); // without a terminator
    header.NumDestinations = INT32_MAX;
    EXPECT_NE(TextOf(header).find(" /Creator cccccccccccccccc\n"), std::string::npos);
    EXPECT_NE(TextOf(header).find(" /NumDestinations 64\n"), std::string::npos);
    EXPECT_NE(TextOf(FAXHeader{}).find(" /CreateTime 1900:01:00 00:00:00\n"), std::string::npos);
}

TEST(FaxHeaderWriter, StaysWithinTheBufferAndKeepsTheRest)
{
    FAXHeader header = kSample;
    const std::string text = TextOf(header);
    const auto length = static_cast<int32_t>(text.size());
    for (uint32_t size = 0; size < text.size() + 4; ++size)
        for (const uint32_t more : {0U, 300U})
            for (const int pad : {0, -1}) {
                SCOPED_TRACE(testing::Message() << size << " + " << more << ", pad " << pad);
                header.HeaderSize = size;
                // The number HeaderSize can have fewer digits here than in the sample.
                const auto own_length = length - 4 + static_cast<int32_t>(std::to_string(size).size());
                const Written got = Write(header, size + more, pad);
                if (static_cast<int32_t>(size) < own_length) {
                    ASSERT_EQ(got.result, -own_length);
                    ASSERT_EQ(got.message, "Header is too large");
                    continue;
                }
                ASSERT_EQ(got.message, "");
                ASSERT_EQ(got.result, pad ? static_cast<int32_t>(size) : own_length);
                const auto end = static_cast<size_t>(own_length);
                std::string rest(size + more - end, '#');
                if (pad && size > end)
                    rest.replace(0, size - end, size - end, ' ');
                else if (!rest.empty())
                    rest[0] = 0;
                ASSERT_EQ(got.buffer.substr(end), rest);
            }
    header.HeaderSize = 4096;
    EXPECT_EQ(Write(header, 4095, 1).result, 0);
    EXPECT_EQ(Write(header, 4095, 1).message, "Buffer is smaller than HeaderSize");
    const char* message = nullptr;
    EXPECT_EQ(createFaxHeader(nullptr, 0, nullptr, 0, &message), 0);
    EXPECT_STREQ(message, "No FaxHeader supplied");
}

TEST(FaxHeaderReader, ReturnsWhatWasWritten)
{
    setenv("TZ", "UTC0", 1);
    FAXHeader header = kSample;
    FAXHeader want = header;
    want.Mirror = 1; // any value but 0 is read as 1
    for (const char* end : {"", "     \n", "\n<<\n"}) {
        const Parsed got = Parse(TextOf(header) + end + std::string(9, '\0'));
        EXPECT_EQ(got.message, "");
        EXPECT_EQ(BytesOf(got.header), BytesOf(want));
    }
    // If the version does not have a key, the reader clears its field in the record.
    for (const int version : {1, 2}) {
        header.FaxHeaderVersion = version;
        const Parsed got = Parse(TextOf(header), kSample);
        EXPECT_GT(got.result, 0);
        EXPECT_EQ(got.header.JobID, version == 1 ? 0 : header.JobID);
        EXPECT_STREQ(got.header.Mux, "");
    }
}

// The reader's message if the sample's line `line` does not fit. Empty if that is no failure.
const char* ErrorAt(size_t line)
{
    if (line <= kFirstEnd)
        return line < kFirstEnd ? "Header format error" : "Unable skip to end of header";
    return line == kSecondStart || line > kLastLine ? "" : "Destination format error";
}

TEST(FaxHeaderReader, EachDamagedLineEndsTheParseThere)
{
    const Lines good = SampleLines();
    for (size_t i = 0; i <= kLastLine; ++i) {
        const auto expect = [&](const char* what, const Lines& lines, size_t line) {
            SCOPED_TRACE(testing::Message() << what << " " << i << ": " << good[i]);
            const Parsed got = Parse(Joined(lines));
            EXPECT_EQ(got.message, ErrorAt(line));
            EXPECT_EQ(got.result > 0, *ErrorAt(line) == 0);
            if (got.result < 0) { // after the line that does not fit, or at the cut of a long one
                size_t end = 0;
                for (size_t k = 0; k <= line && k < lines.size(); ++k)
                    end += lines[k].size() > 255 ? 255 : lines[k].size();
                EXPECT_EQ(-got.result, static_cast<int32_t>(end));
            }
            EXPECT_EQ(got.header.NumDestinations, line <= kSecondStart + 1 ? 0 : 2);
        };
        Lines lines = good;
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(i));
        // The order of the destinations does not matter.
        expect("missing", lines, i == kLastLine - 2 ? i + 1 : i);
        lines = good;
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(i), good[i]);
        expect("doubled", lines, i == kLastLine - 2 ? i + 2 : i + 1);
        const auto expect_with = [&](const char* what, const std::string& line) {
            lines = good;
            lines[i] = line;
            expect(what, lines, i);
        };
        expect_with("a zero byte in front", '\0' + good[i].substr(1));
        expect_with("another word", "x" + good[i]);
        expect_with("after 300 blanks", std::string(300, ' ') + good[i]);
    }
    // The text is cut at every length. Two of the results are complete: the text without its last line feed,
    // and the text before the destinations.
    const std::string whole = Joined(good);
    const size_t first_end = whole.find(">>") + 2;
    for (size_t n = 0; n <= whole.size(); ++n) {
        const Parsed got = Parse(whole.substr(0, n));
        const bool complete = n + 1 >= whole.size() || (n >= first_end && n < first_end + 3);
        ASSERT_EQ(got.result > 0, complete) << n;
        ASSERT_LE(std::abs(got.result), static_cast<int32_t>(n));
    }
}

TEST(FaxHeaderReader, SpecialCases)
{
    const std::string later = With(1, "/FaxHeaderVersion 4\n");
    const auto extra = [](std::string text, const char* before, const std::string& what) {
        return text.insert(text.find(before), what);
    };
    const auto counted = [](const std::string& count, int entries) {
        Lines lines = SampleLines();
        lines.resize(kSecondStart);
        lines.push_back("<<\n/NumDestinations " + count + "\n");
        for (int i = 0; i < entries; ++i)
            lines.push_back(" /Destination d" + std::to_string(i) + "\n");
        return Joined(lines) + ">>\n";
    };
    const std::string huge(30, '9');
    struct {
        const char* name;
        std::string text;
        const char* message;
        int32_t destinations;
    } const cases[] = {
        {"later keys", extra(later, ">>", " /New 1\n>> \n"), "", 0},
        {"many later keys", extra(later, ">>", Joined(Lines(99, " /New 1\n"))), "", 2},
        {"a later key longer than a line", extra(later, ">>", " /New " + std::string(999, 'x') + "\n"), "",
         2},
        {"a blank later line", extra(later, ">>", " /New 1\n\n"), "Unable skip to end of header", 0},
        {"an extra key", With(kFirstEnd, " /New 1\n>>\n"), "Unable skip to end of header", 0},
        {"more text after the end", With(kFirstEnd, "\t>> and more\n"), "", 2},
        {"64 destinations", counted("64", 64), "", 64},
        {"65 destinations", counted("65", 65), "Destination format error", 0},
        {"a huge number of them", counted(huge, 0), "Destination format error", 0},
        {"none", counted("0", 0), "", 0},
        {"a negative number of them", counted("-3", 0), "", -3},
        {"an empty destination", With(33, " /Destination \n"), "Destination format error", 2},
        {"no job name", With(4, " /JobName  \t \n"), "Header format error", 0},
        {"five numbers in the time", With(8, " /CreateTime 2024:02:29 12:34\n"), "Header format error", 0},
        {"a Mux without its line feed", With(29, " /Mux x").substr(0, With(29, " /Mux x").find(">>")),
         "Header format error", 0},
    };
    for (const auto& c : cases) {
        const Parsed got = Parse(c.text);
        EXPECT_EQ(got.message, c.message) << c.name;
        EXPECT_EQ(got.header.NumDestinations, c.destinations) << c.name;
    }
    EXPECT_STREQ(Parse(counted("64", 64)).header.Destination[63], "d63");
}

TEST(FaxHeaderScanners, NumbersOf32Bits)
{
    const std::string huge(30, '9');
    struct {
        std::string line;
        bool fits;
        int32_t as_signed;
        uint32_t as_unsigned;
    } const cases[] = {
        {" /N 0\n", true, 0, 0},
        {"\t\r\v/N \f\n +7abc\n", true, 7, 7},
        {"/N-1", true, -1, 0xffffffff},
        {"/N2147483648", true, INT32_MAX, 0x80000000},
        {"/N-2147483649", true, INT32_MIN, 0x7fffffff},
        {"/N4294967295", true, INT32_MAX, 0xffffffff},
        {"/N-4294967296", true, INT32_MIN, 0xffffffff},
        {"/N -" + huge, true, INT32_MIN, 0xffffffff},
        {"/N \n", false, 0, 0},
        {"/N +-5", false, 0, 0},
        {"/NN 1", false, 0, 0},
        {"/n 1", false, 0, 0},
        {"x /N 1", false, 0, 0},
    };
    for (const auto& c : cases) {
        int32_t as_signed = 77;
        uint32_t as_unsigned = 77;
        EXPECT_EQ(scan_header_signed(c.line.c_str(), "/N", &as_signed), c.fits) << c.line;
        EXPECT_EQ(scan_header_unsigned(c.line.c_str(), "/N", &as_unsigned), c.fits) << c.line;
        EXPECT_EQ(as_signed, c.fits ? c.as_signed : 77) << c.line;
        EXPECT_EQ(as_unsigned, c.fits ? c.as_unsigned : 77) << c.line;
    }
}

TEST(FaxHeaderScanners, TextsWordsAndTimes)
{
    constexpr const char* kNone = nullptr; // the line does not fit
    const std::string full(200, 'z');
    struct {
        std::string value; // text between the key and the line feed
        const char *whole, *word, *exact;
    } const texts[] = {
        {"  a  b\t ", "a  b", "a", "a  b"},
        {"  ", kNone, kNone, ""},
        {"", kNone, kNone, kNone},
        {"News", "News", "News", kNone},
        {" News\r", "News\r", "News", "News\r"},
        {" 1234567 9", "1234567", "1234567", "1234567"}, // the blank before the cut is trimmed too
        {" " + full, "zzzzzzzz", "zzzzzzzz", "zzzzzzzz"},
        {" \xff\x01", "\xff\x01", "\xff\x01", "\xff\x01"},
    };
    for (const auto& c : texts) {
        const std::string line = " /K" + c.value + "\n";
        const auto expect = [&](const char* want, auto scan) {
            char field[10] = "unset";
            EXPECT_EQ(scan(field), want != nullptr) << c.value;
            EXPECT_STREQ(field, want ? want : "unset") << c.value;
        };
        const char* const text = line.c_str();
        expect(c.whole, [&](char* to) { return scan_header_text(text, "/K", TextPart::whole_line, to, 9); });
        expect(c.word, [&](char* to) { return scan_header_text(text, "/K", TextPart::first_word, to, 9); });
        expect(c.exact, [&](char* to) { return scan_header_mux(text, "/K", to, 9); });
    }
    for (const char* line : {"/K x\n", "  /K x\n", " /K x", " /k x\n", " /K x\n "}) {
        char field[9];
        EXPECT_FALSE(scan_header_mux(line, "/K", field, sizeof field)) << line;
    }

    struct {
        std::string word;
        int want; // 77: the scanner returns false
    } const words[] = {{"FALSE", 0},  {" TrUe x", 1}, {"", 77},
                       {"truer", 77}, {"tru", 77},    {"true" + full, 77}};
    for (const auto& c : words) {
        int32_t flag = 77;
        EXPECT_EQ(scan_header_boolean(("/B " + c.word + "\n").c_str(), "/B", &flag), c.want != 77) << c.word;
        EXPECT_EQ(flag, c.want) << c.word;
    }

    setenv("TZ", "UTC0", 1);
    struct {
        const char* value;
        FAXTime want;
    } const times[] = {
        {"2024:02:29 12:34:56", {56, 34, 12, 29, 1, 124, 4, 59, 0}},
        {"1900:01:00 00:00:00", {0, 0, 0, 31, 11, -1, 0, 364, 0}},
        {"2023:14:32-1:-1:+3600", {0, 59, 23, 2, 2, 124, 6, 61, 0}}, // each number carries over
        {"-99999999999:-99999999999:1 1:1:1", {1, 1, 1, 1, INT32_MIN, INT32_MIN, 0, 0, -1}}, // too far
    };
    for (const auto& c : times) {
        const FAXTime got = Parse(With(8, "/CreateTime " + std::string{c.value} + "\n")).header.CreateTime;
        if (c.want.tm_isdst < 0) // the weekday is unchanged
            EXPECT_EQ(memcmp(&got, &c.want, offsetof(FAXTime, tm_wday)), 0) << c.value;
        else
            EXPECT_EQ(memcmp(&got, &c.want, sizeof got), 0) << c.value;
    }
}

// ---- Over a block ----

// An allocate slot without memory.
void* NoMemory(size_t, const char*)
{
    return nullptr;
}

TEST(FaxHeaderRecord, RowBytesOfSidesThatCanBeUsed)
{
    const struct {
        uint32_t width, height;
        int32_t bytes;
    } cases[] = {
        {1, 0, 1},          {8, 1, 1}, {9, 0x7FFFFFFF, 2}, {0x7FFFFFF8, 5, 0x0FFFFFFF}, {0x7FFFFFF9, 5, 0},
        {0xFFFFFFFF, 5, 0}, {0, 5, 0}, {8, 0x80000000, 0}, {8, 3000000000, 0},
    };
    for (const auto& one : cases) {
        FAXHeader header{};
        header.DataWidth = one.width;
        header.ImageHeight = one.height;
        EXPECT_EQ(FAXHeader_Row_Bytes(&header), one.bytes) << one.width << " x " << one.height;
    }
}

TEST(FaxHeaderRecord, LabelsOfAnySize)
{
    FAXHeader header{};
    memset(header.JobName, 'x', sizeof header.JobName); // no terminator
    header.PageNumber = INT32_MIN;
    header.Layer = INT32_MIN;
    const std::string longest = "-2147483648.-2147483648 " + std::string(32, 'x');
    for (const size_t size : {size_t{0}, size_t{1}, size_t{20}, longest.size(), longest.size() + 1}) {
        std::vector<char> buffer(size, '!'); // exact size
        EXPECT_EQ(FAXHeader_Label(&header, buffer.data(), size), static_cast<int>(longest.size()));
        if (size > 0) {
            EXPECT_EQ(std::string(buffer.data(), size - 1), longest.substr(0, size - 1));
            EXPECT_EQ(buffer.back(), 0);
        }
    }
    char letter[8];
    header.PageNumber = 7;
    header.Layer = 1;
    EXPECT_EQ(FAXHeader_Label(&header, letter, sizeof letter), 36);
    EXPECT_STREQ(letter, "7.C xxx");
}

TEST(FaxHeaderStreams, ReadFromABlock)
{
    std::string good{kText};
    good.resize(5000, ' ');
    const std::string bad = "<<\n /Size 1\n" + good;
    struct {
        const char* name;
        std::string input;
        const char* messages;
    } const cases[] = {
        {"good", good, ""},
        {"one byte short", good.substr(0, 4095), "\nError: Success\nnot enough data, reading fax header\n"},
        {"no header", bad, "\nError at file position 12, parsing fax header: Header format error"},
        {"no memory", good, ""},
    };
    for (const auto& c : cases)
        for (const bool own_record : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.name << ", " << own_record);
            RecordedBlock block;
            set_callback_debug_memory(block, 1);
            block->fread = [](void* buffer, size_t size, size_t count, FILE* stream) {
                return fread(buffer, size, std::min<size_t>(count, 1000), stream);
            };
            std::string input = c.input;
            block->file = fmemopen(input.data(), input.size(), "r");
            if (c.name == std::string{"no memory"})
                block->allocate = NoMemory;
            FAXHeader record{};
            FAXHeader* const got = read_FAXHeader_from_callback(block, own_record ? &record : nullptr);
            const bool reads = !*c.messages && (own_record || block->allocate != NoMemory);
            ASSERT_EQ(got != nullptr, reads);
            if (got) {
                EXPECT_STREQ(got->Destination[1], "south");
                EXPECT_EQ(callback_ftell(block), 4096);
            }
            EXPECT_EQ(RecordedBlock::TakeMessages(), c.messages);
            if (!own_record)
                callback_deallocate(block, got, "FaxHeader");
            EXPECT_EQ(block->allocated_list, nullptr);
            EXPECT_EQ(RecordedBlock::TakeMessages(), "");
            EXPECT_EQ(callback_fclose(block), 0);
        }
}

TEST(FaxHeaderStreams, WriteToABlock)
{
    const std::string failed = "\ncreateFaxHeader failed";
    const uint32_t exact = static_cast<uint32_t>(kText.size()) - 1; // one digit less
    struct {
        const char* path; // null: a stream in memory
        uint32_t header_size, want;
        std::string messages;
    } const cases[] = {
        {nullptr, 4096, 4096, ""},
        {nullptr, exact, exact, ""},
        {nullptr, 100, 0, failed + "\nHeader would be too large"},
        {"/dev/full", 4096, 0, "\nError: No space left on device\nWriting faxheader\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << (c.path ? c.path : "memory") << ", " << c.header_size);
        RecordedBlock block;
        set_callback_debug_memory(block, 1);
        std::string output(5000, '#');
        block->file = c.path ? fopen(c.path, "w") : fmemopen(output.data(), output.size(), "w");
        setvbuf(block->file, nullptr, _IONBF, 0);
        FAXHeader header = kSample;
        header.HeaderSize = c.header_size;
        EXPECT_EQ(print_FAXHeader_to_callback(&header, block, '*'), c.want);
        EXPECT_EQ(callback_fclose(block), 0);
        EXPECT_EQ(RecordedBlock::TakeMessages(), c.messages);
        EXPECT_EQ(block->allocated_list, nullptr);
        if (c.want == 4096) {
            const std::string want = std::string{kText} + '\0' + std::string(4096 - kText.size() - 1, '*');
            EXPECT_EQ(output.substr(0, 4096), want);
        }
    }
    RecordedBlock block;
    EXPECT_EQ(print_FAXHeader_to_callback(nullptr, block, '*'), 0U);
    EXPECT_EQ(RecordedBlock::TakeMessages(), failed);
    block->allocate = NoMemory;
    const FAXHeader header = kSample;
    EXPECT_EQ(print_FAXHeader_to_callback(&header, block, '*'), 0U);
}

TEST(FaxHeaderStreams, StandardStreams)
{
    FILE* const stream = tmpfile();
    ASSERT_NE(stream, nullptr);
    const FAXHeader header = kSample;
    EXPECT_EQ(print_FAXHeader_to_file(&header, stream, ' '), 4096U);
    EXPECT_EQ(ftell(stream), 4096);
    set_callback_debug_memory(dfcb(), 1);
    rewind(stream);
    FAXHeader* const got = read_FAXHeader_from_file(stream);
    ASSERT_NE(got, nullptr);
    EXPECT_STREQ(got->JobName, "Front page");
    callback_deallocate(dfcb(), got, "FAXHeader");
    testing::internal::CaptureStderr();
    EXPECT_EQ(read_FAXHeader_from_file(stream), nullptr); // at the end of the stream
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\nError: Success\nnot enough data, reading fax header\n");
    EXPECT_EQ(dfcb()->allocated_list, nullptr);
    dispose_default_callback_block();

    // There is no memory for a block, and the exit slot of the client's own block returns.
    const RecordedBlock client;
    const auto fails = [&](int mallocs, auto call) {
        rewind(stream);
        callback_message(client, "!"); // makes the client's block the one used last
        g_mallocs_left = mallocs;
        EXPECT_FALSE(call());
        EXPECT_EQ(g_mallocs_left, -1);
        EXPECT_EQ(RecordedBlock::TakeExits(), std::vector{1});
    };
    fails(0, [&] { return print_FAXHeader_to_file(&header, stream, ' ') != 0; });
    fails(0, [&] { return read_FAXHeader_from_file(stream) != nullptr; });
    fails(1, [&] { return read_FAXHeader_from_file(stream) != nullptr; }); // the default block
    fclose(stream);
}
} // namespace
