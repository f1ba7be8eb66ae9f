// SPDX-License-Identifier: MIT
// The scale engine: its tables, and the functions that create it, add rows, complete bands and free it. The
// counting is in scale_rows_tmpl.h.
#include "kesterlib/scale.h"

#include "kesterlib/callback.h"

#include "bits.h"
#include "machine.h"
#include "scale_loops.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <numeric>

namespace kesterlib
{
namespace
{
using GreyTable = std::array<uint8_t, kGreySteps>;
constexpr GreyTable make_grey_table(bool invert)
{
    GreyTable table{};
    for (int step = 0; step < kGreySteps; ++step) {
        const int grey = std::min(step, 255);
        table[static_cast<size_t>(step)] = static_cast<uint8_t>(invert ? 255 - grey : grey);
    }
    return table;
}
constexpr GreyTable kGreys = make_grey_table(false);
constexpr GreyTable kInvertedGreys = make_grey_table(true);

constexpr bool is_valid(int32_t scale)
{
    return scale == 1 || scale == 2 || scale == 4 || (scale >= 8 && scale <= kLargestScale && scale % 8 == 0);
}

// Returns the exponent of an exact power of two, else -1.
constexpr int32_t exact_log2(int32_t number)
{
    for (int32_t exponent = 0; exponent < 31; ++exponent)
        if (number == int32_t{1} << exponent)
            return exponent;
    return -1;
}

constexpr int32_t down_shift_of(int32_t cell_area)
{
    return cell_area > 1 && exact_log2(cell_area) >= 0 ? exact_log2(cell_area / 256) : -1;
}

constexpr int32_t up_shift_of(int32_t scale)
{
    return scale > 0 && scale <= 8 && exact_log2(scale) >= 0 ? 8 - 2 * exact_log2(scale) : 0;
}

// Maps a count to a step of 0 to 256 without a division in the loop:
//   (count >> before) * multiplier >> 16 >> after
struct Steps {
    uint32_t before;
    uint32_t multiplier; // at most 16 bits
    uint32_t after;
};
// Rounded up, so that a full cell never exceeds step 256.
constexpr uint32_t divisor_of(int32_t cell_area)
{
    const int32_t down_shift = down_shift_of(cell_area);
    return down_shift < 0 ? (static_cast<uint32_t>(cell_area) + 255) / 256 : 1u << down_shift;
}
constexpr Steps steps_of(int32_t cell_area)
{
    uint32_t divisor = divisor_of(cell_area);
    Steps steps{};
    for (; divisor % 2 == 0 && divisor > 2; divisor /= 2)
        ++steps.before;
    while (2u << steps.after < divisor)
        ++steps.after;
    steps.multiplier = ((0x10000u << steps.after) + divisor - 1) / divisor;
    return steps;
}
// Proof that the steps equal an exact division. Rounding up makes the multiplier larger by excess /
// divisor, and a product by count * excess / divisor. This changes a quotient only if it reaches 1 /
// divisor of a step, because the largest remainder is that much below the next step.
constexpr bool steps_are_exact()
{
    for (int32_t scale = 24; scale <= kLargestScale; scale += 8) {
        const int32_t area = scale * scale;
        const Steps steps = steps_of(area);
        const uint64_t power = uint64_t{0x10000} << steps.after;
        const uint64_t excess = uint64_t{steps.multiplier} * (divisor_of(area) >> steps.before) - power;
        if (steps.multiplier > 0xFFFF || (static_cast<uint64_t>(area) >> steps.before) * excess >= power)
            return false;
    }
    return true;
}
static_assert(steps_are_exact());

constexpr int32_t divided_up(int32_t side, int32_t by)
{
    return side <= 0 ? 0 : static_cast<int32_t>((int64_t{side} + by - 1) / by);
}

void* allocate(size_t bytes, const char* description)
{
    return safe_malloc(std::max<size_t>(bytes, 1), description, nullptr); // malloc(0) may return null
}

// Adds the 1 bits of zones whose ends are all moved left to the start of their byte.
void add_whole_bytes(const scale_loops* loops, const uint8_t* rows, ptrdiff_t stride, int32_t height,
                     const int32_t* starts, int32_t zones, int64_t* ones)
{
    constexpr ptrdiff_t kBlock = 4096; // bytes of a row that are counted at once
    uint8_t counts[kBlock];
    const ptrdiff_t end = starts[zones] / 8;
    int32_t zone = 0;
    for (ptrdiff_t begin = starts[0] / 8; begin < end; begin += kBlock) {
        const ptrdiff_t block_end = std::min(begin + kBlock, end);
        loops->count_bytes(counts, rows + begin, stride, height, static_cast<size_t>(block_end - begin));
        for (ptrdiff_t at = begin; at < block_end;) {
            while (starts[zone + 1] / 8 <= at)
                ++zone;
            const ptrdiff_t zone_end = std::min<ptrdiff_t>(starts[zone + 1] / 8, block_end);
            ones[zone] += std::accumulate(counts + (at - begin), counts + (zone_end - begin), int32_t{0});
            at = zone_end;
        }
    }
}

// Corrects the counts of add_whole_bytes: if an end is inside a byte, the 1 bits before it in this byte
// belong to the zone before.
void add_cut_bytes(const uint8_t* rows, ptrdiff_t stride, int32_t height, const int32_t* starts,
                   int32_t zones, int64_t* ones)
{
    for (int32_t end = 0; end <= zones; ++end) {
        const int32_t before = starts[end] % 8; // pixels
        if (before == 0)
            continue;
        const uint8_t* const column = rows + starts[end] / 8;
        const uint32_t mask = 0xFF00u >> before & 0xFF;
        int64_t left = 0;
        uint64_t word = 0; // eight rows, so that their bits are counted at once
        for (int32_t y = 0; y < height; ++y) {
            word = word << 8 | (column[y * stride] & mask);
            if (y % 8 == 7 || y == height - 1) {
                left += count_ones(word);
                word = 0;
            }
        }
        if (end > 0)
            ones[end - 1] += left;
        if (end < zones)
            ones[end] -= left;
    }
}
} // namespace

constinit std::atomic<const uint8_t*> grey_table = kGreys.data();

const scale_loops* fastest_scale_loops()
{
#if defined(__x86_64__)
    if (has_avx2())
        return &scale_loops_avx2;
#endif
    return &scale_loops_plain;
}
} // namespace kesterlib

