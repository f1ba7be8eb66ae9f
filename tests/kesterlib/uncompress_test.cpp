// SPDX-License-Identifier: MIT
// Lists of transitions: made from rows, and painted into rows.
#include "kesterlib/unccitt.h"

#include "run_frame.h"

#include "tests/support/test_block.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;
using List = std::vector<int32_t>;
using test_support::InputBlock;
using test_support::RecordedBlock;

TEST(Getruns, AgreesWithASearchPixelByPixel)
{
    const RecordedBlock block;
    std::mt19937 random(1);
    for (int n = 0; n < 400; ++n) {
        const int width = n < 140 ? n : static_cast<int>(random() % 2000);
        Bytes row(static_cast<size_t>((width + 7) / 8)); // exact size; bits after the width may be 1
        const unsigned kind = random() % 4;
        for (uint8_t& byte : row) {
            const auto first = random(), second = random();
            const std::mt19937::result_type kinds[] = {0xAA, first, 0xFF, first & second};
            byte = static_cast<uint8_t>(kinds[kind]);
        }
        List want{0};
        int before = 0;
        for (int x = 0; x < width; ++x) {
            const int pixel = row[static_cast<size_t>(x / 8)] >> (7 - x % 8) & 1;
            if (pixel != before)
                want.push_back(x);
            before = pixel;
        }
        const auto count = static_cast<int32_t>(want.size());
        want.insert(want.end(), 3, width);
        List list(want.size());
        ASSERT_EQ(kesterlib::getruns(block, row.data(), width, list.data(), list.data() + list.size()), count)
            << n;
        ASSERT_EQ(list, want) << n;
    }
    EXPECT_EQ(block.TakeMessages(), "");

    const Bytes chequered(4, 0xAA);
    List list(20, -7);
    kesterlib::getruns(block, chequered.data(), 32, list.data(), list.data() + 10);
    EXPECT_EQ(block.TakeMessages(), "Assertion rout<endruns failed;\nnumber of runs must not overrun buffer "
                                    "allocated\nAt line N in file getruns");
    EXPECT_EQ(List(list.begin() + 10, list.end()), List(10, -7));
}

TEST(Frame, CountsTheBytesBeforeItsBufferForEveryInput)
{
    const Bytes stream(1300, 0xFF); // each bit is a row of 0
    constexpr int kRows = 8 * 1100;
    std::vector<uint8_t> rows(kRows);
    for (const size_t most_a_read : {size_t{0}, size_t{7}, SIZE_MAX}) { // 0: in memory
        InputBlock block({.bytes = stream, .most_a_read = most_a_read});
        UNCOMP* const frame = most_a_read == 0
                                  ? Unccitt4_Open_MMapped(stream.data(), stream.size(), 8, 1, nullptr)
                                  : Unccitt4_Open_Callback(block, 8, 1, nullptr);
        EXPECT_EQ(Unccitt4_Decode(frame, kRows, rows.data(), 1), kRows);
        EXPECT_EQ((frame->bytes_before + (frame->in_ptr - frame->buf_start)) * 8 - frame->bitsloaded, kRows)
            << most_a_read;
        Uncomp_Free(frame);
    }
}

TEST(PaintRow, ReportsAListWithoutItsEnd)
{
    const RecordedBlock block;
    const List open_end{0, 1, 2, 3, 4};
    uint8_t row = 0;
    kesterlib::uncomp_paint_row(block, &row, open_end.data(), open_end.data() + open_end.size(), 1, 8);
    EXPECT_EQ(block.TakeMessages(), "Assertion trans<endtrans failed;\nnumber of transitions must not "
                                    "overrun buffer\nAt line N in file uncompress");
}
} // namespace
