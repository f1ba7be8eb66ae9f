// SPDX-License-Identifier: MIT
// Compares our scale engine with leptonica's reductions, in memory. Both reduce the same page, in turn. The
// engine receives one row at a time. Its greys are compared with a plain count first. No reduction can take
// less time than reading the rows from memory.
#include "bench/benchsystem.h"
#include "bench/harness.h"
#include "kesterlib/scale.h"
#include "pages.h"
#include "scale_loops.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <leptonica/allheaders.h>

namespace
{
using Bytes = std::vector<uint8_t>;

struct PageKind {
    const char* name;
    pages::Draw draw;
    int width, height;
    bool goals; // whether the goals apply to this page
};
constexpr PageKind kPages[] = {
    {"big", pages::Draw::Mixed, 20000, 30000, true},
    {"text", pages::Draw::Text, 8000, 11000, false},
    {"mixed", pages::Draw::Mixed, 8000, 11000, false},
};
constexpr int kDpi = 1000;

// Least ratios of the peer's time to ours. A reduction cannot be faster than reading the rows from memory,
// and this rate differs between machines more than the peer's speed. So the goal is the ratio or a share of
// the read rate, whichever is less. The share is smaller at 1/8: sums are added up after every 8 rows, and
// greys of an eighth of the bytes read are written.
struct ScaleGoal {
    int scale;
    double fastest, plain; // least ratio with the fastest and with the plain loops; 0: no goal
    double share;          // share of the read rate, with the fastest loops
};
constexpr double kPlainShare = 0.5;
constexpr ScaleGoal kScales[] = {
    {2, 0, 0, 0},         {4, 0, 0, 0},      {8, 9, 4.5, 0.55}, {16, 9, 4.5, 0.7},
    {24, 6.5, 4.5, 0.65}, {32, 8, 4.5, 0.7}, {40, 0, 0, 0},     {64, 8, 4.5, 0.7},
};

// ---- The peer ----

PIX* PixOf(const pages::Bitmap& page)
{
    PIX* const pix = pixCreate(page.width, page.height, 1);
    const size_t stride = static_cast<size_t>(pixGetWpl(pix)) * 4;
    auto* const data = reinterpret_cast<uint8_t*>(pixGetData(pix));
    for (int y = 0; y < page.height; ++y)
        std::memcpy(data + static_cast<size_t>(y) * stride, page.row(y), page.row_bytes);
    pixEndianByteSwap(pix);
    return pix;
}

double TimePeer(PIX* pix, int scale)
{
    const double start = NowMs();
    PIX* reduced = scale == 2    ? pixScaleToGray2(pix)
                   : scale == 4  ? pixScaleToGray4(pix)
                   : scale == 8  ? pixScaleToGray8(pix)
                   : scale == 16 ? pixScaleToGray16(pix)
                                 : pixScaleToGray(pix, 1.0f / static_cast<float>(scale));
    const double end = NowMs();
    Require(reduced != nullptr, "leptonica: no picture");
    pixDestroy(&reduced);
    return end - start;
}

// ---- Ours ----

int32_t KeepRow(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data)
{
    std::memcpy(static_cast<uint8_t*>(user_data) + int64_t{out_row} * out_width, grey_row,
                static_cast<size_t>(out_width));
    return 1;
}
} // namespace

// extern "C", so that callgrind finds the name.
extern "C" __attribute__((noinline)) void ReduceOnce(scale_engine* engine, const uint8_t* rows,
                                                     int32_t height)
{
    for (int32_t y = 0; y < height; ++y)
        Require(scale_one_row(engine, rows + int64_t{y} * engine->row_bytes, KeepRow) == 1,
                "a row is missing");
}

