// SPDX-License-Identifier: MIT
// Statuses of the run decoders and of their open functions, and input in memory with the caller's block.
#include "kesterlib/status.h"

#include "kesterlib/unccitt.h"
#include "kesterlib/unsqz.h"

#include "sqzencode.h"
#include "tests/support/from_bits.h"
#include "tests/support/random_page.h"
#include "tests/support/test_block.h"
#include "tiffout.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;
using test_support::FromBits;
using test_support::InputBlock;
using test_support::RecordedBlock;

struct Codec {
    decltype(Unsqz_Open_Callback)* open;
    decltype(Unsqz_Open_MMapped)* open_mapped;
    decltype(Unsqz_Open_Memory)* open_memory;
    decltype(Unsqz_Decode)* decode;
    decltype(Unsqz_Discard)* discard;
};
constexpr Codec kSqueeze{Unsqz_Open_Callback, Unsqz_Open_MMapped, Unsqz_Open_Memory, Unsqz_Decode,
                         Unsqz_Discard};
constexpr Codec kGroup4{Unccitt4_Open_Callback, Unccitt4_Open_MMapped, Unccitt4_Open_Memory, Unccitt4_Decode,
                        Unccitt4_Discard};

TEST(Status, SaysWhyARowFailed)
{
    const struct {
        const char* name;
        const Codec& codec;
        const char* bits;
        int32_t rows; // good rows of 16 pixels; one more is requested
        int32_t status;
        const char* text;
    } cases[] = {
        {"the end of the data", kSqueeze, "01", 1, KESTERLIB_CUT_OFF, "eof code not zero"},
        {"a cut raw row", kSqueeze, "10000000 11110000", 1, KESTERLIB_CUT_OFF, "eof code not zero"},
        {"the byte of the filler in the data", kSqueeze, "01,10000001", 1, KESTERLIB_BAD_CODE,
         "eof code not zero"},
        {"a wrong start, far from the end", kSqueeze, "01,11000000,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0",
         1, KESTERLIB_BAD_CODE, "eof code not zero"},
        {"left of the row", kSqueeze, "0 0010000 00 1,0 0011110", 1, KESTERLIB_BAD_CODE,
         "number of runs must not overrun buffer"},
        {"left of the row, far from the end", kSqueeze,
         "0 0010000 00 1,0 0011110,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0", 1,
         KESTERLIB_BAD_CODE, "number of runs must not overrun buffer"},
        {"no data: the filler is a row", kGroup4, "", 1, KESTERLIB_CUT_OFF, nullptr},
        {"a mode that needs the filler to be none", kGroup4, "11 000000", 2, KESTERLIB_CUT_OFF, nullptr},
        {"no mode, in the last bits", kGroup4, "1 0000001", 1, KESTERLIB_BAD_CODE, nullptr},
        {"no white run, in the last bits", kGroup4, "1111 1 001 00000000", 5, KESTERLIB_BAD_CODE, nullptr},
        {"no black run, in the last bits", kGroup4, "1 001 1011 00000000", 1, KESTERLIB_BAD_CODE, nullptr},
        {"left of the row", kGroup4, "1 001 00110101 010 1,0000010 0", 2, KESTERLIB_BAD_CODE, nullptr},
    };
    for (const auto& one : cases)
        for (const bool read_error : {false, true}) {
            SCOPED_TRACE(testing::Message() << one.name << ", read error " << read_error);
            InputBlock block({.bytes = FromBits(one.bits)});
            block.read_error = read_error;
            UNCOMP* const frame = one.codec.open(block, 16, 2, nullptr);
            EXPECT_EQ(kesterlib_open_status(), KESTERLIB_OK);
            Bytes rows(static_cast<size_t>(one.rows + 1) * 2);
            EXPECT_EQ(one.codec.decode(frame, one.rows, rows.data(), 2), one.rows);
            EXPECT_EQ(Uncomp_Status(frame), KESTERLIB_OK);
            EXPECT_EQ(one.codec.decode(frame, 1, rows.data(), 2), 0);
            EXPECT_EQ(Uncomp_Status(frame),
                      read_error && one.status == KESTERLIB_CUT_OFF ? KESTERLIB_READ_ERROR : one.status);
            EXPECT_EQ(Uncomp_Rows_Done(frame), one.rows);
            if (!read_error) {
                EXPECT_STREQ(Uncomp_Error_String(frame), one.text);
            }
            Uncomp_Free(frame);
        }
}

TEST(Status, OfAnUndamagedStreamThatWasCutIsAlwaysCutOff)
{
    std::mt19937 random(7);
    const pages::Bitmap page = test_support::RandomPage(random, 300, 30);
    Bytes group4;
    ASSERT_EQ(pages::encode_group4(page, group4), "");
    pages::SqueezeEncoder encoder(page.row_bytes, pages::RawRows::WhereShorter);
    Bytes squeeze;
    for (int y = 0; y < page.height; ++y)
        encoder.add_row(page.row(y), squeeze);
    const struct {
        const Codec& codec;
        const Bytes& stream;
    } cases[] = {{kSqueeze, squeeze}, {kGroup4, group4}};
    for (const auto& one : cases)
        for (size_t size = 0; size < one.stream.size(); ++size) {
            UNCOMP* const frame = one.codec.open_mapped(one.stream.data(), size, 300, 38, nullptr);
            const int32_t rows = one.codec.discard(frame, page.height);
            EXPECT_EQ(Uncomp_Status(frame), rows == page.height ? KESTERLIB_OK : KESTERLIB_CUT_OFF) << size;
            Uncomp_Free(frame);
        }
}

