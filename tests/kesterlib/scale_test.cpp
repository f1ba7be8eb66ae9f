// SPDX-License-Identifier: MIT
// Compares the scale engine, in every variant, with a count pixel by pixel. Also checks its limits and its
// failures.
#include "kesterlib/scale.h"

#include "scale_loops.h"
#include "tests/support/short_malloc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;

std::vector<int> ValidScales()
{
    std::vector<int> scales{1, 2, 4};
    for (int scale = 8; scale <= 248; scale += 8)
        scales.push_back(scale);
    return scales;
}

std::vector<const scale_loops*> Variants()
{
    std::vector<const scale_loops*> variants{&kesterlib::scale_loops_plain};
    if (kesterlib::fastest_scale_loops() != variants[0])
        variants.push_back(kesterlib::fastest_scale_loops());
    return variants;
}

// Each row has memory of exactly its own size, so that a read after it is detected.
struct Page {
    int width;
    std::vector<std::unique_ptr<uint8_t[]>> rows;

    int RowBytes() const { return (width + 7) / 8; }
    int Height() const { return static_cast<int>(rows.size()); }

    Page(int width_px, int height, uint32_t seed) : width(width_px)
    {
        std::mt19937 random{seed};
        for (int y = 0; y < height; ++y) {
            const auto bytes = static_cast<size_t>(RowBytes());
            rows.emplace_back(new uint8_t[bytes]);
            const unsigned kind = seed == 0 ? 0 : random() % 4; // seed 0: all pixels are 1
            std::generate_n(rows.back().get(), bytes, [&] {
                return static_cast<uint8_t>(kind == 0 ? 0xFF : kind == 1 ? random() | 0x5A : random());
            });
            if (bytes > 0 && width % 8 != 0) // bits after the width are 0
                rows.back()[bytes - 1] &= static_cast<uint8_t>(0xFF00 >> width % 8);
        }
    }
};

struct Reduced {
    std::vector<Bytes> rows;
    int32_t refuse_at = -1; // row that the sink refuses; -1: none
};
int32_t Keep(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data)
{
    auto* const reduced = static_cast<Reduced*>(user_data);
    EXPECT_EQ(out_row, static_cast<int32_t>(reduced->rows.size()));
    reduced->rows.emplace_back(grey_row, grey_row + out_width);
    return out_row == reduced->refuse_at ? 0 : 1;
}

// Reduces a page cell by cell, by the definition of the mapping.
std::vector<Bytes> Judge(const Page& page, int scale, bool invert)
{
    std::vector<Bytes> reduced;
    for (int top = 0; top < page.Height(); top += scale) {
        Bytes row;
        for (int left = 0; left < page.width; left += scale) {
            int count = 0;
            for (int y = top; y < std::min(top + scale, page.Height()); ++y)
                for (int x = left; x < std::min(left + scale, page.width); ++x)
                    count += page.rows[static_cast<size_t>(y)][x / 8] >> (7 - x % 8) & 1;
            const int area = scale * scale;
            const int step = area <= 256 ? count * (256 / area) : count / ((area + 255) / 256);
            const int grey = std::min(step, 255);
            row.push_back(static_cast<uint8_t>(invert ? 255 - grey : grey));
        }
        reduced.push_back(row);
    }
    return reduced;
}

std::vector<Bytes> Reduce(const Page& page, int scale, int invert, const scale_loops* variant)
{
    Reduced reduced;
    scale_engine* const engine = make_scale_engine(scale, page.width, page.Height(), invert, &reduced);
    engine->loops = variant;
    EXPECT_EQ(engine->row_bytes, page.RowBytes());
    for (const auto& row : page.rows)
        EXPECT_EQ(scale_one_row(engine, row.get(), Keep), 1);
    const std::unique_ptr<uint8_t[]> blank{new uint8_t[static_cast<size_t>(page.RowBytes())]};
    EXPECT_EQ(finish_scaling(engine, blank.get(), Keep), 1);
    return std::move(reduced.rows);
}

