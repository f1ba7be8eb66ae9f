// The widening of 1 bit to 32, the whole cost of a repaint from decoded rows: the vector form and the plain
// one, at sizes that stay in the cache and at one that does not, from a byte's first bit and from within one.
#include "platform/raster.h"

#include <benchmark/benchmark.h>
#include <random>
#include <vector>

namespace
{
using Expand = decltype(&ExpandBilevel);

void Widen(benchmark::State& state, Expand expand)
{
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    const int first_bit = static_cast<int>(state.range(2));
    const ptrdiff_t row_bytes = (width + 7) / 8 + 1;
    std::vector<uint8_t> source(static_cast<size_t>(row_bytes) * static_cast<size_t>(height));
    std::minstd_rand random;
    for (uint8_t& byte : source)
        byte = static_cast<uint8_t>(random() >> 8);
    std::vector<uint32_t> target(static_cast<size_t>(width) * static_cast<size_t>(height));
    std::vector<uint32_t> plain = target;

    ExpandBilevelPlain(plain.data(), width, source.data(), row_bytes, first_bit, width, height, kBlack,
                       kWhite);
    expand(target.data(), width, source.data(), row_bytes, first_bit, width, height, kBlack, kWhite);
    if (target != plain) {
        state.SkipWithError("the two forms differ");
        return;
    }
    while (state.KeepRunning()) {
        expand(target.data(), width, source.data(), row_bytes, first_bit, width, height, kBlack, kWhite);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t{width} * height * 4);
}

void Sizes(benchmark::internal::Benchmark* made)
{
    for (const int first_bit : {0, 3})
        for (const auto& [width, height] : {std::pair{1280, 960}, {1920, 1080}, {3840, 2160}})
            made->Args({width, height, first_bit});
    made->ArgNames({"width", "height", "first_bit"})->Unit(benchmark::kMicrosecond);
}
} // namespace

BENCHMARK_CAPTURE(Widen, vector, ExpandBilevel)->Apply(Sizes);
BENCHMARK_CAPTURE(Widen, plain, ExpandBilevelPlain)->Apply(Sizes);

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