TEST(Status, OfEveryFailedOpen)
{
    constexpr int32_t kTooWide = 1 << 25; // pixels whose lists need more than 256 MiB
    const Bytes stream = {0x40};
    const RecordedBlock memory;
    callback_block* const block = memory;
    const auto open = [&](const Codec& codec, callback_block* cb, int32_t width, int32_t row_bytes) {
        std::vector<int32_t> statuses;
        for (int kind = 0; kind < (cb ? 3 : 2); ++kind) {
            UNCOMP* const frame = kind == 0 ? codec.open(cb, width, row_bytes, nullptr)
                                  : kind == 1
                                      ? codec.open_memory(cb, stream.data(), 1, width, row_bytes, nullptr)
                                      : codec.open_mapped(stream.data(), 1, width, row_bytes, nullptr);
            statuses.push_back(kesterlib_open_status());
            EXPECT_EQ(frame != nullptr, statuses.back() == KESTERLIB_OK);
            Uncomp_Free(frame);
        }
        return statuses;
    };
    for (const Codec& codec : {kSqueeze, kGroup4}) {
        EXPECT_EQ(open(codec, nullptr, 8, 1), std::vector<int32_t>(2, KESTERLIB_NOT_SUPPORTED));
        EXPECT_EQ(open(codec, block, -1, 1), std::vector<int32_t>(3, KESTERLIB_NOT_SUPPORTED));
        EXPECT_EQ(open(codec, block, 8, -1), std::vector<int32_t>(3, KESTERLIB_NOT_SUPPORTED));
        EXPECT_EQ(open(codec, block, 9, 1), std::vector<int32_t>(3, KESTERLIB_NOT_SUPPORTED));
        EXPECT_EQ(open(codec, block, kTooWide, kTooWide / 8), std::vector<int32_t>(3, KESTERLIB_TOO_LARGE));
        // Another thread has a status of its own.
        std::thread([] { EXPECT_EQ(kesterlib_open_status(), KESTERLIB_OK); }).join();
        block->fread = [](void*, size_t, size_t, FILE*) -> size_t { return 0; };
        block->ferror = [](FILE*) { return 0; };
        EXPECT_EQ(open(codec, block, 8, 1), std::vector<int32_t>(3, KESTERLIB_OK));
        for (int allocations = 0; allocations < 3; ++allocations) {
            InputBlock input({.bytes = stream});
            set_callback_debug_memory(input, 0); // tracking would allocate too
            input.allocations_left = allocations;
            EXPECT_EQ(codec.open_memory(input, stream.data(), 1, 8, 1, nullptr), nullptr);
            EXPECT_EQ(kesterlib_open_status(), KESTERLIB_NO_MEMORY) << allocations;
        }
    }
    EXPECT_EQ(memory.TakeExits(), std::vector<int>{});
}

// A block of which only the memory and message slots may be called: each data slot makes a fatal report.
TEST(Status, AnOpenOverMemoryUsesNoDataSlotAndKeepsTheBlock)
{
    const struct {
        const char* name;
        const Codec& codec;
        Bytes stream;
        int32_t rows; // delivered, of 5
    } cases[] = {
        {"no data", kSqueeze, {}, 0},
        {"a number that the filler ends", kSqueeze, Bytes{0x1D}, 1},
        {"a raw row at the end", kSqueeze, {0x40, 0x80, 0x12}, 2},
        {"no data", kGroup4, {}, 1},
        {"a page with an end", kGroup4, FromBits("1 end end"), 5},
    };
    for (const auto& one : cases)
        for (const bool null : {false, true}) {
            if (null && !one.stream.empty())
                continue;
            SCOPED_TRACE(testing::Message() << one.name << (null ? ", null" : ""));
            RecordedBlock block(make_callback_block());
            set_callback_debug_memory(block, 1);
            testing::internal::CaptureStderr();
            for (const bool skip : {false, true}) {
                UNCOMP* const frame = one.codec.open_memory(block, null ? nullptr : one.stream.data(),
                                                            one.stream.size(), 8, 1, nullptr);
                ASSERT_NE(frame, nullptr);
                Bytes rows(5);
                EXPECT_EQ(skip ? one.codec.discard(frame, 5) : one.codec.decode(frame, 5, rows.data(), 1),
                          one.rows);
                EXPECT_EQ(Uncomp_Status(frame), one.rows == 5 ? KESTERLIB_OK : KESTERLIB_CUT_OFF);
                Uncomp_Free(frame);
            }
            callback_deallocate(block, callback_allocate(block, 1, "after the frame"), "after the frame");
            block.Dispose();
            EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
            EXPECT_EQ(block.TakeMessages(), "");
            EXPECT_EQ(block.TakeExits(), std::vector<int>{});
        }
}

TEST(Status, SkippedRowsAfterTheEndOfAGroup4PageCostNothing)
{
    const Bytes stream = FromBits("11 end");
    UNCOMP* const frame = Unccitt4_Open_MMapped(stream.data(), stream.size(), 8, 1, nullptr);
    // One by one, 2^31 rows in each of 100 calls would take minutes.
    for (int call = 0; call < 100; ++call)
        EXPECT_EQ(Unccitt4_Discard(frame, INT32_MAX), INT32_MAX);
    EXPECT_EQ(Uncomp_Rows_Done(frame), INT32_MAX);
    Uncomp_Free(frame);
}
} // namespace
