// SPDX-License-Identifier: MIT
// What the fuzz targets of the run decoders share. The last five bytes of an input choose how it is decoded:
// width, rows, rows per call, bytes per read, stride. So a seed is an ordinary raster with five bytes after
// it. Each row loop decodes with another number of rows per call. All must return the same bytes, messages
// and statuses. So must a frame over memory whose block has no data slots, also if it skips rows.
#pragma once

#include "kesterlib/uncompress.h"

#include "promise.h"
#include "run_frame.h"
#include "tests/support/test_block.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace run_fuzz
{
using RowLoop = int32_t(kesterlib::Frame* frame, int32_t rows, uint8_t* buffer, int32_t stride);
struct Codec {
    UNCOMP* (*open)(callback_block* cb, int32_t width, int32_t row_bytes, const uint8_t* first_ref_row);
    UNCOMP* (*open_mapped)(const uint8_t* base, size_t size, int32_t width, int32_t row_bytes,
                           const uint8_t* first_ref_row);
    UNCOMP* (*open_memory)(callback_block* cb, const uint8_t* base, size_t size, int32_t width,
                           int32_t row_bytes, const uint8_t* first_ref_row);
    int32_t (*decode)(UNCOMP* frame, int32_t rows, uint8_t* buffer, int32_t stride);
    int32_t (*discard)(UNCOMP* frame, int32_t rows);
    bool always_text; // a failed row always leaves a message
};

struct Decoded {
    std::vector<uint8_t> rows;
    std::string error;
    int32_t suspicious[3] = {}; // first suspicious row for each reason
    int32_t status = 0, rows_done = 0;
    friend bool operator==(const Decoded&, const Decoded&) = default;
};

// Sets all fields but the rows, checks the status, and frees the frame.
inline void TakeState(UNCOMP* frame, int32_t rows, Decoded* decoded)
{
    for (int reason = 0; reason < 3; ++reason)
        decoded->suspicious[reason] = Uncomp_First_Suspicious_Row(frame, 1 << reason);
    if (Uncomp_Error_String(frame))
        decoded->error = Uncomp_Error_String(frame);
    decoded->status = Uncomp_Status(frame);
    decoded->rows_done = Uncomp_Rows_Done(frame);
    Promise(decoded->rows_done < rows
                ? decoded->status == KESTERLIB_CUT_OFF || decoded->status == KESTERLIB_BAD_CODE
                : decoded->status == KESTERLIB_OK);
    Uncomp_Free(frame);
}

// The geometry that an input chooses.
struct Sides {
    explicit Sides(const uint8_t* how)
        : width(1 + how[0] * 9), row_bytes((width + 7) / 8), rows(1 + how[1] % 64),
          stride(row_bytes + how[4] % 16)
    {
    }
    int32_t width, row_bytes, rows, stride;
};

inline Decoded Decode(const Codec& codec, RowLoop* loop, std::span<const uint8_t> stream, const uint8_t* how,
                      int32_t per_call)
{
    const auto [width, row_bytes, rows, stride] = Sides(how);
    Decoded decoded;
    test_support::InputBlock block({.bytes = {stream.begin(), stream.end()},
                                    .most_a_read = how[3] == 0 ? SIZE_MAX : size_t{how[3]} * 2});
    UNCOMP* const frame = how[3] % 4 == 3
                              ? codec.open_mapped(stream.data(), stream.size(), width, row_bytes, nullptr)
                              : codec.open(block, width, row_bytes, nullptr);
    for (int32_t done = 0; done < rows;) {
        const int32_t ask = std::min(per_call, rows - done);
        std::vector<uint8_t> out(static_cast<size_t>(ask) *
                                 static_cast<size_t>(stride)); // exact size: shows a byte too far
        const int32_t got = loop(reinterpret_cast<kesterlib::Frame*>(frame), ask, out.data(), stride);
        const bool text = Uncomp_Error_String(frame) != nullptr;
        Promise(got >= 0 && got <= ask);
        Promise(got == ask ? !text : text || !codec.always_text);
        decoded.rows.insert(decoded.rows.end(), out.begin(), out.begin() + int64_t{got} * stride);
        if (got < ask)
            break;
        done += got;
    }
    TakeState(frame, rows, &decoded);
    block.Dispose();
    Promise(block.TakeMessages().empty() &&
            block.TakeExits().empty()); // no memory leak, and no broken invariant
    return decoded;
}

// Decodes from memory with a block without data slots. Skips all rows, or every second one; the bytes of
// skipped rows are taken from `wanted`.
inline Decoded DecodeInMemory(const Codec& codec, std::span<const uint8_t> stream, const uint8_t* how,
                              bool skip_all, const Decoded& wanted)
{
    const auto [width, row_bytes, rows, stride] = Sides(how);
    Decoded decoded;
    test_support::RecordedBlock block(make_callback_block());
    set_callback_debug_memory(block, 1);
    UNCOMP* const frame = codec.open_memory(block, stream.data(), stream.size(), width, row_bytes, nullptr);
    if (skip_all) {
        Promise(codec.discard(frame, rows) == wanted.rows_done);
        decoded.rows = wanted.rows;
    } else {
        bool there = true;
        for (int32_t row = 0; there && row < rows; ++row) {
            std::vector<uint8_t> out(static_cast<size_t>(stride));
            const bool skip = row % 2 != how[2] % 2;
            there = (skip ? codec.discard(frame, 1) : codec.decode(frame, 1, out.data(), stride)) == 1;
            if (!there)
                break;
            Promise(row < wanted.rows_done);
            const auto known = wanted.rows.begin() + int64_t{row} * stride;
            if (skip)
                decoded.rows.insert(decoded.rows.end(), known, known + stride);
            else
                decoded.rows.insert(decoded.rows.end(), out.begin(), out.end());
        }
    }
    TakeState(frame, rows, &decoded);
    block.Dispose();
    Promise(block.TakeMessages().empty() && block.TakeExits().empty());
    return decoded;
}

inline void Run(const Codec& codec, RowLoop* plain, RowLoop* fastest, const uint8_t* data, size_t size)
{
    constexpr size_t kHow = 5;
    if (size < kHow)
        return;
    const std::vector<uint8_t> exact(data, data + size - kHow);
    const uint8_t* const how = data + size - kHow;
    const int32_t per_call = 1 + how[2] % 8;
    const Decoded wanted = Decode(codec, plain, exact, how, per_call);
    Promise(Decode(codec, fastest, exact, how, per_call % 8 + 1) == wanted);
    for (const bool skip_all : {false, true})
        Promise(DecodeInMemory(codec, exact, how, skip_all, wanted) == wanted);
}
} // namespace run_fuzz
