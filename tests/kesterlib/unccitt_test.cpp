// SPDX-License-Identifier: MIT
// Compares the Group 4 decoder with libtiff and with a slow decoder written here. Rows and counts must be
// the same in every variant and for any stream.
#include "kesterlib/unccitt.h"

#include "tests/kesterlib/run_variants.h"
#include "tests/support/from_bits.h"
#include "tests/support/random_page.h"
#include "tiffout.h"
#include "unccitt_codes.h"
#include "unccitt_runs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace kesterlib
{
extern Unccitt4RowLoop unccitt4_rows_words; // plain_lanes_group4.cpp
}

namespace
{
using Bytes = std::vector<uint8_t>;
using test_support::FromBits;
using test_support::InputBlock;
using test_support::RandomPage;

// ---- A decoder bit by bit ------------------------------------------------------------------------------

class SlowGroup4
{
public:
    SlowGroup4(const Bytes& stream, int width)
        : m_stream(stream), m_width(width), m_above{0, width, width, width}
    {
        for (int i = 1; i < kesterlib::kRunCodes; ++i) {
            const int run = i < kesterlib::kFirstTerminating ? i * 64 : i - kesterlib::kFirstTerminating;
            m_white[Word(kesterlib::kWhiteCodes[i])] = run;
            m_black[Word(kesterlib::kBlackCodes[i])] = run;
        }
    }

    RunResult Decode(int rows)
    {
        RunResult result;
        bool ended = false;
        for (int y = 0; y < rows; ++y) {
            Bytes row(static_cast<size_t>((m_width + 7) / 8));
            if (!ended) {
                m_reasons = 0;
                const int what = Row();
                m_reasons |= m_position > m_stream.size() * 8 ? UNCOMP_FILLER : 0;
                result.error = what == kOverrun ? kesterlib::kTooManyRunsAllocated : "";
                if (what == kBad || what == kOverrun)
                    return result;
                ended = what == kEnd;
                for (int reason = 0; reason < 3; ++reason)
                    if (m_reasons >> reason & 1 && result.suspicious[reason] < 0)
                        result.suspicious[reason] = y;
            }
            if (!ended)
                for (size_t i = 1; i + 1 < m_above.size() && m_above[i] < m_width; i += 2)
                    Paint(m_above[i], std::min(m_above[i + 1], m_width), row);
            result.rows.push_back(row);
        }
        return result;
    }

private:
    enum { kGood, kEnd, kBad, kOverrun };
    static std::string Word(const kesterlib::Code& code)
    {
        std::string word;
        for (int i = 0; i < code.length; ++i)
            word += code.bits >> (15 - i) & 1 ? '1' : '0';
        return word;
    }
    char Bit()
    {
        const size_t at = m_position / 8;
        const int byte = at < m_stream.size() ? m_stream[at] : 0x81;
        return byte >> (7 - m_position++ % 8) & 1 ? '1' : '0';
    }
    template <class Table>
    int Find(const Table& table) // returns -1 if there is no code
    {
        std::string word;
        while (word.size() < 13) {
            word += Bit();
            if (const auto found = table.find(word); found != table.end())
                return found->second;
        }
        return -1;
    }
    void Paint(int start, int stop, Bytes& row) const
    {
        const auto black = [&](int from, int to) {
            for (int x = from; x < std::min(to, m_width); ++x)
                row[static_cast<size_t>(x / 8)] |= static_cast<uint8_t>(0x80 >> x % 8);
        };
        if (start / 8 == stop / 8)
            return black(start, stop);
        black(start, start / 8 * 8 + 8);
        black(start / 8 * 8 + 8, stop / 8 * 8);
        black(stop / 8 * 8, stop);
    }
    int Row()
    {
        static const std::map<std::string, int> kModes = {
            {"000000000001", 100}, {"0001", 101}, {"001", 102}, {"0000010", -3}, {"000010", -2},
            {"010", -1},           {"1", 0},      {"011", 1},   {"000011", 2},   {"0000011", 3}};
        const size_t room = static_cast<size_t>((m_width + 7) / 8 * 8 + 5);
        std::vector<int> list{0};
        int a0 = -1;
        size_t r = 0;
        bool white = true;
        while (a0 < m_width) {
            std::string word;
            auto mode = kModes.end();
            while (word.size() < 12 && mode == kModes.end()) {
                word += Bit();
                mode = kModes.find(word);
            }
            if (mode == kModes.end())
                return kBad;
            if (mode->second == 100)
                return kEnd;
            if (mode->second == 102) {
                if (list.size() + 2 > room)
                    return kOverrun;
                a0 = std::max(a0, 0);
                for (int i = 0; i < 2; ++i) {
                    for (int more = 64; more >= 64;) {
                        more = Find(white == (i == 0) ? m_white : m_black);
                        if (more < 0)
                            return kBad;
                        a0 += more;
                    }
                    list.push_back(a0);
                }
                continue;
            }
            while (r + 1 < m_above.size() && m_above[r + 1] <= a0 && m_above[r + 1] < m_width)
                r += 2;
            if (r + (mode->second == 101 ? 2 : 1) >= m_above.size())
                return kOverrun;
            if (mode->second == 101) {
                a0 = m_above[r + 2];
                continue;
            }
            if (list.size() + 1 > room)
                return kOverrun;
            a0 = m_above[r + 1] + mode->second;
            if (a0 < 0)
                return kBad;
            list.push_back(a0);
            r = r == 0 ? 1 : r - 1;
            white = !white;
        }
        m_reasons |= std::is_sorted(list.begin(), list.end()) ? 0 : UNCOMP_DECREASING;
        const auto end = std::find_if(list.begin(), list.end(), [&](int at) { return at >= m_width; });
        m_reasons |= end == list.end() || *end == m_width ? 0 : UNCOMP_PAST_WIDTH;
        int kept = 0;
        while (static_cast<size_t>(kept) + 1 < list.size() &&
               list[list.size() - 1 - static_cast<size_t>(kept)] >= m_width)
            ++kept;
        for (int i = 0; i < 4 && list.size() < room; ++i, ++kept)
            list.push_back(m_width);
        m_above = list;
        return kept < 4 ? kOverrun : kGood;
    }

