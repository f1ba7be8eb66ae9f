// The scale engine beside the public library's reductions, in memory, a row at a time into one buffer: the
// same page in turn, ours compared with a plain count first; and the time in which the rows can be read at
// all. --rounds=N (9); --page=NAME for one page; --scale=N for one scale. --once=fastest or --once=plain with
// both reduces once, for callgrind: --toggle-collect=ReduceOnce counts the reduction alone.
#include "bench/support.h"
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
#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace
{
using Bytes = std::vector<uint8_t>;

struct PageKind {
    const char* name;
    pages::Draw draw;
    int width, height;
    bool goals; // the gates stand on this page
};
constexpr PageKind kPages[] = {
    {"big", pages::Draw::Mixed, 20000, 30000, true},
    {"text", pages::Draw::Text, 8000, 11000, false},
    {"mixed", pages::Draw::Mixed, 8000, 11000, false},
};
constexpr int kDpi = 1000;

// Least ratios of the peer's time to ours. Reduction cannot be faster than the rows come from memory, and how
// fast they come differs from machine to machine by more than the peer does: where a share of that rate is
// less than the ratio, it is the goal.
struct ScaleGoal {
    int scale;
    double fastest, plain; // 0: none
    double share;          // of the read rate, with the fastest loops
};
constexpr double kPlainShare = 0.5;
constexpr ScaleGoal kScales[] = {
    {2, 0, 0, 0},         {4, 0, 0, 0},      {8, 9, 4.5, 0.75}, {16, 9, 4.5, 0.75},
    {24, 6.5, 4.5, 0.55}, {32, 8, 4.5, 0.7}, {40, 0, 0, 0},     {64, 8, 4.5, 0.7},
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
    if (!reduced)
        std::exit(1);
    pixDestroy(&reduced);
    return end - start;
}

// ---- Reading alone ----

#if defined(__x86_64__)
__attribute__((target("avx2"))) uint64_t ReadVectors(const uint8_t* bytes, size_t count)
{
    __m256i sums[4] = {};
    for (size_t i = 0; i + sizeof sums <= count; i += sizeof sums)
        for (size_t k = 0; k < 4; ++k)
            sums[k] = _mm256_add_epi64(
                sums[k], _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + i + 32 * k)));
    alignas(32) uint64_t lanes[4];
    _mm256_store_si256(
        reinterpret_cast<__m256i*>(lanes),
        _mm256_add_epi64(_mm256_add_epi64(sums[0], sums[1]), _mm256_add_epi64(sums[2], sums[3])));
    return lanes[0] + lanes[1] + lanes[2] + lanes[3];
}
#endif
uint64_t ReadWords(const uint8_t* bytes, size_t count)
{
    uint64_t sum = 0;
    for (size_t i = 0; i + 8 <= count; i += 8) {
        uint64_t word;
        std::memcpy(&word, bytes + i, sizeof word);
        sum += word;
    }
    return sum;
}
volatile uint64_t g_read;
double TimeRead(const pages::Bitmap& page)
{
    const double start = NowMs();
#if defined(__x86_64__)
    g_read = __builtin_cpu_supports("avx2") ? ReadVectors(page.rows.data(), page.rows.size())
                                            : ReadWords(page.rows.data(), page.rows.size());
#else
    g_read = ReadWords(page.rows.data(), page.rows.size());
#endif
    return NowMs() - start;
}

// ---- Ours ----

int32_t KeepRow(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data)
{
    std::memcpy(static_cast<uint8_t*>(user_data) + int64_t{out_row} * out_width, grey_row,
                static_cast<size_t>(out_width));
    return 1;
}
} // namespace

// With a name that callgrind finds.
extern "C" __attribute__((noinline)) void ReduceOnce(scale_engine* engine, const uint8_t* rows,
                                                     int32_t height)
{
    for (int32_t y = 0; y < height; ++y)
        scale_one_row(engine, rows + int64_t{y} * engine->row_bytes, KeepRow);
}