TEST(Scale, CountsEveryCellInEveryVariant)
{
    constexpr int kWidths[] = {0, 1, 9, 63, 255, 256, 257, 333, 1000, 2043};
    uint32_t seed = 0;
    for (const int scale : ValidScales())
        for (const int width : kWidths)
            for (const int invert : {0, 1}) {
                seed = width == 2043 ? 0 : seed + 1; // also full cells
                const Page page{width, scale + scale / 2 + 1, seed};
                const std::vector<Bytes> wanted = Judge(page, scale, invert != 0);
                for (const scale_loops* variant : Variants())
                    ASSERT_EQ(Reduce(page, scale, invert, variant), wanted)
                        << "scale " << scale << ", width " << width << ", invert " << invert
                        << (variant == &kesterlib::scale_loops_plain ? ", plain" : "");
            }
}

TEST(Scale, ThePolarityIsProcessWide)
{
    const uint8_t* const counts = init_countones(1);
    EXPECT_EQ(counts[0xB7], 6);
    EXPECT_EQ(kesterlib::grey_table[0], 255);
    EXPECT_EQ(kesterlib::grey_table[255], 0);
    EXPECT_EQ(kesterlib::grey_table[256], 0);
    Reduced reduced;
    scale_engine* const engine = make_scale_engine(8, 8, 8, 1, &reduced);
    init_countones(0);
    EXPECT_EQ(kesterlib::grey_table[256], 255);
    uint8_t blank = 0;
    EXPECT_EQ(finish_scaling(engine, &blank, Keep), 1);
    EXPECT_EQ(reduced.rows, std::vector<Bytes>{{0}}); // by the polarity that was built last
}

TEST(Scale, FinishesThePage)
{
    struct Case {
        int height, rows; // of the page, and passed to the engine
        bool blank;
        int refuse_at;
        size_t wanted_rows;
        int result;
    };
    constexpr Case kCases[] = {
        {20, 20, true, -1, 3, 1},  // the band at the bottom is completed
        {20, 20, false, -1, 2, 1}, // or dropped
        {16, 16, true, -1, 2, 1},  // nothing to do
        {16, 20, true, -1, 3, 1},  // more rows than the page's height
        {40, 3, true, -1, 5, 1},   // fewer
        {40, 3, true, 2, 3, 0},    // the sink refuses a row
        {0, 0, true, -1, 0, 1},    {-5, 0, true, -1, 0, 1},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.height << ", " << c.rows);
        Reduced reduced;
        reduced.refuse_at = c.refuse_at;
        scale_engine* const engine = make_scale_engine(8, 16, c.height, 0, &reduced);
        const uint8_t black[2] = {0xFF, 0xFF};
        for (int i = 0; i < c.rows; ++i)
            EXPECT_EQ(scale_one_row(engine, black, Keep), 1);
        EXPECT_EQ(engine->rows_in_cell, c.rows % 8);
        EXPECT_EQ(engine->rows_seen, c.rows);
        uint8_t blank[2] = {0xFF, 0xFF};
        EXPECT_EQ(finish_scaling(engine, c.blank ? blank : nullptr, Keep), c.result);
        ASSERT_EQ(reduced.rows.size(), c.wanted_rows);
        for (size_t i = 0; i < c.wanted_rows; ++i) {
            const int black_rows = std::clamp(c.rows - static_cast<int>(i) * 8, 0, 8);
            EXPECT_EQ(reduced.rows[i], Bytes(2, static_cast<uint8_t>(std::min(black_rows * 32, 255)))) << i;
        }
    }
}

TEST(Scale, ContinuesAfterARefusal)
{
    Reduced reduced;
    reduced.refuse_at = 0;
    scale_engine* const engine = make_scale_engine(2, 3, 4, 0, &reduced);
    const uint8_t row = 0xC0;
    std::vector<int> results(4);
    for (int& result : results)
        result = scale_one_row(engine, &row, Keep);
    EXPECT_EQ(results, (std::vector<int>{1, 0, 1, 1}));
    finish_scaling(engine, nullptr, Keep);
    EXPECT_EQ(reduced.rows, (std::vector<Bytes>{{255, 0}, {255, 0}}));
}

