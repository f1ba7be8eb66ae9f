// SPDX-License-Identifier: MIT
// Measures the speed of this machine's memory: sets, copies and reads 11 and 75 MB. A page of 8 000 x 11 000
// pixels and a page of 20 000 x 30 000 pixels have these sizes. No decoder can be faster than these figures.
#include "bench/benchsystem.h"
#include "bench/harness.h"

#include <cstring>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    Harness bench(argc, argv, {.purpose = "measures setting, copying and reading memory", .rounds = 15});
    for (const size_t megabytes : {11, 75}) {
        const size_t count = megabytes * 1'000'000;
        std::vector<uint8_t> from(count, 1), to(count, 2);
        const auto time = [](auto work) {
            return [work] {
                const double start = NowMs();
                work();
                return NowMs() - start;
            };
        };
        const auto times = bench.InTurn({{false, time([&] { std::memset(to.data(), to[0] + 1, count); })},
                                         {false, time([&] { std::memcpy(to.data(), from.data(), count); })},
                                         {false, [&] { return TimeRead(from.data(), count); }}},
                                        Harness::Warm::each_run);
        Require(to == from, "the copy differs from the original");
        const char* const names[] = {"memset", "memcpy", "read"};
        for (size_t i = 0; i < std::size(names); ++i)
            bench.Report(std::string{names[i]} + " of " + std::to_string(megabytes) + " MB", times[i], "ms");
    }
    return bench.Finish();
}
