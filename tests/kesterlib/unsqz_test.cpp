// SPDX-License-Identifier: MIT
// Compares the Squeeze decoder with a slow reference decoder. Rows, counts and messages must be the same in
// every variant and for any stream.
#include "kesterlib/unsqz.h"

#include "sqzencode.h"
#include "tests/kesterlib/run_variants.h"
#include "tests/support/from_bits.h"
#include "tests/support/random_page.h"
#include "tests/support/sqz_reference.h"
#include "unsqz_codes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace kesterlib
{
extern UnsqzRowLoop unsqz_rows_words; // plain_lanes.cpp
}

namespace
{
using Bytes = std::vector<uint8_t>;
using test_support::DecodeSqueeze;
using test_support::InputBlock;
using test_support::RandomPage;
using test_support::SqzReference;

void ExpectAsReference(const Bytes& stream, const RunPage& page)
{
    const SqzReference want = DecodeSqueeze(stream, page.width, page.row_bytes, page.rows, page.above);
    ExpectInEveryVariant({Unsqz_Open_Callback, Unsqz_Open_MMapped, Unsqz_Open_Memory,
                          kesterlib::unsqz_rows_plain, kesterlib::unsqz_rows_words,
                          kesterlib::unsqz_row_loop()},
                         stream, page, {want.rows, want.error, {want.decreasing, -1, want.filler}});
}

Bytes Encode(const Bytes& page, int row_bytes, pages::RawRows raw = pages::RawRows::WhereShorter)
{
    pages::SqueezeEncoder encoder(static_cast<size_t>(row_bytes), raw);
    Bytes stream;
    for (size_t at = 0; at < page.size(); at += static_cast<size_t>(row_bytes))
        encoder.add_row(page.data() + at, stream);
    return stream;
}

TEST(Unsqz, DecodesTheSameRowsAsTheReferenceInEveryVariant)
{
    std::mt19937 random(20);
    for (int n = 0; n < 60; ++n) {
        const int row_bytes = n < 40 ? 1 + n % 12 : 100 + n * 7;
        const int rows = n < 40 ? 40 : 12;
        const Bytes page = RandomPage(random, row_bytes * 8, rows).rows;
        const auto raw = static_cast<pages::RawRows>(n % 3);
        const Bytes above = RandomPage(random, row_bytes * 8, 1).rows;
        SCOPED_TRACE(testing::Message() << "page " << n << ", " << row_bytes << " bytes per row");
        const Bytes stream = Encode(page, row_bytes, raw);
        ExpectAsReference(stream, {std::max(row_bytes * 8 - n % 40, 1), row_bytes, rows, nullptr});
        // Below another row, the stream is another page, or a damaged one.
        ExpectAsReference(stream, {row_bytes * 8, row_bytes, rows, above.data()});
        const SqzReference decoded = DecodeSqueeze(stream, row_bytes * 8, row_bytes, rows);
        for (size_t y = 0; y < decoded.rows.size(); ++y)
            ASSERT_TRUE(std::equal(decoded.rows[y].begin(), decoded.rows[y].end(),
                                   page.data() + y * static_cast<size_t>(row_bytes)))
                << y;
        if (HasFatalFailure())
            return;
    }
}

// Streams written by hand, code by code.
TEST(Unsqz, DecodesTheLimitsOfARow)
{
    const std::string kRuns = kesterlib::kTooManyRuns;
    const auto zeros = [](size_t groups) { return std::string(4 * groups, '0'); }; // groups of a number
    const struct {
        const char* what;
        int row_bytes, rows;
        std::string stream;
        std::vector<Bytes> rows_wanted;
        std::string error = {};
    } cases[] = {
        {"every kind of row",
         2,
         5,
         "0 0010100 10 1, 0111, 10000000 11111111 00000000, 0 0011101 0111",
         {{0x0E, 0}, {0x0E, 0}, {0xFF, 0}, {0, 0}},
         "eof code not zero"},
        {"the first pixel is black", 2, 1, "0 0010000 10 1", {{0xE0, 0}}},
        {"a first run to the end of the row has no second run", 1, 2, "0 0011000, 01", {{0}, {0}}},
        {"a second run may end far after the row", 1, 2, "0 0010011 11 0010001000110, 011", {{0x1F}, {0x1F}}},
        {"table B from the fourth add",
         3,
         1,
         "0 0010001 00 0010000 00 0010000 00 00001 00 11 1",
         {{0x54, 0x80, 0}}},
        {"eleven groups", 1, 1, "0 0011101 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 1111", {{0}}},
        {"a number whose groups are 0 except the first, and a second run",
         3,
         2,
         "0 0011101 0010" + zeros(40) + "0001 01 1, 0 0010000 11 0100" + zeros(11) + "0001 0010100 01 1 1 1",
         {{0, 0x03, 0}, {0xFC, 0x1B, 0}}},
        {"a number of many groups is as large as a row can be",
         1,
         3,
         "0 0011101" + zeros(11) + "0010 0001, 01, 0 0010000 11" + zeros(200) + "1111",
         {{0}, {0}, {0xFF}}},
        {"the 21st group counts as much as the 20th", 8, 1, "0 0011101" + zeros(20) + "0011", {Bytes(8)}},
        {"the filler ends a number", 1, 2, "0 0011101", {{0}}, "eof code not zero"},
        {"the filler never ends a number", 1, 2, "0 0010000 11 0000 00", {{0xFF}}, "eof code not zero"},
        {"left of the row", 1, 2, "0 0010000 00 1, 0 010", {{0x80}}, kRuns},
        {"three codes for the copies after a raw row", 1, 2, "10000000 00000000, 0 010 010 1", {{0}, {0}}},
        {"a fourth such code", 1, 2, "10000000 00000000, 0 010 010 010 1", {{0}}, kRuns},
        {"a list that is full before the row ends",
         1,
         2,
         "10000000 10101010, 0 0011110 0011110 0011110 0011110 0011110 0011110 0011110 0011110",
         {{0xAA}},
         kRuns},
        {"five codes for the copies after a coded row",
         1,
         2,
         "01, 0 0011110 0011110 0011110 0011110 1",
         {{0}, {0}}},
        {"a sixth such code", 1, 2, "01, 0 0011110 0011110 0011110 0011110 0011110 1", {{0}}, kRuns},
        {"a list without room for the closing copies",
         1,
         2,
         "10000000 10101010, 0 1 0010000 00 0010000 00 0010000 00 10010 0010000 00 0001",
         {{0xAA}},
         kRuns},
        {"a run that ends left of its start",
         2,
         2,
         "10000000 00000000 01000000, 0 0011111 0011110 1",
         {{0, 0x40}, {0xFE, 0x0F}}},
        {"the same in one byte",
         2,
         2,
         "10000000 00000000 00010000, 0 0011111 0011110 1",
         {{0, 0x10}, {0, 0}}},
        {"an invalid start byte", 1, 1, "11111111", {}, "eof code not zero"},
        {"an empty stream", 1, 1, "", {}, "eof code not zero"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        Bytes stream = test_support::FromBits(one.stream);
        const RunPage page{one.row_bytes * 8, one.row_bytes, one.rows};
        const SqzReference want = DecodeSqueeze(stream, page.width, page.row_bytes, page.rows);
        EXPECT_EQ(want.rows, one.rows_wanted);
        EXPECT_EQ(want.error, one.error);
        ExpectAsReference(stream, page);
        stream.resize(stream.size() + 64); // so that the fast loops decode the last codes too
        ExpectAsReference(stream, page);
    }
}

TEST(Unsqz, SurvivesEveryCutAndEveryFlippedBit)
{
    std::mt19937 random(3);
    for (const int row_bytes : {2, 5, 37}) {
        const int rows = 12;
        const Bytes stream = Encode(RandomPage(random, row_bytes * 8, rows).rows, row_bytes);
        const RunPage page{row_bytes * 8 - 3, row_bytes, rows + 1};
        for (size_t cut = 0; cut <= stream.size(); ++cut)
            ExpectAsReference({stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(cut)}, page);
        for (size_t bit = 0; bit < stream.size() * 8; ++bit) {
            Bytes damaged = stream;
            damaged[bit / 8] ^= static_cast<uint8_t>(0x80 >> bit % 8);
            SCOPED_TRACE(testing::Message() << row_bytes << " bytes per row, bit " << bit);
            ExpectAsReference(damaged, page);
            if (HasFailure())
                return;
        }
    }
}

TEST(Unsqz, AgreesWithTheReferenceOnRandomBytes)
{
    std::mt19937 random(4);
    for (int n = 0; n < 3000; ++n) {
        const int row_bytes =
            n % 2 == 0 ? 1 + static_cast<int>(random() % 6) : 20 + static_cast<int>(random() % 200);
        const int rows = 8;
        // Repeated bytes are more often whole codes and decode further than random bytes.
        Bytes stream(random() % 400);
        const unsigned often = random() % 256;
        for (uint8_t& byte : stream)
            byte = static_cast<uint8_t>(random() % 3 == 0 ? random() : often);
        if (!stream.empty())
            stream[0] &= 0x7F;
        SCOPED_TRACE(testing::Message() << "stream " << n);
        ExpectAsReference(stream, {row_bytes * 8 - n % 8, row_bytes, rows});
        if (HasFailure())
            return;
    }
}

TEST(Unsqz, AReadErrorIsReportedAndThenTheFillerEndsTheStream)
{
    const Bytes stream = {0x40}; // one white row
    InputBlock block({.bytes = stream, .most_a_read = 1});
    block.read_error = true;
    UNCOMP* const frame = Unsqz_Open_Callback(block, 8, 1, nullptr);
    EXPECT_STREQ(Uncomp_Error_String(frame), "Error reading file");
    EXPECT_NE(block.TakeMessages().find("Error reading file"), std::string::npos);
    uint8_t row = 1;
    EXPECT_EQ(Unsqz_Decode(frame, 0, &row, 1), 0);
    EXPECT_EQ(Unsqz_Decode(frame, 1, &row, 1), 1);
    EXPECT_EQ(row, 0);
    EXPECT_EQ(Unsqz_Decode(frame, 1, &row, 1), 0);
    EXPECT_STREQ(Uncomp_Error_String(frame), "eof code not zero");
    Uncomp_Free(frame);
}

TEST(Unsqz, AnErrorOfTheStreamEndsALongNumber)
{
    Bytes stream(1 << 20);
    stream[0] = 0x1D; // an add code with a long run, whose number has a million groups
    InputBlock block({.bytes = stream});
    UNCOMP* const frame = Unsqz_Open_Callback(block, 8, 1, nullptr);
    block.read_error = true;
    uint8_t row = 1;
    EXPECT_EQ(Unsqz_Decode(frame, 1, &row, 1), 1);
    EXPECT_LE(block.reads.size(), 2u);
    Uncomp_Free(frame);
}

TEST(Unsqz, OpensOnlyWithEnoughMemory)
{
    const Bytes stream = {0x40};
    UNCOMP* frame = nullptr;
    int needed = -1;
    while (!frame) {
        InputBlock block({.bytes = stream});
        set_callback_debug_memory(block, 0); // tracking would allocate too
        block.allocations_left = ++needed;
        frame = Unsqz_Open_Callback(block, 80, 10, nullptr);
        EXPECT_EQ(block->allocation_count - block->deallocation_count, frame ? 3u : 1u)
            << needed; // 1: the one that failed
        if (!frame)
            continue;
        uint8_t row[10];
        EXPECT_EQ(Unsqz_Decode(frame, 1, row, 10), 1);
        Uncomp_Free(frame);
    }
    EXPECT_EQ(needed, 3); // the frame, a row of words, and the lists; decoding allocates nothing

    constexpr int kMostRowBytes = ((256 << 20) / 2 / 4 - 5) / 8;
    for (const int row_bytes : {-1, kMostRowBytes + 1, INT32_MAX})
        EXPECT_EQ(Unsqz_Open_MMapped(stream.data(), stream.size(), 8, row_bytes, nullptr), nullptr)
            << row_bytes;
    EXPECT_EQ(Unsqz_Open_MMapped(stream.data(), stream.size(), -1, 1, nullptr), nullptr);
    UNCOMP* const widest = Unsqz_Open_MMapped(stream.data(), stream.size(), 8, kMostRowBytes, nullptr);
    ASSERT_NE(widest, nullptr);
    Uncomp_Free(widest);
    EXPECT_EXIT((void)Unsqz_Open(nullptr, 8, 1, nullptr), testing::ExitedWithCode(1),
                "Assertion f failed;\na FILE must be supplied");
}

TEST(Unsqz, ReadsItsInputOnlyWhenNeeded)
{
    const Bytes stream(1200, 0x40); // each byte is one white row
    InputBlock block({.bytes = stream});
    UNCOMP* const frame = Unsqz_Open_Callback(block, 80, 10, nullptr);
    EXPECT_EQ(block.reads, std::vector<size_t>{512});
    // The window holds two bytes more than the rows so far have used.
    Bytes rows(5120);
    EXPECT_EQ(Unsqz_Decode(frame, 510, rows.data(), 10), 510);
    EXPECT_EQ(block.reads.size(), 1u);
    EXPECT_EQ(Unsqz_Decode(frame, 1, rows.data(), 10), 1);
    EXPECT_EQ(block.reads, (std::vector<size_t>{512, 512}));
    Uncomp_Free(frame);
}

TEST(Unsqz, WritesAtMostStrideBytesOfACodedRow)
{
    const Bytes page(20, 0xFF);
    const Bytes stream = Encode(page, 10);
    FILE* const file = std::tmpfile();
    fwrite(stream.data(), 1, stream.size(), file);
    rewind(file);
    UNCOMP* const frame = Unsqz_Open(file, 80, 10, nullptr);
    Bytes buffer(12, 0x11); // two rows of three bytes, and the bytes after them
    EXPECT_EQ(Unsqz_Decode(frame, 2, buffer.data(), 3), 2);
    EXPECT_EQ(buffer, (Bytes{255, 255, 255, 255, 255, 255, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11}));
    Uncomp_Free(frame);
    fclose(file);
}
} // namespace