// The last band of the highest page ends after INT32_MAX rows, the largest number of rows seen.
TEST(Scale, CompletesTheHighestPage)
{
    for (const int scale : ValidScales()) {
        int32_t last = -1;
        scale_engine* const engine = make_scale_engine(scale, 8, INT32_MAX, 0, &last);
        engine->rows_seen = INT32_MAX / scale * scale; // start of a band
        if (scale == 1)
            --engine->rows_seen;
        uint8_t blank = 0;
        const auto note = [](int32_t out_row, int32_t, const uint8_t*, void* user_data) {
            *static_cast<int32_t*>(user_data) = out_row;
            return int32_t{1};
        };
        EXPECT_EQ(finish_scaling(engine, &blank, note), 1);
        EXPECT_EQ(last, (INT32_MAX - 1) / scale) << scale;
    }
}

struct View {
    Reduced reduced;
    Bytes other = Bytes(4, 0xFF);
    int fetches = 0, fail_at = -1;
    bool handed_back = true;
    uint8_t* last = nullptr;
};
uint8_t* Fetch(void* user_data, uint8_t* row_buffer)
{
    auto* const view = static_cast<View*>(user_data);
    view->handed_back = view->handed_back && (!view->last || row_buffer == view->last);
    view->last = view->fetches++ % 2 == 0 ? view->other.data() : row_buffer;
    return view->fetches - 1 == view->fail_at ? nullptr : view->last;
}
int32_t KeepOfView(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data)
{
    return Keep(out_row, out_width, grey_row, &static_cast<View*>(user_data)->reduced);
}

TEST(Scale, ReducesAPageInOneCall)
{
    struct Case {
        int scale, width, height, fail_at, refuse_at, result, fetches;
        size_t rows;
    };
    constexpr Case kCases[] = {
        {8, 32, 20, -1, -1, 1, 20, 3}, {8, 32, 20, 10, -1, 0, 11, 1}, {8, 32, 20, -1, 1, 0, 16, 2},
        {8, 32, 20, -1, 2, 0, 20, 3},  {8, 32, 0, -1, -1, 1, 0, 0},   {8, 32, -1, -1, -1, 1, 0, 0},
        {8, -9, 8, -1, -1, 1, 8, 1},   {12, 32, 20, -1, -1, 0, 1, 0},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.scale << ", " << c.height << ", " << c.fail_at);
        View view;
        view.fail_at = c.fail_at;
        view.reduced.refuse_at = c.refuse_at;
        Bytes buffer(4, 0xFF);
        EXPECT_EQ(view_reduced(c.scale, c.width, c.height, 0, &view, buffer.data(), Fetch, KeepOfView),
                  c.result);
        EXPECT_EQ(view.fetches, c.fetches);
        EXPECT_EQ(view.reduced.rows.size(), c.rows);
        EXPECT_TRUE(view.handed_back);
    }
}

TEST(Scale, AcceptsNoRowsAtAnInvalidScale)
{
    for (const int scale : {INT32_MIN, -8, -1, 0, 3, 5, 6, 7, 9, 12, 252, 256, 1000, 65536, INT32_MAX}) {
        SCOPED_TRACE(scale);
        for (const int width : {INT32_MIN, 0, 77, INT32_MAX}) {
            scale_engine* const engine = make_scale_engine(scale, width, INT32_MAX, 0, nullptr);
            EXPECT_EQ(engine->out_width, 0);
            uint8_t row = 0xFF;
            EXPECT_EQ(scale_one_row(engine, &row, nullptr), 0);
            EXPECT_EQ(finish_scaling(engine, width == 77 ? Bytes(10).data() : nullptr, nullptr),
                      width == 77 ? 0 : 1);
        }
    }
}