namespace
{
// With the making and finishing of the engine.
double TimeOurs(const scale_loops* road, const pages::Bitmap& page, int scale, Bytes* greys, Bytes* blank)
{
    const double start = NowMs();
    scale_engine* const engine = make_scale_engine(scale, page.width, page.height, 0, greys->data());
    engine->loops = road;
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

void Measure(const PageKind& kind, const pages::Bitmap& page, PIX* pix, const ScaleGoal& goal, int rounds)
{
    const scale_loops* const roads[] = {kesterlib::fastest_scale_loops(), &kesterlib::scale_loops_plain};
    const int scale = goal.scale;
    const int out_width = (page.width + scale - 1) / scale, out_height = (page.height + scale - 1) / scale;
    Bytes greys(static_cast<size_t>(out_width) * static_cast<size_t>(out_height)), blank(page.row_bytes);
    const Bytes wanted = CountPlainly(page, scale, out_width, out_height);
    for (const scale_loops* road : roads) {
        std::fill(greys.begin(), greys.end(), uint8_t{0x5A});
        TimeOurs(road, page, scale, &greys, &blank);
        if (greys != wanted) {
            std::printf("scale %d: the greys are not those of a plain count\n", scale);
            std::exit(1);
        }
    }
    TimePeer(pix, scale);
    std::vector<double> peer, read, share, ours[2], ratio[2];
    for (int round = 0; round < rounds; ++round) {
        peer.push_back(TimePeer(pix, scale));
        read.push_back(TimeRead(page));
        for (int i = 0; i < 2; ++i) {
            ours[i].push_back(TimeOurs(roads[i], page, scale, &greys, &blank));
            ratio[i].push_back(peer.back() / ours[i].back());
        }
        share.push_back(read.back() / ours[0].back());
    }
    std::printf("%-6s /%-3d%9.2f ms%9.2f ms%9.2f ms%9.2f ms%8.2f (%s)%8.2f (%s)%8.0f %%\n", kind.name, scale,
                Median(peer), Median(read), Median(ours[0]), Median(ours[1]), Median(ratio[0]),
                SpreadOf(ratio[0]).c_str(), Median(ratio[1]), SpreadOf(ratio[1]).c_str(),
                100 * Median(share));
    std::fflush(stdout);
    if (!kind.goals || goal.fastest == 0)
        return;
    const std::string name = "scale " + std::to_string(scale);
    const double read_ratio = Median(peer) / Median(read);
    GateAtLeast((name + ", plain").c_str(), Median(ratio[1]), std::min(goal.plain, kPlainShare * read_ratio));
    if (roads[0] != roads[1])
        GateAtLeast(name.c_str(), Median(ratio[0]), std::min(goal.fastest, goal.share * read_ratio));
}
} // namespace

int main(int argc, char** argv)
{
    const int rounds = RoundsFrom(argc, argv, 9);
    std::string_view only, once;
    int only_scale = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument.starts_with("--page="))
            only = argument.substr(7);
        else if (argument.starts_with("--once="))
            once = argument.substr(7);
        else if (argument.starts_with("--scale="))
            only_scale = std::atoi(argv[i] + 8);
    }
    if (once.empty())
        std::printf("%d rounds, medians; ratios to the peer's time\n%-11s%12s%12s%12s%12s%24s%24s%10s\n",
                    rounds, "page", "peer", "read", "fastest", "plain", "fastest", "plain", "of read");
    for (const PageKind& kind : kPages) {
        if (!only.empty() && only != kind.name)
            continue;
        const pages::Bitmap page = pages::draw_page({kind.draw, kind.width, kind.height, kDpi, kDpi, 1});
        PIX* pix = once.empty() ? PixOf(page) : nullptr;
        for (const ScaleGoal& goal : kScales) {
            if (only_scale != 0 && only_scale != goal.scale)
                continue;
            if (once.empty()) {
                Measure(kind, page, pix, goal, rounds);
                continue;
            }
            Bytes greys(page.rows.size() * 8), blank(page.row_bytes);
            TimeOurs(once == "plain" ? &kesterlib::scale_loops_plain : kesterlib::fastest_scale_loops(), page,
                     goal.scale, &greys, &blank);
        }
        pixDestroy(&pix);
    }
    return GateStatus();
}