using namespace kesterlib;

const uint8_t* init_countones(int32_t invert)
{
    grey_table.store((invert != 0 ? kInvertedGreys : kGreys).data(), std::memory_order_relaxed);
    return count_table.data();
}

scale_engine* make_scale_engine(int32_t scale, int32_t width, int32_t height, int32_t invert, void* user_data)
{
    auto* const engine = static_cast<scale_engine*>(allocate(sizeof(scale_engine), "Making scaling engine"));
    *engine = {};
    engine->scale = scale;
    engine->width = width;
    engine->height = height;
    engine->invert = invert;
    engine->user_data = user_data;
    engine->loops = fastest_scale_loops();
    engine->row_bytes = divided_up(width, 8);
    if (is_valid(scale)) {
        engine->cell_bytes = scale / 8;
        engine->cell_area = scale * scale;
        engine->up_shift = up_shift_of(scale);
        engine->down_shift = down_shift_of(engine->cell_area);
        engine->out_width = divided_up(width, scale);
        const Steps steps = steps_of(engine->cell_area);
        engine->shift_before = steps.before;
        engine->multiplier = steps.multiplier;
        engine->shift_after = steps.after;
    }

    const size_t columns = (static_cast<size_t>(engine->out_width) + 3) / 4 * 4;
    engine->bytes = static_cast<uint8_t*>(allocate(columns, "byte buffer for scaling"));
    engine->shorts = static_cast<uint16_t*>(allocate(2 * columns, "short buffer for scaling"));
    if (engine->cell_bytes > 0) {
        const auto used = static_cast<size_t>(engine->row_bytes);
        const size_t all =
            static_cast<size_t>(engine->out_width) * static_cast<size_t>(engine->cell_bytes) + kCountsSlack;
        engine->counts = static_cast<uint8_t*>(allocate(all, "count buffer for scaling"));
        memset(engine->counts + used, 0, all - used); // the first row of a band writes the rest
    }
    init_countones(invert);
    return engine;
}

int32_t scale_one_row(scale_engine* engine, const uint8_t* row, scale_row_sink* sink)
{
    if (!is_valid(engine->scale))
        return 0;
    engine->loops->add_row(engine, row);
    ++engine->rows_in_cell;
    int32_t result = 1;
    if (engine->rows_in_cell == engine->scale) {
        engine->loops->finish_band(engine);
        result = sink(engine->rows_seen / engine->scale, engine->out_width, engine->bytes, engine->user_data);
        engine->rows_in_cell = 0;
    }
    // The number stays at INT32_MAX, so that the last band of the highest page can be completed. The number
    // of that band is correct nevertheless, because INT32_MAX is a prime.
    if (engine->rows_seen < INT32_MAX)
        ++engine->rows_seen;
    return result;
}

int32_t finish_scaling(scale_engine* engine, uint8_t* blank_row, scale_row_sink* sink)
{
    const auto unfinished = [engine] {
        return engine->rows_in_cell > 0 || engine->rows_seen < engine->height;
    };
    int32_t result = 1;
    if (blank_row != nullptr && unfinished()) {
        memset(blank_row, 0, static_cast<size_t>(engine->row_bytes));
        do
            result = scale_one_row(engine, blank_row, sink);
        while (result != 0 && unfinished());
    }
    free(engine->counts);
    free(engine->shorts);
    free(engine->bytes);
    free(engine);
    return result;
}

void count_ones_by_zone(const uint8_t* rows, ptrdiff_t stride, int32_t height, const int32_t* starts,
                        int32_t zones, int64_t* ones)
{
    if (zones <= 0)
        return;
    const scale_loops* const loops = fastest_scale_loops();
    for (; height > 0; height -= kMostCounted, rows += kMostCounted * stride) {
        const int32_t counted = std::min(height, kMostCounted);
        add_whole_bytes(loops, rows, stride, counted, starts, zones, ones);
        add_cut_bytes(rows, stride, counted, starts, zones, ones);
    }
}

int32_t view_reduced(int32_t scale, int32_t width, int32_t height, int32_t invert, void* user_data,
                     uint8_t* row_buffer, scale_row_fetch* fetch, scale_row_sink* sink)
{
    scale_engine* const engine = make_scale_engine(scale, width, height, invert, user_data);
    uint8_t* row = row_buffer;
    bool well = true;
    while (well && engine->rows_seen < height) {
        row = fetch(user_data, row);
        well = row != nullptr && scale_one_row(engine, row, sink) != 0;
    }
    const bool finished = finish_scaling(engine, well ? row : nullptr, sink) != 0;
    return well && finished ? 1 : 0;
}
