// SPDX-License-Identifier: MIT
// Measures the time to parse and to write a page header of 4096 bytes. The program parses one to open a page
// and to show the label of a page in the Open dialog.
#include "app/pageheader.h"
#include "bench/harness.h"

#include <string>

namespace
{
constexpr double kGoalUs = 20;
constexpr int kTimesARound = 200;

std::string TextWith(int32_t destinations)
{
    PageHeader header;
    header.SetJobName("Front page");
    header.SetCreator("rip7");
    header.SetMux("two words");
    header.CreateTime = {56, 34, 12, 29, 1, 124, 0, 0, 0};
    for (int32_t i = 0; i < destinations; ++i)
        Require(header.AddDestination(("press-" + std::to_string(i)).c_str()) == 1, "too many destinations");
    std::string text(header.HeaderSize, '\0');
    Require(header.WriteToBuffer(text.data(), header.HeaderSize, true) == 0, "the header is too long");
    return text;
}

// Returns the time of one run in us.
template <class Work>
double TimeEach(Work work)
{
    const double start = NowMs();
    for (int i = 0; i < kTimesARound; ++i)
        work();
    return (NowMs() - start) * 1000 / kTimesARound;
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv, {.purpose = "measures parsing and writing a page header", .rounds = 21});
    for (const int32_t destinations : {0, 64}) {
        const std::string text = TextWith(destinations);
        std::string written(FAXHEADER_BYTES, '\0');
        PageHeader header;
        const auto parse = [&] {
            Require(header.ParseBuffer(text.data(), FAXHEADER_BYTES) == 0, "the header does not parse");
        };
        const auto write = [&] {
            Require(header.WriteToBuffer(written.data(), FAXHEADER_BYTES, true) == 0,
                    "the header is too long");
        };
        parse();
        write();
        Require(header.NumDestinations == destinations && written == text,
                "the header that was read differs from the one that was written");

        const auto times =
            bench.InTurn({{true, [&] { return TimeEach(parse); }}, {true, [&] { return TimeEach(write); }}});
        const std::string name = "header with " + std::to_string(destinations) + " destinations, ";
        bench.Report(name + "parsed", times[0], "us", AtMost(kGoalUs));
        bench.Report(name + "written", times[1], "us", AtMost(kGoalUs));
    }
    return bench.Finish();
}
