// SPDX-License-Identifier: MIT
// Times the opening of a page. In every format this must take the same time for 100 rows and for 100 000
// rows, because it decodes no row. If each row of a TIFF file is a strip, libtiff also reads the offsets of
// all strips. A document also reserves the file of its row store. The time of this depends on what the file
// system deleted shortly before (0.02 to 1 ms), so the same reservation alone is timed in turn with it.
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "app/sqzimage.h"
#include "app/sqznoneimage.h"
#include "app/tifimage.h"
#include "bench/benchsystem.h"
#include "bench/harness.h"
#include "platform/tempstore.h"
#include "platform/testing/testing.h"

#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace
{
// Returns the bytes that this process has read with system calls so far.
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
    const int64_t own = BytesRead() - start; // bytes read by BytesRead itself
    open();
    return BytesRead() - start - 2 * own;
}

constexpr int kOpensARound = 20;

// Returns the us that an open takes. The time of close() does not count: the old row store is deleted there.
template <class Close, class Open>
double TimeOpen(const std::string& path, Close close, Open open)
{
    double sum = 0;
    for (int i = 0; i < kOpensARound; ++i) {
        close();
        const double start = NowMs();
        const bool good = open();
        sum += NowMs() - start;
        Require(good, path + " does not open");
    }
    return sum * 1000 / kOpensARound;
}

struct Opener {
    std::function<double()> time;  // of an open, in us
    int64_t bytes_read = 0;        // by an open
    std::function<double()> store; // the time of reserving and mapping a file like the row store alone, in us
};

template <class PageImage>
Opener OpenerOfImage(const std::string& path)
{
    const auto image = std::make_shared<PageImage>();
    const auto open = [image, path] { return image->Open(path) != 0 && image->CurrentRow == -1; };
    return {[=] {
                return TimeOpen(
                    path, [image] { image->Close(); }, open);
            },
            BytesReadBy(open),
            {}};
}

// A mapped file like that of the row store.
struct Store {
    int64_t bytes = 0;
    int file = kInvalidFile;
    uint8_t* rows = nullptr;

    explicit Store(int64_t size) : bytes(size) {}
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() { Close(); }
    bool Open()
    {
        file = CreateTempFile("SQZ", bytes);
        rows = file == kInvalidFile ? nullptr : MapTempFile(file, bytes);
        return rows != nullptr;
    }
    void Close()
    {
        UnmapTempFile(rows, bytes);
        CloseTempFile(file);
        rows = nullptr;
        file = kInvalidFile;
    }
};

Opener OpenerOfDocument(const std::string& path)
{
    const auto document = std::make_shared<CLumentaDoc>();
    const auto open = [document, path] {
        return document->OnOpenDocument(path) && document->m_nLastRow == -1;
    };
    const int64_t bytes_read = BytesReadBy(open);
    const auto store = std::make_shared<Store>(int64_t{document->m_nRowBytes} * document->m_nDepth);
    return {[=] {
                return TimeOpen(
                    path, [document] { document->DeleteContents(); }, open);
            },
            bytes_read,
            [=] {
                return TimeOpen(
                    "a row store", [store] { store->Close(); }, [store] { return store->Open(); });
            }};
}

struct Form {
    const char* name;
    const char* extension;
    Opener (*image)(const std::string& path);
    bool has_strips = false; // one for each row; libtiff reads the offsets of all
};
constexpr Form kForms[] = {
    {"one-strip", ".tif", OpenerOfImage<TIFFImage>},
    {"row-strips", ".tif", OpenerOfImage<TIFFImage>, true},
    {"squeeze", ".fax", OpenerOfImage<SqzImage>},
    {"plain", ".fax", OpenerOfImage<SqzNoneImage>},
};
constexpr double kGoalUs = 1000; // for the offsets of 100 000 strips
constexpr double kImageGoalUs = 100, kDocumentGoalUs = 200;
constexpr double kGrowth = 1.2;
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv, {.purpose = "measures opening a page", .rounds = 21});
    bench.SetWhere("memory, cached");
    TestApplication application(argc, argv);
    SetSettingsFile("/dev/null"); // ignores the user's settings
    CLumentaApp app;

    for (const Form& form : kForms)
        for (const bool whole : {false, true}) {
            std::vector<Opener> openers;
            for (const char* rows : {"100", "100000"}) {
                const std::string path =
                    PagePathOf(("rows" + std::string{rows} + "-" + form.name + form.extension).c_str());
                openers.push_back(whole ? OpenerOfDocument(path) : form.image(path));
            }
            std::vector<Harness::Contender> contenders{{true, openers[0].time}, {true, openers[1].time}};
            if (whole) {
                contenders.push_back({false, openers[0].store});
                contenders.push_back({false, openers[1].store});
            }
            const auto times = bench.InTurn(contenders);
            const std::string name = std::string{whole ? "open, document, " : "open, image, "} + form.name;
            const char* const rows[] = {", 100 rows", ", 100 000 rows"};
            for (size_t i = 0; i < 2; ++i) {
                const bool has_goal = i == 0 || !form.has_strips;
                bench.Report(name + rows[i], times[i], "us",
                             has_goal && !whole ? AtMost(kImageGoalUs) : Goal{});
                if (!whole)
                    continue;
                bench.Report(name + rows[i] + ", reserving the row store alone", times[2 + i], "us");
                bench.Report(name + rows[i] + " - the row store", Differences(times[i], times[2 + i]), "us",
                             has_goal ? AtMost(kDocumentGoalUs) : Goal{});
            }
            bench.Report(name + ", 100 000 rows, bytes read", static_cast<double>(openers[1].bytes_read),
                         "B");
            // Both times are ours, so LUMENTA_BENCH_SLOWDOWN has no effect on their ratio. Ours() applies it
            // to the ratio.
            if (form.has_strips)
                bench.Report(name + ", 100 000 rows - 1.2 x 100 rows",
                             Median(times[1]) - kGrowth * Median(times[0]), "us", AtMost(kGoalUs));
            else
                bench.Report(name + ", 100 000 rows / 100 rows", bench.Ours(Ratios(times[1], times[0])), "x",
                             AtMost(kGrowth));
        }
    return bench.Finish();
}