    const Bytes& m_stream;
    const int m_width;
    size_t m_position = 0; // in bits
    int m_reasons = 0;     // reasons to doubt the current row
    std::vector<int> m_above;
    std::map<std::string, int> m_white, m_black;
};

void ExpectRows(const Bytes& stream, int width, int rows, const RunResult& want)
{
    ExpectInEveryVariant({Unccitt4_Open_Callback, Unccitt4_Open_MMapped, Unccitt4_Open_Memory,
                          kesterlib::unccitt4_rows_plain, kesterlib::unccitt4_rows_words,
                          kesterlib::unccitt4_row_loop()},
                         stream, {width, (width + 7) / 8, rows}, want);
}

void ExpectAsReference(const Bytes& stream, int width, int rows)
{
    ExpectRows(stream, width, rows, SlowGroup4(stream, width).Decode(rows));
}

// Returns the page as libtiff encodes it: one strip.
Bytes Encode(const Bytes& page, int width, int rows)
{
    pages::Bitmap bitmap(width, rows);
    bitmap.rows = page;
    Bytes strip;
    EXPECT_EQ(pages::encode_group4(bitmap, strip), "");
    return strip;
}

RunResult AsRows(const Bytes& page, int width)
{
    RunResult rows;
    const auto row_bytes = (width + 7) / 8;
    for (size_t at = 0; at < page.size(); at += static_cast<size_t>(row_bytes))
        rows.rows.emplace_back(page.begin() + static_cast<std::ptrdiff_t>(at),
                               page.begin() + static_cast<std::ptrdiff_t>(at) + row_bytes);
    return rows;
}

TEST(Unccitt, DecodesStreamsOfLibtiff)
{
    std::mt19937 random(9);
    for (int n = 0; n < 200; ++n) {
        const int width = n < 140 ? 1 + n % 70 : static_cast<int>(100 + random() % 5000);
        const int rows = 12;
        SCOPED_TRACE(testing::Message() << "page " << n << ", " << width << " wide");
        const Bytes page = RandomPage(random, width, rows).rows;
        RunResult want = AsRows(page, width);
        for (int white = 0; white < 3; ++white) // after the end of the page all rows are white
            want.rows.emplace_back(static_cast<size_t>((width + 7) / 8));
        ExpectRows(Encode(page, width, rows), width, rows + 3, want);
        if (HasFailure())
            return;
    }
}

// Every make-up and terminating code in both colours: rows with a white and a black run, each below a white
// row.
TEST(Unccitt, DecodesEveryRunCode)
{
    constexpr int kWidth = 5300;
    std::vector<int> runs;
    for (int run = 1; run <= 64; ++run)
        runs.push_back(run);
    for (int run = 128; run <= 2560; run += 64)
        runs.push_back(run + run % 7);
    Bytes page;
    constexpr size_t kRowBytes = (kWidth + 7) / 8;
    for (const int run : runs) {
        page.insert(page.end(), kRowBytes, uint8_t{0});
        page.insert(page.end(), kRowBytes, uint8_t{0});
        for (int x = run; x < 2 * run; ++x)
            page[page.size() - kRowBytes + static_cast<size_t>(x / 8)] |= static_cast<uint8_t>(0x80 >> x % 8);
    }
    const int rows = static_cast<int>(runs.size()) * 2;
    ExpectRows(Encode(page, kWidth, rows), kWidth, rows, AsRows(page, kWidth));
}

TEST(Unccitt, DecodesBelowAGivenRowAndReportsAReadError)
{
    const Bytes stream = {0xF8, 0x00, 0x80}; // five vertical codes of offset 0, then the end of the page
    FILE* const file = std::tmpfile();
    fwrite(stream.data(), 1, stream.size(), file);
    rewind(file);
    const uint8_t above = 0x3C;
    UNCOMP* frame = Unccitt4_Open(file, 8, 1, &above);
    uint8_t rows[4] = {1, 1, 1, 1};
    EXPECT_EQ(Unccitt4_Decode(frame, 4, rows, 1),
              4); // three codes per row: the end cuts off the second row
    EXPECT_EQ(Bytes(rows, rows + 4), (Bytes{0x3C, 0, 0, 0}));
    Uncomp_Free(frame);
    fclose(file);

    InputBlock block;
    block.read_error = true;
    frame = Unccitt4_Open_Callback(block, 8, 1, nullptr);
    EXPECT_LT(Unccitt4_Decode(frame, 4, rows, 1), 4);
    EXPECT_STREQ(Uncomp_Error_String(frame), "Error reading file");
    Uncomp_Free(frame);
    EXPECT_EQ(Unccitt4_Open_Callback(block, 9, 1, nullptr), nullptr);
    EXPECT_EQ(Unccitt4_Open_Callback(block, 8, INT32_MAX, nullptr), nullptr);
    EXPECT_EXIT((void)Unccitt4_Open(nullptr, 8, 1, nullptr), testing::ExitedWithCode(1),
                "Assertion f!=NULL failed;\na FILE must be supplied");
}

TEST(Unccitt, CutsRowsToTheStride)
{
    const Bytes page(24, 0xFF);
    const Bytes stream = Encode(page, 96, 2);
    UNCOMP* const frame = Unccitt4_Open_MMapped(stream.data(), stream.size(), 96, 12, nullptr);
    Bytes rows(16, 0x11); // two rows of five bytes, and the bytes after them
    EXPECT_EQ(Unccitt4_Decode(frame, 2, rows.data(), 5), 2);
    EXPECT_EQ(rows,
              (Bytes{255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11}));
    Uncomp_Free(frame);
}

// Streams written by hand.
TEST(Unccitt, EndsRowsAndPages)
{
    const struct {
        const char* what;
        const char* bits;        // codes of a page 8 pixels wide; "end" is the end of line code
        std::vector<Bytes> rows; // expected of three requested
        bool overrun = false;
        std::vector<int> suspicious = {-1, -1, -1};
    } cases[] = {
        {"white rows", "1 1 1 end", {{0}, {0}, {0}}},
        {"the end in the first row", "end", {{0}, {0}, {0}}},
        {"the end within a row: its runs are not painted", "001 1000 11 end", {{0}, {0}, {0}}},
        {"a white run of 0", "001 00110101 10 1 111 end", {{0xE0}, {0xE0}, {0}}},
        {"a pass to the end of the row", "001 0111 11 1 0001 1 end", {{0x30}, {0}, {0}}},
        {"runs past the width",
         "001 1000 0000001111 0000110111 11 end",
         {{0x1F}, {0x1F}, {0}},
         false,
         {-1, 0, -1}},
        {"a transition left of the one before",
         "001 1000 11 1 1 0000010 1 1 1 end",
         {{0x18}, {0x18}, {0}},
         false,
         {1, -1, -1}},
        {"a row that filler completes", "1 001 1000", {{0}, {0x1C}}, false, {-1, 1, 1}},
        {"an end code whose last bit is filler", "1 0001 00000000000", {{0}, {0}, {0}}, false, {-1, -1, 2}},
        {"an extension code", "1 0000001111", {{0}}},
        {"left of the row", "001 00110101 010 1 010", {{0x80}}},
        {"not a run code", "1 001 000000001111", {{0}}},
        {"endless runs of 0",
         "1 001 00110101 0000110111 001 00110101 0000110111 001 00110101 0000110111 001 00110101 0000110111"
         " 001 00110101 0000110111 001 00110101 0000110111 001 00110101 0000110111",
         {{0}},
         true},
        {"no end code: the filler is no code", "11", {{0}, {0}}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        const Bytes stream = FromBits(one.bits);
        const RunResult reference = SlowGroup4(stream, 8).Decode(3);
        EXPECT_EQ(reference.rows, one.rows);
        EXPECT_EQ(!reference.error.empty(), one.overrun);
        EXPECT_EQ(std::vector<int>(reference.suspicious, reference.suspicious + 3), one.suspicious);
        ExpectRows(stream, 8, 3, reference);
    }
    // After the end, any number of rows may be skipped.
    const Bytes stream = FromBits("1 end");
    UNCOMP* const frame = Unccitt4_Open_MMapped(stream.data(), stream.size(), 8, 1, nullptr);
    uint8_t row = 0x11;
    EXPECT_EQ(Unccitt4_Decode(frame, 2, &row, 0), 2);
    EXPECT_EQ(frame->rows_done, 2);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(Unccitt4_Decode(frame, INT32_MAX, nullptr, 0), INT32_MAX);
    EXPECT_EQ(frame->rows_done, INT32_MAX);
    EXPECT_EQ(row, 0x11) << "a stride of 0";
    EXPECT_EQ(Unccitt4_Decode(frame, 1, &row, 1), 1);
    EXPECT_EQ(row, 0);
    Uncomp_Free(frame);
}

// A row that fills its list and ends with a run past the width, followed by the same row, leaves the same
// list.
TEST(Unccitt, ARowEqualToTheOneAboveHasItsOwnList)
{
    const Bytes stream = FromBits("001 000111 010 001 000111 010 001 000111 010 001 000111 010"
                                  " 1 001 010 000111 001 010 000111 001 010 000111 001 010 1111"
                                  " 11111111"
                                  " 001 1000 011 010 1 end");
    const RunResult reference = SlowGroup4(stream, 8).Decode(4);
    EXPECT_EQ(reference.rows, (std::vector<Bytes>{{0x55}, {0x55}, {0x55}, {0x1F}}));
    ExpectRows(stream, 8, 4, reference);
}

TEST(Unccitt, SurvivesEveryCutAndEveryFlippedBit)
{
    std::mt19937 random(6);
    for (const int width : {13, 40, 301}) {
        const int rows = 10;
        const Bytes page = RandomPage(random, width, rows).rows;
        const Bytes stream = Encode(page, width, rows);
        for (size_t cut = 0; cut <= stream.size(); ++cut)
            ExpectAsReference({stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(cut)}, width,
                              rows + 1);
        for (size_t bit = 0; bit < stream.size() * 8; ++bit) {
            Bytes damaged = stream;
            damaged[bit / 8] ^= static_cast<uint8_t>(0x80 >> bit % 8);
            SCOPED_TRACE(testing::Message() << width << " wide, bit " << bit);
            ExpectAsReference(damaged, width, rows + 1);
            if (HasFailure())
                return;
        }
    }
}

TEST(Unccitt, AgreesWithTheReferenceOnRandomBytes)
{
    std::mt19937 random(5);
    for (int n = 0; n < 2000; ++n) {
        const int width =
            n % 2 == 0 ? 1 + static_cast<int>(random() % 50) : 200 + static_cast<int>(random() % 900);
        Bytes stream(random() % 300);
        const unsigned often = random() % 256;
        for (uint8_t& byte : stream)
            byte = static_cast<uint8_t>(random() % 3 == 0 ? random() : often);
        SCOPED_TRACE(testing::Message() << "stream " << n);
        ExpectAsReference(stream, width, 8);
        if (HasFailure())
            return;
    }
}
} // namespace