namespace
{
// Includes creating and finishing the engine.
double TimeOurs(const scale_loops* loops, const pages::Bitmap& page, int scale, Bytes* greys, Bytes* blank)
{
    const double start = NowMs();
    scale_engine* const engine = make_scale_engine(scale, page.width, page.height, 0, greys->data());
    engine->loops = loops;
    ReduceOnce(engine, page.rows.data(), page.height);
    finish_scaling(engine, blank->data(), KeepRow);
    return NowMs() - start;
}

Bytes CountPlainly(const pages::Bitmap& page, int scale, int out_width, int out_height)
{
    Bytes greys;
    std::vector<int> counts(static_cast<size_t>(out_width));
    const int area = scale * scale;
    for (int out_y = 0; out_y < out_height; ++out_y) {
        std::fill(counts.begin(), counts.end(), 0);
        for (int y = out_y * scale; y < std::min((out_y + 1) * scale, page.height); ++y)
            for (int x = 0; x < static_cast<int>(page.row_bytes); ++x)
                if (scale >= 8)
                    counts[static_cast<size_t>(x * 8 / scale)] += std::popcount(page.row(y)[x]);
                else
                    for (int bit = 0; bit < 8 && x * 8 + bit < page.width; ++bit)
                        counts[static_cast<size_t>((x * 8 + bit) / scale)] += page.row(y)[x] >> (7 - bit) & 1;
        for (const int count : counts)
            greys.push_back(static_cast<uint8_t>(
                std::min(255, area <= 256 ? count * (256 / area) : count / ((area + 255) / 256))));
    }
    return greys;
}

void Measure(Harness& bench, const PageKind& kind, const pages::Bitmap& page, PIX* pix, const ScaleGoal& goal)
{
    const scale_loops* const loops[] = {kesterlib::fastest_scale_loops(), &kesterlib::scale_loops_plain};
    const int scale = goal.scale;
    const std::string name = std::string{kind.name} + " at 1/" + std::to_string(scale);
    const int out_width = (page.width + scale - 1) / scale, out_height = (page.height + scale - 1) / scale;
    Bytes greys(static_cast<size_t>(out_width) * static_cast<size_t>(out_height)), blank(page.row_bytes);
    const Bytes wanted = CountPlainly(page, scale, out_width, out_height);
    const auto reduce = [&](const scale_loops* with) {
        return [&, with] { return TimeOurs(with, page, scale, &greys, &blank); };
    };
    for (const scale_loops* with : loops) {
        std::fill(greys.begin(), greys.end(), uint8_t{0x5A});
        reduce(with)();
        Require(greys == wanted, name + ": the greys differ from a plain count");
    }
    const auto times = bench.InTurn({{false, [&] { return TimePeer(pix, scale); }},
                                     {false, [&] { return TimeRead(page.rows.data(), page.rows.size()); }},
                                     {true, reduce(loops[0])},
                                     {true, reduce(loops[1])}});
    const std::vector<double>&peer = times[0], &read = times[1], &fastest = times[2], &plain = times[3];
    bench.Report(name, fastest, "ms");
    bench.Report(name + ", plain", plain, "ms");
    bench.Report(name + ", leptonica", peer, "ms");
    bench.Report(name + ", reading alone", read, "ms");

    const bool has_goal = kind.goals && goal.fastest != 0;
    const double read_ratio = Median(peer) / Median(read);
    const auto least = [&](double ratio, double share) {
        return has_goal ? AtLeast(std::min(ratio, share * read_ratio)) : Goal{};
    };
    if (loops[0] != loops[1])
        bench.Report(name + ", times as fast as leptonica", Ratios(peer, fastest), "x",
                     least(goal.fastest, goal.share));
    bench.Report(name + ", plain, times as fast as leptonica", Ratios(peer, plain), "x",
                 least(goal.plain, kPlainShare));
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv,
                  {.purpose = "compares our reduction of pages with leptonica's",
                   .rounds = 9,
                   .options = {{"--scale=N", "one scale only"},
                               {"--once=fastest", "reduces once, for callgrind --toggle-collect=ReduceOnce"},
                               {"--once=plain", "the same with the loops that run on every machine"}},
                   .pages = NamesOf(kPages)});
    const std::string_view only = bench.Value("page"), once = bench.Value("once"),
                           only_scale = bench.Value("scale");
    for (const PageKind& kind : kPages) {
        if (!only.empty() && only != kind.name)
            continue;
        const pages::Bitmap page = pages::draw_page({kind.draw, kind.width, kind.height, kDpi, kDpi, 1});
        PIX* pix = once.empty() ? PixOf(page) : nullptr;
        for (const ScaleGoal& goal : kScales) {
            if (!only_scale.empty() && only_scale != std::to_string(goal.scale))
                continue;
            if (once.empty()) {
                Measure(bench, kind, page, pix, goal);
                continue;
            }
            Bytes greys(page.rows.size() * 8), blank(page.row_bytes);
            TimeOurs(once == "plain" ? &kesterlib::scale_loops_plain : kesterlib::fastest_scale_loops(), page,
                     goal.scale, &greys, &blank);
        }
        pixDestroy(&pix);
    }
    return bench.Finish();
}
