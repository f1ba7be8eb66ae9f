// SPDX-License-Identifier: MIT
// Measures opening large Group 4 TIFF pages and reading all rows, by TIFFImage and libtiff in turn, each into
// a buffer of one row. All rows are compared first.
#include "app/tifimage.h"
#include "bench/harness.h"
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
    uint32_t rows_per_strip; // 0: all rows in one strip
    double goal;             // times as fast as libtiff
};
constexpr PageKind kPages[] = {
    {"half text", pages::Draw::Mixed, 0, 3.2},  {"halftone", pages::Draw::Halftone, 0, 3.2},
    {"text", pages::Draw::Text, 0, 3.0},        {"noise", pages::Draw::Noise, 0, 1.6},
    {"row strips", pages::Draw::Mixed, 1, 1.3},
};
constexpr int kWidth = 20'000, kHeight = 30'000, kDpi = 1000;

class LibtiffPage
{
public:
    explicit LibtiffPage(const std::string& path) : m_tiff(TIFFOpen(path.c_str(), "rbm"))
    {
        Require(m_tiff != nullptr, "libtiff cannot open the page");
    }
    LibtiffPage(const LibtiffPage&) = delete;
    LibtiffPage& operator=(const LibtiffPage&) = delete;
    ~LibtiffPage() { TIFFClose(m_tiff); }

    size_t RowBytes() const { return static_cast<size_t>(TIFFScanlineSize(m_tiff)); }
    void Read(uint8_t* row, uint32_t number) const
    {
        Require(TIFFReadScanline(m_tiff, row, number, 0) == 1, "libtiff cannot read a row");
    }

private:
    TIFF* m_tiff;
};

void OpenOurs(TIFFImage& image, const std::string& path)
{
    Require(image.Open(path) != 0, "the page cannot be opened");
}

void ReadOurs(TIFFImage& image, std::vector<uint8_t>& row)
{
    Require(image.ReadRow(row.data(), image.BytesPerRow) != 0, "a row cannot be read");
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
        Require(std::memcmp(wanted.data(), row.data(), wanted.size()) == 0, "the rows differ");
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
    Harness bench(argc, argv,
                  {.purpose = "compares our opening and reading of large Group 4 TIFF pages with libtiff's",
                   .rounds = 5,
                   .pages = NamesOf(kPages)});
    bench.SetWhere("memory, cached");
    const std::string_view only = bench.Value("page");
    std::string directory = std::filesystem::temp_directory_path() / "lumenta-tiff-XXXXXX";
    Require(mkdtemp(directory.data()) != nullptr, "no directory for the pages");
    const std::string path = directory + "/page.tif";
    for (const PageKind& kind : kPages) {
        if (!only.empty() && only != kind.name)
            continue;
        pages::TiffOptions options;
        options.compression = pages::Compression::Group4;
        options.rows_per_strip = kind.rows_per_strip;
        const std::string error =
            pages::write_tiff(path, pages::draw_page({kind.draw, kWidth, kHeight, kDpi, kDpi, 1}), options);
        Require(error.empty(), error);
        Compare(path);
        const auto times = bench.InTurn(
            {{true, [&] { return TimeOurs(path); }}, {false, [&] { return TimeLibtiff(path); }}});
        const std::string name = std::string{"rows of a TIFF page, "} + kind.name;
        bench.Report(name, times[0], "ms");
        bench.Report(name + ", libtiff", times[1], "ms");
        bench.Report(name + ", times as fast as libtiff", Ratios(times[1], times[0]), "x",
                     AtLeast(kind.goal));
    }
    std::filesystem::remove_all(directory);
    return bench.Finish();
}
