// SPDX-License-Identifier: MIT
// Reduces pages with the scale engine of kesterlib. The last six bytes of an input select the scale, the
// width (two bytes), the height, the number of rows that the engine receives, and the polarity. The bytes
// before them are repeated to fill the rows. Each variant of the engine's loops must return the same greys as
// ExpectedGreys, which counts the 1 bits pixel by pixel.
#include "kesterlib/scale.h"

#include "promise.h"
#include "scale_loops.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;

struct Page {
    int32_t width, height;
    std::vector<Bytes> rows; // rows that the engine receives; the memory of each ends after its last byte
};

Bytes ExpectedGreys(const Page& page, int32_t scale, bool invert)
{
    Bytes greys;
    const auto passed_rows = static_cast<int32_t>(page.rows.size());
    for (int32_t top = 0; top < std::max(passed_rows, page.height); top += scale)
        for (int32_t left = 0; left < page.width; left += scale) {
            int32_t count = 0;
            for (int32_t y = top; y < std::min(top + scale, passed_rows); ++y)
                for (int32_t x = left; x < std::min(left + scale, page.width); ++x)
                    count += page.rows[static_cast<size_t>(y)][static_cast<size_t>(x / 8)] >> (7 - x % 8) & 1;
            // `step` is the share of 1 bits in the cell, from 0 to 256.
            const int32_t area = scale * scale;
            const int32_t step = area <= 256 ? count * (256 / area) : count / ((area + 255) / 256);
            greys.push_back(static_cast<uint8_t>(std::min(step, 255) ^ (invert ? 255 : 0)));
        }
    return greys;
}

struct Reduced {
    Bytes greys;
    int32_t rows = 0;
};
// Receives a reduced row from the engine and stores it.
int32_t Keep(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data)
{
    auto* const reduced = static_cast<Reduced*>(user_data);
    Promise(out_row == reduced->rows++);
    reduced->greys.insert(reduced->greys.end(), grey_row, grey_row + out_width);
    return 1;
}

void Check(const Page& page, int32_t scale, bool invert, const scale_loops* loops)
{
    const bool valid = scale == 1 || scale == 2 || scale == 4 ||
                       (scale >= 8 && scale <= kesterlib::kLargestScale && scale % 8 == 0);
    Reduced reduced;
    scale_engine* const engine = make_scale_engine(scale, page.width, page.height, invert ? 1 : 0, &reduced);
    engine->loops = loops;
    for (const Bytes& row : page.rows)
        Promise(scale_one_row(engine, row.data(), Keep) == (valid ? 1 : 0));
    Bytes blank(static_cast<size_t>(engine->row_bytes), 0xFF);
    // If the page has a height, but the engine accepts no rows, finish_scaling adds a blank row and fails.
    const bool owed = page.height > 0 && !valid;
    Promise(finish_scaling(engine, page.width > 0 ? blank.data() : nullptr, Keep) ==
            (owed && page.width > 0 ? 0 : 1));
    if (page.width > 0)
        Promise(reduced.greys == (valid ? ExpectedGreys(page, scale, invert) : Bytes{}));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kHow = 6; // number of bytes that select
    if (size < kHow)
        return 0;
    const size_t pattern = size - kHow;
    const uint8_t* const how = data + pattern;
    // Values of how[0] from 0 to 30 select the multiples of 8. Values from 31 to 33 select 1, 2 and 4. Most
    // of the other values select an invalid scale.
    const int32_t scale = how[0] < 31    ? (how[0] + 1) * 8
                          : how[0] < 34  ? 1 << (how[0] - 31)
                          : how[0] < 200 ? how[0] - 100
                                         : (how[0] - 228) * 0x4000000;
    Page page{(how[1] | (how[2] & 3) << 8) - 2, how[3] * 2 - 4, {}};
    const int32_t row_bytes = page.width <= 0 ? 0 : (page.width + 7) / 8;
    size_t at = 0;
    for (int32_t y = 0; y < how[4] * 2; ++y) {
        Bytes row(static_cast<size_t>(row_bytes));
        for (uint8_t& byte : row)
            byte = pattern == 0 ? uint8_t{0xFF} : data[at++ % pattern];
        if (page.width > 0 && page.width % 8 != 0)
            row.back() &= static_cast<uint8_t>(0xFF00 >> page.width % 8); // bits after the width are 0
        page.rows.push_back(row);
    }
    Check(page, scale, how[5] % 2 != 0, &kesterlib::scale_loops_plain);
    Check(page, scale, how[5] % 2 != 0, kesterlib::fastest_scale_loops());
    return 0;
}
