// Times the opening of a page. In every format it must cost the same for 100 rows and for 100 000 rows, and
// it decodes no row. If each row of a TIFF file is a strip, libtiff also reads the offsets of all strips.
// --rounds=N (21)
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
    const int64_t look = BytesRead() - start; // bytes read by BytesRead itself
    open();
    return BytesRead() - start - 2 * look;
}

constexpr int kOpensARound = 20;

// Times opens of a page.
struct Opener {
    std::function<double()> time; // returns the us of one open, and checks each
    int64_t bytes_read = 0;       // by one open
};

template <class Close, class Open>
Opener MakeOpener(const std::string& path, Close close, Open open)
{
    Opener opener;
    opener.bytes_read = BytesReadBy([&] { Require(open(), path + " does not open"); });
    // Closing the page before is not timed, because it removes the row store from the disk.
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

// Opens the page through the document, which also makes its row store.
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
    bool has_strips = false; // one for each row; libtiff reads the offsets of all
};
constexpr Form kForms[] = {
    {"one-strip", ".tif", OpenerOfImage<TIFFImage>},
    {"row-strips", ".tif", OpenerOfImage<TIFFImage>, true},
    {"squeeze", ".fax", OpenerOfImage<SqzImage>},
    {"plain", ".fax", OpenerOfImage<SqzNoneImage>},
};
constexpr double kGoalUs = 1000; // for the offsets of 100 000 strips
constexpr double kImageGoalUs = 100, kDocumentGoalUs = 500;
constexpr double kGrowth = 1.2;
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv, 21);
    bench.SetWhere("memory, cached");
    TestToolkit toolkit(argc, argv);
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
            const Goal goal = AtMost(whole ? kDocumentGoalUs : kImageGoalUs);
            const auto times = bench.InTurn({{true, openers[0].time}, {true, openers[1].time}});
            const std::string name = std::string{whole ? "open, document, " : "open, image, "} + form.name;
            bench.Report(name + ", 100 rows", times[0], "us", goal);
            bench.Report(name + ", 100 000 rows", times[1], "us", form.has_strips ? Goal{} : goal);
            bench.Report(name + ", 100 000 rows, bytes read", static_cast<double>(openers[1].bytes_read),
                         "B");
            // Both times are ours, so the planted slowdown counts once in the ratio.
            if (form.has_strips)
                bench.Report(name + ", 100 000 rows - 1.2 x 100 rows",
                             Median(times[1]) - kGrowth * Median(times[0]), "us", AtMost(kGoalUs));
            else
                bench.Report(name + ", 100 000 rows / 100 rows", bench.Ours(Ratios(times[1], times[0])), "x",
                             AtMost(kGrowth));
        }
    return bench.Finish();
}
