// Bytes and numbers to and from a file, on a stream and on a callback block.
#include "kesterlib/files.h"

#include "tests/kesterlib/recorded_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace
{
// The two families under the same names, with the reports that each made since the last call.
struct OnStream {
    static constexpr auto read = file_read;
    static constexpr auto write = file_write;
    static constexpr auto write_byte = file_write_byte;
    static constexpr auto write_short = file_write_short;
    static constexpr auto write_long = file_write_long;
    static constexpr auto read_byte = file_read_byte;
    static constexpr auto read_short = file_read_short;
    static constexpr auto read_long = file_read_long;

    explicit OnStream(FILE* stream) : file(stream) { testing::internal::CaptureStderr(); }
    ~OnStream() { testing::internal::GetCapturedStderr(), fclose(file); }
    std::string TakeReports()
    {
        std::string reports = testing::internal::GetCapturedStderr();
        testing::internal::CaptureStderr();
        return reports;
    }
    static std::string Report(const char* text, int error)
    {
        return std::string(text) + ": " + strerror(error) + "\n";
    }
    FILE* operator*() const { return file; }

    FILE* file;
};

struct OnBlock {
    static constexpr auto read = callback_read_nbytes;
    static constexpr auto write = callback_write_nbytes;
    static constexpr auto write_byte = callback_write_byte;
    static constexpr auto write_short = callback_write_short;
    static constexpr auto write_long = callback_write_long;
    static constexpr auto read_byte = callback_read_byte;
    static constexpr auto read_short = callback_read_short;
    static constexpr auto read_long = callback_read_long;

    explicit OnBlock(FILE* stream) : file(stream) { block->file = stream; }
    ~OnBlock() { EXPECT_EQ(callback_fclose(block), 0); }
    static std::string TakeReports() { return RecordedBlock::TakeMessages(); }
    static std::string Report(const char* text, int error)
    {
        return std::string("\nError: ") + strerror(error) + "\n" + text + "\n";
    }
    callback_block* operator*() const { return block; }

    FILE* file;
    RecordedBlock block;
};

template <typename Family>
struct Files : testing::Test {
};
using Families = testing::Types<OnStream, OnBlock>;
TYPED_TEST_SUITE(Files, Families, );

FILE* FileWith(const std::string& content)
{
    FILE* file = tmpfile();
    fwrite(content.data(), 1, content.size(), file);
    rewind(file);
    return file;
}

TYPED_TEST(Files, NumbersHaveTheMostSignificantByteFirst)
{
    using F = TypeParam;
    F file{tmpfile()};
    EXPECT_EQ(F::write_byte(*file, 0xff), 1);
    EXPECT_EQ(F::write_short(*file, 0xff01), 1);
    EXPECT_EQ(F::write_long(*file, 0xfffe0203), 1);
    EXPECT_EQ(F::write(*file, "abc", 3), 3u);

    char raw[11] = "";
    rewind(file.file);
    EXPECT_EQ(F::read(*file, raw, 10), 10u);
    EXPECT_EQ(memcmp(raw,
                     "\xff\xff\x01\xff\xfe\x02\x03"
                     "abc",
                     10),
              0);

    uint8_t byte = 0;
    uint16_t number = 0;
    uint32_t long_number = 0;
    rewind(file.file);
    EXPECT_EQ(F::read_byte(*file, &byte), 1);
    EXPECT_EQ(F::read_short(*file, &number), 1);
    EXPECT_EQ(F::read_long(*file, &long_number), 1);
    EXPECT_EQ(byte, 0xff);
    EXPECT_EQ(number, 0xff01);
    EXPECT_EQ(long_number, 0xfffe0203);
    EXPECT_EQ(file.TakeReports(), "");
}

TYPED_TEST(Files, EndOfFileIsReportedOnlyForNumbers)
{
    using F = TypeParam;
    F file{FileWith("abc")};
    const auto report = [](const char* text) { return F::Report(text, 0); };
    uint8_t byte = 11;
    uint16_t number = 12;
    uint32_t long_number = 13;
    errno = 0;
    EXPECT_EQ(F::read_long(*file, &long_number), 0);
    EXPECT_EQ(file.TakeReports(), report("reading a long"));
    fseek(file.file, -1, SEEK_END);
    errno = 0;
    EXPECT_EQ(F::read_short(*file, &number), 0);
    EXPECT_EQ(file.TakeReports(), report("reading a short"));
    errno = 0;
    EXPECT_EQ(F::read_byte(*file, &byte), 0);
    EXPECT_EQ(file.TakeReports(), report("reading a char"));
    EXPECT_EQ(std::vector<uint32_t>({byte, number, long_number}), std::vector<uint32_t>({11, 12, 13}));

    char bytes[10];
    rewind(file.file);
    EXPECT_EQ(F::read(*file, bytes, sizeof bytes), 3u);
    EXPECT_EQ(F::read(*file, bytes, 0), 0u);
    EXPECT_EQ(file.TakeReports(), "");
}

TYPED_TEST(Files, FailuresAreReportedOnce)
{
    using F = TypeParam;
    F full{fopen("/dev/full", "wb")};
    setvbuf(full.file, nullptr, _IONBF, 0);
    const auto report = [](const char* text) { return F::Report(text, ENOSPC); };
    EXPECT_EQ(F::write(*full, "abc", 3), 0u);
    EXPECT_EQ(full.TakeReports(), report("writing file"));
    EXPECT_EQ(F::write_byte(*full, 1), 0);
    EXPECT_EQ(full.TakeReports(), report("writing a char"));
    EXPECT_EQ(F::write_short(*full, 1), 0);
    EXPECT_EQ(full.TakeReports(), report("writing a short"));
    EXPECT_EQ(F::write_long(*full, 1), 0);
    EXPECT_EQ(full.TakeReports(), report("writing a long"));
    char byte = 0;
    EXPECT_EQ(F::read(*full, &byte, 1), 0u); // not the end of the file: this stream cannot be read
    EXPECT_EQ(full.TakeReports(), F::Report("reading file", EBADF));
}

TEST(FilesOnBlock, RepeatUntilAllBytesAreMoved)
{
    static std::string written;
    written.clear();
    const RecordedBlock block;
    block->file = FileWith("0123456789");
    block->fread = [](void* buffer, size_t, size_t count, FILE* stream) {
        return fread(buffer, 1, std::min<size_t>(count, 3), stream);
    };
    block->fwrite = [](const void* buffer, size_t, size_t count, FILE*) {
        const size_t taken = written.empty() ? 3 : written.size() < 8 ? count - 2 : 0; // 3, 5, then 0
        written.append(static_cast<const char*>(buffer), taken);
        return taken;
    };
    char bytes[10] = "";
    EXPECT_EQ(callback_read_nbytes(block, bytes, 10), 10u);
    EXPECT_EQ(std::string(bytes, 10), "0123456789");
    EXPECT_EQ(block.TakeMessages(), "");
    errno = ENOSPC;
    EXPECT_EQ(callback_write_nbytes(block, bytes, 10), 8u);
    EXPECT_EQ(written, "01234567");
    EXPECT_EQ(block.TakeMessages(), OnBlock::Report("writing file", ENOSPC));

    // Slots that return one byte more than requested.
    rewind(block->file);
    block->fread = [](void*, size_t, size_t count, FILE*) { return count + 1; };
    block->fwrite = [](const void*, size_t, size_t count, FILE*) { return count + 1; };
    errno = EIO;
    EXPECT_EQ(callback_read_nbytes(block, bytes, 10), 0u);
    EXPECT_EQ(callback_write_nbytes(block, bytes, 10), 0u);
    EXPECT_EQ(block.TakeMessages(),
              OnBlock::Report("reading file", EIO) + OnBlock::Report("writing file", EIO));
    EXPECT_EQ(callback_fclose(block), 0);
}

TEST(EndianSwap, WholeWordsOnly)
{
    struct Case {
        size_t bytes;
        const char *swapped_32, *swapped_16;
    };
    constexpr Case kCases[] = {{1, "abcdefghi", "abcdefghi"},
                               {3, "abcdefghi", "bacdefghi"},
                               {6, "dcbaefghi", "badcfeghi"},
                               {8, "dcbahgfei", "badcfehgi"}};
    for (const Case& c : kCases) {
        for (const size_t start : {0, 1}) { // also at an odd address
            SCOPED_TRACE(testing::Message() << c.bytes << " bytes from " << start);
            char words[] = "#abcdefghi", halves[] = "#abcdefghi";
            memmove(words + start, "abcdefghi", 10);
            memmove(halves + start, "abcdefghi", 10);
            endian_swap_32(words + start, c.bytes);
            endian_swap_16(halves + start, c.bytes);
            EXPECT_STREQ(words + start, c.swapped_32);
            EXPECT_STREQ(halves + start, c.swapped_16);
        }
    }
}
} // namespace
