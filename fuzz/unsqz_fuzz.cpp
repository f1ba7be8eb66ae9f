// Squeeze rasters. The last five bytes choose how one is decoded: width, rows, rows a call, bytes a read,
// stride; so a seed is an ordinary raster with five bytes behind it. Both row loops must agree in every byte
// and word.
#include "kesterlib/unsqz.h"

#include "tests/support/chunk_block.h"
#include "unsqz_codes.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
struct Decoded {
    std::vector<uint8_t> rows;
    std::string error;
    std::string messages;
    friend bool operator==(const Decoded&, const Decoded&) = default;
};

Decoded Decode(kesterlib::UnsqzRowLoop* loop, std::span<const uint8_t> stream, const uint8_t* how)
{
    const int32_t width = 1 + how[0] * 9;
    const int32_t row_bytes = (width + 7) / 8;
    const int32_t rows = 1 + how[1] % 64;
    const int32_t per_call = 1 + how[2] % 8;
    const int32_t stride = row_bytes + how[4] % 16;
    Decoded decoded;
    test_support::ChunkBlock block;
    block.SetInput(stream, how[3] == 0 ? SIZE_MAX : size_t{how[3]} * 2);
    UNCOMP* const frame = how[3] % 4 == 3
                              ? Unsqz_Open_MMapped(stream.data(), stream.size(), width, row_bytes, nullptr)
                              : Unsqz_Open_Callback(block, width, row_bytes, nullptr);
    for (int32_t done = 0; done < rows;) {
        const int32_t ask = std::min(per_call, rows - done);
        std::vector<uint8_t> out(static_cast<size_t>(ask) *
                                 static_cast<size_t>(stride)); // of exactly that size
        const int32_t got = loop(reinterpret_cast<kesterlib::Frame*>(frame), ask, out.data(), stride);
        if (got < 0 || got > ask || (got < ask) != (Uncomp_Error_String(frame) != nullptr))
            std::abort();
        decoded.rows.insert(decoded.rows.end(), out.begin(), out.begin() + int64_t{got} * stride);
        if (got < ask)
            break;
        done += got;
    }
    if (Uncomp_Error_String(frame))
        decoded.error = Uncomp_Error_String(frame);
    Uncomp_Free(frame);
    block.Dispose();
    decoded.messages = block.messages;
    if (!decoded.messages.empty() || block.exits != 0) // memory left behind, or a broken invariant
        std::abort();
    return decoded;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kHow = 5;
    if (size < kHow)
        return 0;
    const std::vector<uint8_t> exact(data, data + size - kHow);
    const uint8_t* const how = data + size - kHow;
    const Decoded plain = Decode(kesterlib::unsqz_rows_plain, exact, how);
    if (kesterlib::unsqz_row_loop() != kesterlib::unsqz_rows_plain &&
        !(Decode(kesterlib::unsqz_row_loop(), exact, how) == plain))
        std::abort();
    return 0;
}
