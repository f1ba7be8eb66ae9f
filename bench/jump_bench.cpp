// SPDX-License-Identifier: MIT
// Measures a jump from the top of a page of 600 million pixels to its last row, with an empty row store, and
// the jump back to rows that are already decoded. In turn with it, libtiff alone decodes the same page, each
// row into the same buffer. The last rows are compared first.
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "bench/benchsystem.h"
#include "bench/countingimage.h"
#include "bench/harness.h"
#include "platform/testing/testing.h"

#include <algorithm>
#include <cstdio>
#include <tiffio.h>
#include <unistd.h>

namespace
{
constexpr int kScreenRows = 900;
constexpr double kOfPeer = 0.4; // goal: this share of libtiff's time ...
constexpr double kStoreMs = 20; // ... and this addition for the row store

// Returns the time in ms. The last kScreenRows rows are stored in `last`, the others overwrite its first row.
double DecodeWithLibtiff(const std::string& path, std::vector<uint8_t>* last)
{
    TIFF* const tiff = TIFFOpen(path.c_str(), "rm");
    Require(tiff != nullptr, "libtiff cannot open the page");
    uint32_t rows = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &rows);
    const auto row_bytes = static_cast<size_t>(TIFFScanlineSize(tiff));
    last->resize(row_bytes * kScreenRows);
    const double start = NowMs();
    for (uint32_t row = 0; row < rows; ++row) {
        const uint32_t slot = row + kScreenRows < rows ? 0 : row + kScreenRows - rows;
        Require(TIFFReadScanline(tiff, last->data() + slot * row_bytes, row, 0) == 1,
                "libtiff cannot read a row");
    }
    const double end = NowMs();
    TIFFClose(tiff);
    return end - start;
}

struct Jump {
    double there = 0, back = 0; // ms
    int64_t rows_there = 0, rows_back = 0;
    ProcessMemory before, after;
};

constexpr const char* kNoRows = "the rows are not available";

Jump JumpThereAndBack(const std::string& path, const std::vector<uint8_t>* wanted = nullptr)
{
    CLumentaDoc document;
    Require(document.OnOpenDocument(path), "the page cannot be opened");
    auto counting = std::make_unique<CountingImage>(std::move(document.m_pImage));
    const CountingImage& image = *counting;
    document.m_pImage = std::move(counting);
    const int32_t bottom = document.m_nDepth - kScreenRows;
    Require(document.GetRows(0, kScreenRows), kNoRows); // what the window shows first
    const int64_t rows_shown = image.RowsRead();

    Jump jump;
    jump.before = ReadProcessMemory(getpid());
    const double start = NowMs();
    Require(document.GetRows(bottom, kScreenRows), kNoRows);
    jump.there = NowMs() - start;
    jump.rows_there = image.RowsRead() - rows_shown;
    jump.after = ReadProcessMemory(getpid());
    if (wanted)
        Require(std::equal(wanted->begin(), wanted->end(), document.RowAddress(bottom)),
                "the last rows differ from libtiff's");
    const double leave = NowMs();
    Require(document.GetRows(0, kScreenRows), kNoRows);
    jump.back = NowMs() - leave;
    jump.rows_back = image.RowsRead() - rows_shown - jump.rows_there;
    Require(!document.m_bReadError && jump.rows_there == document.m_nDepth - rows_shown, "rows are missing");
    Require(jump.rows_back == 0, "rows were decoded again on the way back");
    return jump;
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(
        argc, argv,
        {.purpose = "compares a jump to the last row of a large page with libtiff's decoding of the page",
         .rounds = 9});
    bench.SetWhere("memory, cached");
    TestApplication application(argc, argv);
    SetSettingsFile("/dev/null");
    CLumentaApp app;
    const std::string path = PagePathOf(kBigPage);

    std::vector<uint8_t> last;
    DecodeWithLibtiff(path, &last);
    Jump jump = JumpThereAndBack(path, &last);
    std::vector<double> back;
    const auto times = bench.InTurn(
        {{false, [&] { return DecodeWithLibtiff(path, &last); }}, {true, [&] {
                                                                       jump = JumpThereAndBack(path);
                                                                       back.push_back(jump.back * 1000);
                                                                       return jump.there;
                                                                   }}});
    bench.Report("large page, libtiff, all rows", times[0], "ms");
    bench.Report("large page, jump to the last row", times[1], "ms");
    bench.Report("large page, jump to the last row / libtiff", Ratios(times[1], times[0]), "x");
    std::vector<double> above;
    for (size_t i = 0; i < times[0].size(); ++i)
        above.push_back(times[1][i] - kOfPeer * times[0][i]);
    bench.Report("large page, jump to the last row - 0.4 x libtiff", above, "ms", AtMost(kStoreMs));
    bench.Report("large page, jump to the last row, anonymous memory grew by",
                 static_cast<double>(jump.after.anonymous - jump.before.anonymous), "kB");
    bench.Report(
        "large page, jump to the last row, file and shared memory grew by",
        static_cast<double>(jump.after.file + jump.after.shared - jump.before.file - jump.before.shared),
        "kB");
    bench.Report("large page, jump back to the top", back, "us");
    return bench.Finish();
}
