// SPDX-License-Identifier: MIT
// Bytes and numbers to and from a file, on a stream and on a callback block.
#include "kesterlib/files.h"

#include "tests/support/test_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

namespace
{
using test_support::RecordedBlock;
FILE* FileWith(const std::string& content)
{
    FILE* file = tmpfile();
    fwrite(content.data(), 1, content.size(), file);
    rewind(file);
    return file;
}

std::string Report(const char* text, int error)
{
    return std::string("\nError: ") + strerror(error) + "\n" + text + "\n";
}

TEST(Files, NumbersHaveTheMostSignificantByteFirst)
{
    const RecordedBlock block;
    FILE* const file = tmpfile();
    block->file = file;
    EXPECT_EQ(callback_write_byte(block, 0xff), 1);
    EXPECT_EQ(callback_write_short(block, 0xff01), 1);
    EXPECT_EQ(callback_write_long(block, 0xfffe0203), 1);
    EXPECT_EQ(callback_write_nbytes(block, "abc", 3), 3u);
    EXPECT_EQ(file_write_byte(file, 0xfe), 1);
    EXPECT_EQ(file_write_short(file, 0xfd01), 1);
    EXPECT_EQ(file_write_long(file, 0xfcfb0203), 1);
    EXPECT_EQ(file_write(file, "xyz", 3), 3u);

    char raw[20];
    rewind(file);
    EXPECT_EQ(callback_read_nbytes(block, raw, 10), 10u);
    EXPECT_EQ(file_read(file, raw + 10, 10), 10u);
    EXPECT_EQ(std::string(raw, 20), "\xff\xff\x01\xff\xfe\x02\x03"
                                    "abc\xfe\xfd\x01\xfc\xfb\x02\x03xyz");

    uint8_t bytes[2] = {};
    uint16_t shorts[2] = {};
    uint32_t longs[2] = {};
    rewind(file);
    EXPECT_EQ(callback_read_byte(block, &bytes[0]), 1);
    EXPECT_EQ(callback_read_short(block, &shorts[0]), 1);
    EXPECT_EQ(callback_read_long(block, &longs[0]), 1);
    fseek(file, 10, SEEK_SET);
    EXPECT_EQ(file_read_byte(file, &bytes[1]), 1);
    EXPECT_EQ(file_read_short(file, &shorts[1]), 1);
    EXPECT_EQ(file_read_long(file, &longs[1]), 1);
    EXPECT_EQ(std::vector<uint32_t>({bytes[0], shorts[0], longs[0]}),
              std::vector<uint32_t>({0xff, 0xff01, 0xfffe0203}));
    EXPECT_EQ(std::vector<uint32_t>({bytes[1], shorts[1], longs[1]}),
              std::vector<uint32_t>({0xfe, 0xfd01, 0xfcfb0203}));
    EXPECT_EQ(block.TakeMessages(), "");
    fclose(file);
}

TEST(Files, FailuresAreReportedOnce)
{
    const RecordedBlock block;
    FILE* const three = FileWith("abc");
    FILE* const full = fopen("/dev/full", "wb");
    setvbuf(full, nullptr, _IONBF, 0);
    char bytes[10];
    uint8_t byte = 11;
    uint16_t number = 12;
    uint32_t long_number = 13;
    const struct {
        const char* text;
        int error;
        FILE* file;
        long start;
        std::function<size_t(callback_block*)> on_block;
        std::function<size_t(FILE*)> on_stream;
    } cases[] = {
        {"reading a long", 0, three, 0, [&](auto* b) { return callback_read_long(b, &long_number); },
         [&](FILE* f) { return file_read_long(f, &long_number); }},
        {"reading a short", 0, three, 2, [&](auto* b) { return callback_read_short(b, &number); },
         [&](FILE* f) { return file_read_short(f, &number); }},
        {"reading a char", 0, three, 3, [&](auto* b) { return callback_read_byte(b, &byte); },
         [&](FILE* f) { return file_read_byte(f, &byte); }},
        {"writing file", ENOSPC, full, 0, [](auto* b) { return callback_write_nbytes(b, "abc", 3); },
         [](FILE* f) { return file_write(f, "abc", 3); }},
        {"writing a char", ENOSPC, full, 0, [](auto* b) { return callback_write_byte(b, 1); },
         [](FILE* f) { return file_write_byte(f, 1); }},
        {"writing a short", ENOSPC, full, 0, [](auto* b) { return callback_write_short(b, 1); },
         [](FILE* f) { return file_write_short(f, 1); }},
        {"writing a long", ENOSPC, full, 0, [](auto* b) { return callback_write_long(b, 1); },
         [](FILE* f) { return file_write_long(f, 1); }},
        // Not the end of the file: this stream cannot be read.
        {"reading file", EBADF, full, 0, [&](auto* b) { return callback_read_nbytes(b, bytes, 1); },
         [&](FILE* f) { return file_read(f, bytes, 1); }},
    };
    for (const auto& c : cases) {
        block->file = c.file;
        fseek(c.file, c.start, SEEK_SET);
        errno = 0;
        EXPECT_EQ(c.on_block(block), 0u) << c.text;
        EXPECT_EQ(block.TakeMessages(), Report(c.text, c.error));
        fseek(c.file, c.start, SEEK_SET);
        errno = 0;
        testing::internal::CaptureStderr();
        EXPECT_EQ(c.on_stream(c.file), 0u) << c.text;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string(c.text) + ": " + strerror(c.error) + "\n");
    }
    EXPECT_EQ(std::vector<uint32_t>({byte, number, long_number}), std::vector<uint32_t>({11, 12, 13}));
    for (const size_t wanted : {10, 0}) { // a file may end within a block of bytes
        rewind(three);
        block->file = three;
        EXPECT_EQ(callback_read_nbytes(block, bytes, wanted), wanted ? 3u : 0u);
        EXPECT_EQ(block.TakeMessages(), "");
    }
    fclose(three);
    fclose(full);
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
    EXPECT_EQ(block.TakeMessages(), Report("writing file", ENOSPC));

    // Slots that return one byte more than requested.
    rewind(block->file);
    block->fread = [](void*, size_t, size_t count, FILE*) { return count + 1; };
    block->fwrite = [](const void*, size_t, size_t count, FILE*) { return count + 1; };
    errno = EIO;
    EXPECT_EQ(callback_read_nbytes(block, bytes, 10), 0u);
    EXPECT_EQ(callback_write_nbytes(block, bytes, 10), 0u);
    EXPECT_EQ(block.TakeMessages(), Report("reading file", EIO) + Report("writing file", EIO));
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
