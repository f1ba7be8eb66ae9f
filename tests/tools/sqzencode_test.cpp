// Compares the Squeeze encoder with the reference decoder, and the reference decoder with streams coded by
// hand. The library has to treat unusual and damaged streams exactly as the reference decoder does.

#include "sqzencode.h"
#include "tests/support/random_page.h"
#include "tests/support/sqz_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace
{

using pages::Bitmap;
using pages::RawRows;
using test_support::DecodeSqueeze;
using test_support::RandomPage;
using test_support::SqzReference;

constexpr const char* kRuns = "number of runs must not overrun buffer";
constexpr const char* kEof = "eof code not zero";

// Packs bits that are given as text. Blanks are ignored. A bar fills the byte with 0, and so does the end.
std::vector<uint8_t> packed(const std::string& text)
{
    std::vector<uint8_t> bytes;
    std::size_t bits = 0;
    for (const char c : text) {
        if (c == '|')
            bits = bytes.size() * 8;
        if (c != '0' && c != '1')
            continue;
        if (bits++ % 8 == 0)
            bytes.push_back(0);
        if (c == '1')
            bytes.back() |= static_cast<uint8_t>(0x80 >> (bits - 1) % 8);
    }
    return bytes;
}

std::string hex(const std::vector<std::vector<uint8_t>>& rows)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::vector<uint8_t>& row : rows) {
        text += text.empty() ? "" : " ";
        for (const uint8_t byte : row)
            (text += kDigits[byte >> 4]) += kDigits[byte & 15];
    }
    return text;
}

struct StreamCase {
    const char* name;
    int width, rows;
    std::string stream;
    const char* want;
    const char* error;
};
// Comments contain the lists of the rows above: head, changes, closing copies.
const std::string kRaw = "10000000", kZero = "00000000", kAdd11 = "0010000 00 ", kGroup = "0000";
const std::string kAlternate =
    kRaw + "10101010 | 0 1 " + kAdd11 + kAdd11 + kAdd11; // 0, 0 to 8, 8 8 | 0, 0 to 6
const std::string kFull =
    kAlternate + "10010 " + kAdd11; // 2 from a vertical -3, then 3 and 4: 11 entries of 13
const StreamCase kStreams[] = {
    {"four rows of all kinds", 16, 4, "0 0010100 10 1 | 0 111 | 10000000 11111111 00000000 | 0 0011101 0111",
     "0e00 0e00 ff00 0000", ""},
    {"a fifth row of the same", 16, 5, "0 0010100 10 1 | 0 111 | 10000000 11111111 00000000 | 0 0011101 0111",
     "0e00 0e00 ff00 0000", kEof},
    {"a row of filler after the first", 16, 2, "0 1", "0000", kEof},
    {"an invalid first byte", 16, 1, "10000010", "", kEof},
    {"the second table from the fourth add on", 16, 1,
     "0 " + kAdd11 + kAdd11 + kAdd11 + "00000 00 00010 10 11", "aa38", ""},
    {"first run past the end", 8, 1, "0 0011101 0111", "00", ""},     // -1 + 14 + 3
    {"second run past the end", 8, 1, "0 0010011 11 1111", "1f", ""}, // 3, then 4 + 7 more
    {"a number of 30 groups", 8, 1, "0 0011101" + std::string(29 * kGroup.size(), '0') + "1111", "00", ""},
    {"a position below 0", 8, 2, kRaw + "10000000 | 0 010", "80", kRuns}, // 0, 0 1, 8 8 8
    {"three verticals after a raw row", 8, 2, kRaw + kZero + "| 0 0011110 0011110 1", "00 00", ""},
    {"four verticals after a raw row", 8, 2, kRaw + kZero + "| 0 0011110 0011110 0011110 1", "00", kRuns},
    {"five verticals after a coded row", 8, 2, "0 1 | 0 0011110 0011110 0011110 0011110 1", "00 00",
     ""}, // 0, 8, 8 8 8 8
    {"six verticals after a coded row", 8, 2, "0 1 | 0 0011110 0011110 0011110 0011110 0011110 1", "00",
     kRuns},
    {"a full list", 8, 2, kFull + kAdd11 + "0010000", "aa", kRuns},
    {"a list without room for the closing copies", 8, 2, kFull + "0001", "aa", kRuns},
    {"a run that ends left of its start", 16, 2, // 0, 9 10, 16 16 16: from 12 to 7
     kRaw + kZero + "01000000 | 0 0011111 0011110 1", "0040 fe0f", ""},
    {"the same in one byte", 16, 2, kRaw + kZero + "00010000 | 0 0011111 0011110 1", "0010 0000", ""},
    {"bits after the width, coded and raw", 3, 2, "0 0010000 11 1001 | 10000000 11111111", "e0 ff", ""},
};

TEST(SqzReference, DecodesStreamsCodedByHand)
{
    for (const StreamCase& c : kStreams) {
        SCOPED_TRACE(c.name);
        const SqzReference got = DecodeSqueeze(packed(c.stream), c.width, (c.width + 7) / 8, c.rows);
        EXPECT_EQ(hex(got.rows), c.want);
        EXPECT_EQ(got.error, c.error);
    }
    const uint8_t above = 0x0e;
    EXPECT_EQ(hex(DecodeSqueeze(packed("0 1 1 1"), 8, 1, 1, &above).rows), "0e");
}

