// SPDX-License-Identifier: MIT
// Measures widening pixels from 1 bit to 32, the main work of a repaint from decoded rows. Compares the
// vector variant with the plain one, at two sizes that fit in the cache and one that does not, starting at
// the first bit of a byte and within a byte.
#include "bench/harness.h"
#include "platform/raster.h"

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{
// Within the cache the plain variant is as fast. For larger sizes the vector variant bypasses the cache.
struct Size {
    int width, height;
    double goal; // times as fast as the plain variant
};
constexpr Size kSizes[] = {{1280, 960, 0.9}, {1920, 1080, 0.9}, {3840, 2160, 1.5}};

void Measure(Harness& bench, const Size& size, int first_bit)
{
    const int width = size.width, height = size.height;
    const ptrdiff_t row_bytes = (width + 7) / 8 + 1;
    std::vector<uint8_t> source(static_cast<size_t>(row_bytes) * static_cast<size_t>(height));
    std::minstd_rand random;
    for (uint8_t& byte : source)
        byte = static_cast<uint8_t>(random() >> 8);
    std::vector<uint32_t> target(static_cast<size_t>(width) * static_cast<size_t>(height));

    const auto widen = [&](decltype(&ExpandBilevel) expand) {
        return [&, expand] {
            const double start = NowMs();
            expand(target.data(), width, source.data(), row_bytes, first_bit, width, height, kBlack, kWhite);
            return (NowMs() - start) * 1000;
        };
    };
    widen(ExpandBilevelPlain)();
    const std::vector<uint32_t> plain = std::exchange(target, std::vector<uint32_t>(target.size()));
    widen(ExpandBilevel)();
    Require(target == plain, "the two variants differ");

    const auto times = bench.InTurn({{true, widen(ExpandBilevel)}, {false, widen(ExpandBilevelPlain)}},
                                    Harness::Warm::each_run);
    const std::string name = "widening of " + std::to_string(width) + " x " + std::to_string(height) +
                             " from bit " + std::to_string(first_bit);
    bench.Report(name, times[0], "us");
    bench.Report(name + ", plain", times[1], "us");
    bench.Report(name + ", times as fast as plain", Ratios(times[1], times[0]), "x", AtLeast(size.goal));
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv, {.purpose = "measures widening pixels from 1 bit to 32", .rounds = 21});
    for (const int first_bit : {0, 3})
        for (const Size& size : kSizes)
            Measure(bench, size, first_bit);
    return bench.Finish();
}
