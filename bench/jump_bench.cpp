// From the top of a page of 600 million pixels to its last row, in a fresh row store, beside libtiff alone
// that decodes the same page into one buffer; and back to what has been decoded.
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "bench/countingimage.h"
#include "bench/support.h"
#include "platform/testing.h"

#include <algorithm>
#include <cstdio>
#include <tiffio.h>
#include <unistd.h>

namespace
{
constexpr int kScreenRows = 900;
constexpr double kOfPeer = 0.4; // of libtiff's time

double DecodeWithLibtiff(const std::string& path)
{
    TIFF* const tiff = TIFFOpen(path.c_str(), "rm");
    if (!tiff)
        return 0;
    uint32_t rows = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &rows);
    std::vector<uint8_t> buffer(static_cast<size_t>(TIFFScanlineSize(tiff)));
    const double start = NowMs();
    for (uint32_t row = 0; row < rows; ++row)
        if (TIFFReadScanline(tiff, buffer.data(), row, 0) != 1)
            std::fprintf(stderr, "row %u cannot be read\n", row);
    const double end = NowMs();
    TIFFClose(tiff);
    return end - start;
}
} // namespace

int main(int argc, char** argv)
{
    const int rounds = RoundsFrom(argc, argv, 9);
    TestToolkit toolkit(argc, argv);
    SetSettingsFile("/dev/null");
    CLumentaApp app;
    const std::string path = PagePathOf(kBigPage);

    std::vector<double> peers, jumps, differences, ratios, returns;
    int64_t rows_there = 0, rows_back = 0;
    ProcessMemory before, after;
    for (int round = 0; round < rounds; ++round) {
        const double peer = DecodeWithLibtiff(path);

        CLumentaDoc document;
        if (!document.OnOpenDocument(path))
            return 1;
        auto counting = std::make_unique<CountingImage>(std::move(document.m_pImage));
        CountingImage& image = *counting;
        document.m_pImage = std::move(counting);
        document.GetRows(0, kScreenRows); // what the window shows first
        const int64_t rows_shown = image.RowsRead();
        before = ReadProcessMemory(getpid());

        const double start = NowMs();
        document.GetRows(document.m_nDepth - kScreenRows, kScreenRows);
        const double there = NowMs();
        rows_there = image.RowsRead() - rows_shown;
        after = ReadProcessMemory(getpid());
        const double leave = NowMs();
        document.GetRows(0, kScreenRows);
        const double back = NowMs();
        rows_back = std::max(rows_back, image.RowsRead() - rows_shown - rows_there);

        peers.push_back(peer);
        jumps.push_back(there - start);
        differences.push_back(there - start - kOfPeer * peer);
        ratios.push_back((there - start) / peer);
        returns.push_back((back - leave) * 1000);
    }

    std::printf("%d rounds, medians\n", rounds);
    Show("libtiff, all rows into one buffer", Median(peers), "ms");
    Show("jump to the last row, fresh store", Median(jumps), "ms");
    Show("  / libtiff", Median(ratios), "x");
    ShowAtMost("  - 0.4 x libtiff", Median(differences), "ms", 20);
    Show("  rows decoded", static_cast<double>(rows_there), "");
    Show("  anonymous memory grew by", static_cast<double>(after.anonymous - before.anonymous), "kB");
    Show("  file and shared memory grew by (the row store)",
         static_cast<double>(after.file + after.shared - before.file - before.shared), "kB");
    Show("jump back to the top", Median(returns), "us");
    ShowAtMost("  rows decoded", static_cast<double>(rows_back), "", 0);
    return 0;
}
