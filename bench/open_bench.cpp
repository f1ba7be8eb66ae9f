// Opening: the same cost for a page of 100 rows and one of 100 000 in every format, and no row decoded. If
// each row of a TIFF file is a strip of its own, the places of all strips are read, too. --rounds=N (21)
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "app/sqzimage.h"
#include "app/sqznoneimage.h"
#include "app/tifimage.h"
#include "bench/harness.h"
#include "bench/support.h"
#include "platform/testing.h"

#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

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

constexpr int kOpensARound = 20;

// us of an open of the page, and checks of one.
struct Opener {
    std::function<double()> time;
    int64_t bytes_read = 0;
};

template <class Close, class Open>
Opener MakeOpener(const std::string& path, Close close, Open open)
{
    Opener opener;
    opener.bytes_read = BytesReadBy([&] { Require(open(), path + " does not open"); });
    // The end of the page before does not count: the row store has to be taken off the disk.
    opener.time = [=] {
        double sum = 0;
        for (int i = 0; i < kOpensARound; ++i) {
            close();
            const double start = NowMs();
            const bool good = open();
            sum += NowMs() - start;
            Require(good, path + " does not open");
        }
        return sum * 1000 / kOpensARound;
    };
    return opener;
}

template <class PageImage>
Opener OpenerOfImage(const std::string& path)
{
    const auto image = std::make_shared<PageImage>();
    return MakeOpener(
        path, [image] { image->Close(); },
        [image, path] { return image->Open(path) != 0 && image->CurrentRow == -1; });
}

// The row store of the page included.
Opener OpenerOfDocument(const std::string& path)
{
    const auto document = std::make_shared<CLumentaDoc>();
    return MakeOpener(
        path, [document] { document->DeleteContents(); },
        [document, path] { return document->OnOpenDocument(path) && document->m_nLastRow == -1; });
}

struct Form {
    const char* name;
    const char* extension;
    Opener (*image)(const std::string& path);
    bool has_strips = false; // one for each row: libtiff reads the places of all
};
constexpr Form kForms[] = {
    {"one-strip", ".tif", OpenerOfImage<TIFFImage>},
    {"row-strips", ".tif", OpenerOfImage<TIFFImage>, true},
    {"squeeze", ".fax", OpenerOfImage<SqzImage>},
    {"plain", ".fax", OpenerOfImage<SqzNoneImage>},
};
constexpr double kGoalUs = 1000; // for the places of 100 000 strips
constexpr double kImageGoalUs = 100, kDocumentGoalUs = 500;
constexpr double kGrowth = 1.2;
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv, 21);
    bench.SetWhere("memory, cached");
    TestToolkit toolkit(argc, argv);
    SetSettingsFile("/dev/null"); // the user's own decide nothing here
    CLumentaApp app;

    for (const Form& form : kForms)
        for (const bool whole : {false, true}) {
            std::vector<Opener> openers;
            for (const char* rows : {"100", "100000"}) {
                const std::string path =
                    PagePathOf(("rows" + std::string{rows} + "-" + form.name + form.extension).c_str());
                openers.push_back(whole ? OpenerOfDocument(path) : form.image(path));
            }
            const Goal goal = AtMost(whole ? kDocumentGoalUs : kImageGoalUs);
            const auto times = bench.InTurn({{true, openers[0].time}, {true, openers[1].time}});
            const std::string name = std::string{whole ? "open, document, " : "open, image, "} + form.name;
            bench.Report(name + ", 100 rows", times[0], "us", goal);
            bench.Report(name + ", 100 000 rows", times[1], "us", form.has_strips ? Goal{} : goal);
            bench.Report(name + ", 100 000 rows, bytes read", static_cast<double>(openers[1].bytes_read),
                         "B");
            // Both are ours: in the ratio the planted slowdown counts once.
            if (form.has_strips)
                bench.Report(name + ", 100 000 rows - 1.2 x 100 rows",
                             Median(times[1]) - kGrowth * Median(times[0]), "us", AtMost(kGoalUs));
            else
                bench.Report(name + ", 100 000 rows / 100 rows", bench.Ours(Ratios(times[1], times[0])), "x",
                             AtMost(kGrowth));
        }
    return bench.Finish();
}
