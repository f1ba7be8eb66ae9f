// SPDX-License-Identifier: MIT
// Decodes a stream of a run decoder by each of its row loops, from memory and from a callback block. Rows,
// counts and messages must be those of a slow decoder.
#pragma once

#include "run_frame.h"
#include "tests/support/test_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

struct RunCodec {
    using RowLoop = int32_t(kesterlib::Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride);

    UNCOMP* (*open)(callback_block* cb, int32_t width, int32_t row_bytes, const uint8_t* first_ref_row);
    UNCOMP* (*open_mapped)(const uint8_t* base, size_t size, int32_t width, int32_t row_bytes,
                           const uint8_t* first_ref_row);
    UNCOMP* (*open_memory)(callback_block* cb, const uint8_t* base, size_t size, int32_t width,
                           int32_t row_bytes, const uint8_t* first_ref_row);
    RowLoop *plain, *words, *fastest;
};

struct RunPage {
    int width, row_bytes, rows;
    const uint8_t* above = nullptr;
};

struct RunResult {
    std::vector<std::vector<uint8_t>> rows;
    std::string error;
    int suspicious[3] = {-1, -1, -1}; // first row with each reason: decreasing, past the width, filler
};

inline void ExpectInEveryVariant(const RunCodec& codec, std::span<const uint8_t> stream, const RunPage& page,
                                 const RunResult& want)
{
    const struct {
        const char* name;
        size_t chunk; // bytes per read; 0: input in memory
        RunCodec::RowLoop* loop;
        int per_call; // rows per call
        int more_stride;
        bool skips = false; // every second call skips its rows; the input is in memory
    } variants[] = {
        {"mapped, plain", 0, codec.plain, 1 << 20, 0},
        {"11 bytes per read, words", 11, codec.words, 3, 0},
        {"512 bytes per read, plain", 512, codec.plain, 3, 5},
        {"mapped, fastest", 0, codec.fastest, 1 << 20, 0},
        {"mapped, fastest, row by row", 0, codec.fastest, 1, 1},
        {"7 bytes per read, fastest", 7, codec.fastest, 2, 0},
        {"fastest, skips rows", 0, codec.fastest, 1, 0, true},
        {"plain, skips two rows", 0, codec.plain, 2, 3, true},
    };
    int32_t status = -1;
    for (const auto& variant : variants) {
        SCOPED_TRACE(variant.name);
        // Input and rows have memory of exactly their size, so that a step outside is detected.
        const std::vector<uint8_t> exact(stream.begin(), stream.end());
        test_support::InputBlock block({.bytes = exact, .most_a_read = variant.chunk});
        UNCOMP* const frame =
            variant.skips
                ? codec.open_memory(block, exact.data(), exact.size(), page.width, page.row_bytes, page.above)
            : variant.chunk == 0
                ? codec.open_mapped(exact.data(), exact.size(), page.width, page.row_bytes, page.above)
                : codec.open(block, page.width, page.row_bytes, page.above);
        ASSERT_NE(frame, nullptr);
        const int stride = page.row_bytes + variant.more_stride;
        int delivered = 0;
        for (int call = 0; delivered < page.rows; ++call) {
            const bool skip = variant.skips && call % 2 == 0;
            const int ask = std::min(variant.per_call, page.rows - delivered);
            std::vector<uint8_t> buffer(static_cast<size_t>(ask * stride), 0xA5);
            const auto decode = [&](int rows) {
                return variant.loop(reinterpret_cast<kesterlib::Frame*>(frame), rows,
                                    skip ? nullptr : buffer.data(), skip ? 0 : stride);
            };
            const int got = decode(ask);
            for (int i = 0; i < got; ++i, ++delivered) {
                ASSERT_LT(delivered, std::ssize(want.rows)) << "more rows than expected";
                if (skip)
                    continue;
                const uint8_t* const row = buffer.data() + i * stride;
                ASSERT_TRUE(std::equal(row, row + (page.width + 7) / 8,
                                       want.rows[static_cast<size_t>(delivered)].data()))
                    << "row " << delivered;
                for (int pad = page.row_bytes; pad < stride; ++pad)
                    ASSERT_EQ(row[pad], 0xA5) << "row " << delivered << " wrote after its end";
            }
            if (got < ask) {
                EXPECT_EQ(decode(1), 0) << "a row after the end";
                break;
            }
        }
        EXPECT_EQ(delivered, std::ssize(want.rows));
        EXPECT_EQ(Uncomp_Rows_Done(frame), delivered);
        status = status < 0 ? Uncomp_Status(frame) : status;
        EXPECT_EQ(Uncomp_Status(frame), status);
        EXPECT_EQ(status == KESTERLIB_OK, delivered == page.rows);
        EXPECT_EQ(std::string(Uncomp_Error_String(frame) ? Uncomp_Error_String(frame) : ""), want.error);
        for (int reason = 0; reason < 3; ++reason)
            EXPECT_EQ(Uncomp_First_Suspicious_Row(frame, 1 << reason), want.suspicious[reason])
                << "reason " << reason;
        Uncomp_Free(frame);
        EXPECT_TRUE(!variant.skips || block.reads.empty()) << "input after the memory";
        block.Dispose();
        EXPECT_EQ(block.TakeMessages(), "") << "memory was not released";
    }
}
