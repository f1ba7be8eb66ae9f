// All rows of large Group 4 TIFF pages, with the opening of the file: TIFFImage beside libtiff, in turn, each
// into one row. Every row is compared first. --rounds=N (5); --page=NAME for one page.
#include "app/tifimage.h"
#include "bench/support.h"
#include "pages.h"
#include "tiffout.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <tiffio.h>
#include <vector>

namespace
{
struct PageKind {
    const char* name;
    pages::Draw draw;
    uint32_t rows_per_strip; // 0: all
    double goal;             // times as fast as libtiff
};
constexpr PageKind kPages[] = {
    {"half text", pages::Draw::Mixed, 0, 3.2},  {"halftone", pages::Draw::Halftone, 0, 3.2},
    {"text", pages::Draw::Text, 0, 3.0},        {"noise", pages::Draw::Noise, 0, 1.6},
    {"row strips", pages::Draw::Mixed, 1, 1.3},
};
constexpr int kWidth = 20'000, kHeight = 30'000, kDpi = 1000;

[[noreturn]] void Stop(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

class LibtiffPage
{
public:
    explicit LibtiffPage(const std::string& path) : m_tiff(TIFFOpen(path.c_str(), "rbm"))
    {
        if (!m_tiff)
            Stop("libtiff does not open the page");
    }
    LibtiffPage(const LibtiffPage&) = delete;
    LibtiffPage& operator=(const LibtiffPage&) = delete;
    ~LibtiffPage() { TIFFClose(m_tiff); }

    size_t RowBytes() const { return static_cast<size_t>(TIFFScanlineSize(m_tiff)); }
    void Read(uint8_t* row, uint32_t number) const
    {
        if (TIFFReadScanline(m_tiff, row, number, 0) != 1)
            Stop("libtiff does not read a row");
    }

private:
    TIFF* m_tiff;
};

void OpenOurs(TIFFImage& image, const std::string& path)
{
    if (!image.Open(path))
        Stop("the page does not open");
}

void ReadOurs(TIFFImage& image, std::vector<uint8_t>& row)
{
    if (!image.ReadRow(row.data(), image.BytesPerRow))
        Stop("a row cannot be read");
}

void Compare(const std::string& path)
{
    const LibtiffPage peer(path);
    TIFFImage image;
    OpenOurs(image, path);
    std::vector<uint8_t> wanted(peer.RowBytes()), row(static_cast<size_t>(image.BytesPerRow));
    for (uint32_t y = 0; y < kHeight; ++y) {
        peer.Read(wanted.data(), y);
        ReadOurs(image, row);
        if (std::memcmp(wanted.data(), row.data(), wanted.size()) != 0)
            Stop("the rows differ");
    }
}

double TimeLibtiff(const std::string& path)
{
    const double start = NowMs();
    const LibtiffPage page(path);
    std::vector<uint8_t> row(page.RowBytes());
    for (uint32_t y = 0; y < kHeight; ++y)
        page.Read(row.data(), y);
    return NowMs() - start;
}

double TimeOurs(const std::string& path)
{
    const double start = NowMs();
    TIFFImage image;
    OpenOurs(image, path);
    std::vector<uint8_t> row(static_cast<size_t>(image.BytesPerRow));
    for (int y = 0; y < kHeight; ++y)
        ReadOurs(image, row);
    return NowMs() - start;
}
} // namespace

int main(int argc, char** argv)
{
    const int rounds = RoundsFrom(argc, argv, 5);
    std::string_view only;
    for (int i = 1; i < argc; ++i)
        if (const std::string_view argument = argv[i]; argument.starts_with("--page="))
            only = argument.substr(7);

    std::string directory = std::filesystem::temp_directory_path() / "lumenta-tiff-XXXXXX";
    if (!mkdtemp(directory.data()))
        Stop("no directory for the pages");
    const std::string path = directory + "/page.tif";
    std::printf("%d rounds, medians\n", rounds);
    for (const PageKind& kind : kPages) {
        if (!only.empty() && only != kind.name)
            continue;
        pages::TiffOptions options;
        options.compression = pages::Compression::Group4;
        options.rows_per_strip = kind.rows_per_strip;
        const std::string error =
            pages::write_tiff(path, pages::draw_page({kind.draw, kWidth, kHeight, kDpi, kDpi, 1}), options);
        if (!error.empty())
            Stop(error.c_str());
        Compare(path);
        std::vector<double> peer, ours, ratio;
        for (int round = 0; round < rounds; ++round) {
            peer.push_back(TimeLibtiff(path));
            ours.push_back(TimeOurs(path));
            ratio.push_back(peer.back() / ours.back());
        }
        std::printf("%-11s%8.2f MB  libtiff%9.1f ms  ours%9.1f ms%8.2f x as fast (%s), goal %g\n", kind.name,
                    static_cast<double>(std::filesystem::file_size(path)) / 1e6, Median(peer), Median(ours),
                    Median(ratio), SpreadOf(ratio).c_str(), kind.goal);
        std::fflush(stdout);
        GateAtLeast(kind.name, Median(ratio), kind.goal);
    }
    std::filesystem::remove_all(directory);
    return GateStatus();
}