// ---- Encoder ------------------------------------------------------------------------------------------

SqzReference decode(const Bitmap& page, const std::vector<uint8_t>& stream)
{
    return DecodeSqueeze(stream, page.width, static_cast<int>(page.row_bytes), page.height);
}

void expect_page(const Bitmap& page, const SqzReference& got)
{
    ASSERT_EQ(got.error, "");
    for (int y = 0; y < page.height; ++y)
        ASSERT_TRUE(std::equal(page.row(y), page.row(y) + page.row_bytes,
                               got.rows[static_cast<std::size_t>(y)].begin()))
            << "row " << y;
}

TEST(SqueezeEncoder, RandomPagesDecodeUnchangedAndUseEveryCode)
{
    std::mt19937 random{20};
    SqzReference used;
    for (int i = 0; i < 200; ++i) {
        const int large[] = {512, 1001, 2048, 4099, 33333};
        const int width = i < 180 ? 1 + i % 70 : large[i % 5];
        const Bitmap page = RandomPage(random, width, 24);
        const std::size_t all_raw = 24 * (1 + page.row_bytes);
        for (const RawRows raw : {RawRows::WhereShorter, RawRows::Never, RawRows::Always}) {
            SCOPED_TRACE(testing::Message()
                         << "page " << i << ", width " << width << ", raw rows " << static_cast<int>(raw));
            const std::vector<uint8_t> stream = pages::encode_squeeze(page, raw);
            const SqzReference got = decode(page, stream);
            expect_page(page, got);
            ASSERT_EQ(got.bytes, stream.size());
            if (raw == RawRows::Never)
                EXPECT_EQ(got.raw_rows, 0);
            else
                EXPECT_LE(stream.size(), all_raw);
            EXPECT_EQ(got.coded_rows == 0 && stream.size() == all_raw, raw == RawRows::Always);
            for (std::size_t code = 0; code < got.codes_b.size(); ++code)
                used.codes_b[code] += got.codes_b[code];
            for (std::size_t code = 0; code < got.codes_a.size(); ++code)
                used.codes_a[code] += got.codes_a[code];
            for (std::size_t run = 0; run < got.second_runs.size(); ++run)
                used.second_runs[run] += got.second_runs[run];
            used.longest_number = std::max(used.longest_number, got.longest_number);
        }
    }
    EXPECT_TRUE(std::all_of(used.codes_a.begin(), used.codes_a.end(), [](int n) { return n > 0; }));
    EXPECT_TRUE(std::all_of(used.codes_b.begin(), used.codes_b.end(), [](int n) { return n > 0; }));
    EXPECT_TRUE(std::all_of(used.second_runs.begin(), used.second_runs.end(), [](int n) { return n > 0; }));
    EXPECT_GE(used.longest_number, 5);
}

// Such a row fills its list to the last entry, and the next row refers to it.
TEST(SqueezeEncoder, CodesRowsOfSinglePixels)
{
    for (const uint8_t pattern : {0xaa, 0x55})
        for (const int bytes : {1, 2, 8, 9}) {
            Bitmap page(bytes * 8, 5);
            std::fill(page.rows.begin(), page.rows.end() - bytes, pattern);
            expect_page(page, decode(page, pages::encode_squeeze(page, RawRows::Never)));
        }
}

// After a raw row there are three copies of the length. The last three pixels of the next row can need four.
TEST(SqueezeEncoder, EndsRowsAfterRawRows)
{
    for (const uint8_t above : {0x00, 0xff})
        for (int last = 0; last < 256; ++last) {
            Bitmap page(9 * 8, 2);
            for (int y = 0; y < 2; ++y) { // repeated changes, so that vertical codes are shorter
                std::fill_n(page.row(y), 6, uint8_t{0xaa});
                std::fill_n(page.row(y) + 6, 3, above);
            }
            page.row(1)[8] = static_cast<uint8_t>(last);
            const SqzReference got = decode(page, pages::encode_squeeze(page));
            expect_page(page, got);
            ASSERT_GE(got.raw_rows, 1);
        }
}

TEST(SqueezeEncoder, IsShort)
{
    Bitmap stripes(2200, 50);
    for (int y = 0; y < stripes.height; ++y)
        for (int x = 0; x < 11; ++x)
            stripes.row(y)[x * 20] = 0x18;
    Bitmap top(stripes.width, 1);
    std::copy_n(stripes.rows.begin(), top.rows.size(), top.rows.begin());
    // A repeated row takes 24 bits: one for its kind, 22 for its changes and one for its end.
    EXPECT_EQ(pages::encode_squeeze(stripes).size(), pages::encode_squeeze(top).size() + 49U * 3);

    // Smaller than with an encoder that looks only at the next code.
    const Bitmap text = pages::draw_page({pages::Draw::Text, 1700, 2200, 200, 200, 1});
    EXPECT_LT(pages::encode_squeeze(text).size(), 62'600U);
}

} // namespace