TEST(Scale, EndsTheProcessWithoutMemory)
{
    const char* const kWords[] = {"Malloc for [0-9]+ bytes failed, Making scaling engine",
                                  "Malloc for 28 bytes failed, byte buffer for scaling",
                                  "Malloc for 56 bytes failed, short buffer for scaling",
                                  "Malloc for [0-9]+ bytes failed, count buffer for scaling"};
    for (int i = 0; i < 4; ++i)
        EXPECT_EXIT((g_mallocs_left = i, static_cast<void>(make_scale_engine(8, 200, 8, 0, nullptr))),
                    testing::ExitedWithCode(1), kWords[i]);
}

TEST(Scale, OnesOfZonesAreThoseOfTheirPixels)
{
    std::mt19937 random{3};
    for (int round = 0; round < 600; ++round) {
        const auto below = [&](int limit) {
            return static_cast<int>(random() % static_cast<unsigned>(limit));
        };
        const int width = 1 + below(round % 20 == 0 ? 40'000
                                    : round % 2     ? 40
                                                    : 700); // blocks have 4096 bytes
        const auto stride = static_cast<ptrdiff_t>((width + 7) / 8);
        const int height = below(round % 3 ? 4 : 70); // counts are of 31 rows at most
        const auto size = static_cast<size_t>(stride * height);
        const std::unique_ptr<uint8_t[]> rows{new uint8_t[size]}; // of exactly this size
        std::generate_n(rows.get(), size, [&] { return static_cast<uint8_t>(round % 5 ? random() : 0xFF); });
        const int zones = 1 + below(40);
        std::vector<int32_t> starts(static_cast<size_t>(zones) + 1);
        std::generate(starts.begin(), starts.end(), [&] { return below(width + 1); });
        std::sort(starts.begin(), starts.end());
        const auto zone_count = static_cast<size_t>(zones);
        std::vector<int64_t> want(zone_count, 5), ones(zone_count, 5);
        for (size_t zone = 0; zone < zone_count; ++zone)
            for (int y = 0; y < height; ++y)
                for (int x = starts[zone]; x < starts[zone + 1]; ++x)
                    want[zone] += rows[static_cast<size_t>(y * stride + x / 8)] >> (7 - x % 8) & 1;
        count_ones_by_zone(rows.get(), stride, height, starts.data(), zones, ones.data());
        ASSERT_EQ(ones, want) << width << " x " << height << ", zones " << testing::PrintToString(starts);
        std::fill(ones.begin(), ones.end(), 5);
        if (height > 0)
            count_ones_by_zone(rows.get() + (height - 1) * stride, -stride, height, starts.data(), zones,
                               ones.data());
        ASSERT_EQ(ones, want) << "from the bottom";
        count_ones_by_zone(rows.get(), stride, 0, starts.data(), zones, ones.data());
        count_ones_by_zone(rows.get(), stride, height, starts.data(), 0, ones.data());
        ASSERT_EQ(ones, want) << "nothing to count";
    }
}

TEST(Scale, EveryVariantCountsTheOnesOfEachByteColumn)
{
    std::mt19937 random{5};
    for (const scale_loops* variant : Variants())
        for (const size_t bytes : {1, 7, 8, 31, 32, 33, 63, 64, 65, 200, 700})
            for (const int height : {1, 2, kesterlib::kMostCounted}) {
                const size_t size = bytes * static_cast<size_t>(height);
                const std::unique_ptr<uint8_t[]> rows{new uint8_t[size]};
                std::generate_n(rows.get(), size, [&] { return static_cast<uint8_t>(random() | 0xF0); });
                Bytes want(bytes), counts(bytes, 77);
                for (size_t i = 0; i < size; ++i)
                    want[i % bytes] = static_cast<uint8_t>(want[i % bytes] + __builtin_popcount(rows[i]));
                variant->count_bytes(counts.data(), rows.get(), static_cast<ptrdiff_t>(bytes), height, bytes);
                ASSERT_EQ(counts, want) << bytes << " " << height;
            }
}
} // namespace
