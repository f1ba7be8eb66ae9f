// SPDX-License-Identifier: MIT
// bench_pages DIRECTORY: draws the pages that the benchmark programs read.
#include "pagefile.h"
#include "pages.h"
#include "tiffout.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

namespace
{
// A black rectangle near the upper left corner, like a patch of a control strip. It makes the middle of a
// screen of 1280 x 960 black as soon as the page is shown, for any text and any height of the bars above the
// page.
constexpr int kPatchLeft = 320, kPatchRight = 960, kPatchTop = 240, kPatchBottom = 720; // multiples of 8

pages::Bitmap WithPatch(pages::Bitmap page)
{
    for (int y = kPatchTop; y < kPatchBottom; ++y)
        std::memset(page.row(y) + kPatchLeft / 8, 0xff, (kPatchRight - kPatchLeft) / 8);
    return page;
}

pages::Bitmap UpperLeft(const pages::Bitmap& page, int width, int height) // width a multiple of 8
{
    pages::Bitmap corner(width, height);
    for (int y = 0; y < height; ++y)
        std::memcpy(corner.row(y), page.row(y), static_cast<std::size_t>(width) / 8);
    return corner;
}

struct Writer {
    std::string directory;
    bool good = true;

    void Write(const char* name, const pages::Bitmap& page, uint32_t rows_per_strip)
    {
        pages::TiffOptions options;
        options.compression = pages::Compression::Group4;
        options.rows_per_strip = rows_per_strip;
        options.dpi_x = options.dpi_y = 300;
        ReportError(name, write_tiff(directory + "/" + name, page, options));
    }

    void WritePageFile(const char* name, const pages::Bitmap& page, pages::Raster raster)
    {
        pages::PageFileOptions options;
        options.raster = raster;
        ReportError(name, write_page_file(directory + "/" + name, page, options));
    }

    void ReportError(const char* name, const std::string& error)
    {
        if (error.empty())
            return;
        std::fprintf(stderr, "%s: %s\n", name, error.c_str());
        good = false;
    }
};
} // namespace

int main(int argc, char** argv)
{
    const bool asks = argc == 2 && std::strcmp(argv[1], "--help") == 0;
    if (asks || argc != 2 || argv[1][0] == '-') {
        std::fputs("Usage: bench_pages DIRECTORY\n"
                   "Draws the pages of the benchmark programs in DIRECTORY.\n",
                   asks ? stdout : stderr);
        return asks ? 0 : 2;
    }
    Writer writer{argv[1]};
    std::filesystem::create_directories(writer.directory);

    const pages::Bitmap big =
        WithPatch(pages::draw_page({.draw = pages::Draw::Mixed, .width = 20'000, .height = 30'000}));
    writer.Write("big.tif", big, 0);
    writer.Write("small.tif", UpperLeft(big, 1000, 1000), 0);

    for (const pages::RasterName& raster : pages::raster_names())
        if (raster.raster != pages::Raster::Plain)
            writer.WritePageFile(("big-" + std::string{raster.name} + ".fax").c_str(), big, raster.raster);

    for (const int rows : {100, 100'000}) {
        const pages::Bitmap page =
            pages::draw_page({.draw = pages::Draw::Text, .width = 2000, .height = rows});
        writer.Write(("rows" + std::to_string(rows) + "-one-strip.tif").c_str(), page, 0);
        writer.Write(("rows" + std::to_string(rows) + "-row-strips.tif").c_str(), page, 1);
        for (const pages::RasterName& raster : pages::raster_names())
            writer.WritePageFile(
                ("rows" + std::to_string(rows) + "-" + std::string{raster.name} + ".fax").c_str(), page,
                raster.raster);
    }
    return writer.good ? 0 : 1;
}
