// Opening: the same cost for a page of 100 rows and one of 100 000 in every format, in one strip or each row
// in a strip of its own, and no row decoded.
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "app/sqzimage.h"
#include "app/sqznoneimage.h"
#include "app/tifimage.h"
#include "bench/support.h"
#include "platform/testing.h"

#include <benchmark/benchmark.h>
#include <fstream>
#include <map>

namespace
{
// Bytes that this process has read with system calls so far.
int64_t BytesRead()
{
    std::ifstream io("/proc/self/io");
    std::string name;
    int64_t bytes = 0;
    io >> name >> bytes; // rchar is the first line
    return bytes;
}

template <class Open>
int64_t BytesReadBy(Open open)
{
    const int64_t start = BytesRead();
    const int64_t look = BytesRead() - start; // what looking itself reads
    open();
    return BytesRead() - start - 2 * look;
}

template <class PageImage>
void OpenImage(benchmark::State& state, const std::string& path)
{
    PageImage image;
    const int64_t read = BytesReadBy([&] { image.Open(path); });
    while (state.KeepRunning()) {
        image.Close();
        const double start = NowMs();
        if (!image.Open(path))
            state.SkipWithError("the page does not open");
        state.SetIterationTime((NowMs() - start) / 1000);
    }
    state.counters["bytes_read"] = static_cast<double>(read);
    state.counters["rows_decoded"] = image.CurrentRow + 1;
}

// The row store of the page included. The end of the page before is not: its store has to be taken off the
// disk.
void OpenDocument(benchmark::State& state, const std::string& path)
{
    CLumentaDoc document;
    const int64_t read = BytesReadBy([&] { document.OnOpenDocument(path); });
    while (state.KeepRunning()) {
        document.DeleteContents();
        const double start = NowMs();
        if (!document.OnOpenDocument(path))
            state.SkipWithError("the page does not open");
        state.SetIterationTime((NowMs() - start) / 1000);
    }
    state.counters["bytes_read"] = static_cast<double>(read);
    state.counters["rows_decoded"] = document.m_nLastRow + 1;
}

// Prints the medians alone, and keeps them for the ratios at the end.
class MedianReporter : public benchmark::ConsoleReporter
{
public:
    MedianReporter() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.aggregate_name != "median")
                continue;
            ConsoleReporter::ReportRuns({run});
            medians[run.run_name.function_name] = run.GetAdjustedRealTime();
        }
    }
    std::map<std::string, double> medians;
};

struct Form {
    const char* name;
    const char* extension;
    void (*open_image)(benchmark::State& state, const std::string& path);
};
constexpr Form kForms[] = {
    {"one-strip", ".tif", OpenImage<TIFFImage>},
    {"row-strips", ".tif", OpenImage<TIFFImage>},
    {"squeeze", ".fax", OpenImage<SqzImage>},
    {"plain", ".fax", OpenImage<SqzNoneImage>},
};
constexpr double kGoalUs = 1000;
} // namespace

int main(int argc, char** argv)
{
    TestToolkit toolkit(argc, argv);
    SetSettingsFile("/dev/null"); // the user's own decide nothing here
    CLumentaApp app;

    for (const Form& form : kForms)
        for (const char* rows : {"100", "100000"}) {
            const std::string page = "rows" + std::string{rows} + "-" + form.name;
            const std::string path = PagePathOf((page + form.extension).c_str());
            for (const auto& [name, run] :
                 {std::pair{"image/", form.open_image}, std::pair{"document/", &OpenDocument}})
                benchmark::RegisterBenchmark((name + page).c_str(), run, path)
                    ->Unit(benchmark::kMicrosecond)
                    ->UseManualTime();
        }

    // In turn, so that what else the machine does meets all alike; said first, so that arguments override it.
    std::vector<char*> arguments(argv, argv + argc);
    char in_turn[] = "--benchmark_enable_random_interleaving=true";
    char repeat[] = "--benchmark_repetitions=9";
    char medians_only[] = "--benchmark_report_aggregates_only=true";
    char short_runs[] = "--benchmark_min_time=0.1";
    arguments.insert(arguments.begin() + 1, {in_turn, repeat, medians_only, short_runs});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    for (const char* name : {"image/", "document/"})
        for (const Form& form : kForms) {
            const auto few = reporter.medians.find(name + std::string{"rows100-"} + form.name);
            const auto many = reporter.medians.find(name + std::string{"rows100000-"} + form.name);
            if (few == reporter.medians.end() || many == reporter.medians.end())
                continue;
            // libtiff reads the places of all strips.
            ShowAtMost((name + std::string{form.name} + ": 100 000 rows - 1.2 x 100 rows").c_str(),
                       many->second - 1.2 * few->second, "us", kGoalUs);
        }
    return 0;
}
