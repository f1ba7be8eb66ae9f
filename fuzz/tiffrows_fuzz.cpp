// The rows of a page, with four bytes behind them that choose width, fill order, and where the strip is cut
// off and how a byte is changed there. libtiff codes the rows as one Group 4 strip, and TIFFImage reads it:
// the whole page as libtiff does; of a cut strip only rows of the page; and of a damaged one at least the
// rows that are complete before the damage.
#include "app/tifimage.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>
#include <vector>

namespace
{
void Promise(bool kept)
{
    if (!kept)
        std::abort();
}

void Put(std::vector<uint8_t>& bytes, uint32_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes.push_back(static_cast<uint8_t>(value >> 8 * i));
}

std::vector<uint8_t> TiffOf(const uint8_t* strip, uint32_t size, uint32_t width, uint32_t height,
                            uint32_t fill_order)
{
    const struct {
        uint32_t tag, value;
    } tags[] = {{TIFFTAG_IMAGEWIDTH, width},
                {TIFFTAG_IMAGELENGTH, height},
                {TIFFTAG_BITSPERSAMPLE, 1},
                {TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4},
                {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE},
                {TIFFTAG_FILLORDER, fill_order},
                {TIFFTAG_STRIPOFFSETS, 8 + 2 + 10 * 12 + 4},
                {TIFFTAG_SAMPLESPERPIXEL, 1},
                {TIFFTAG_ROWSPERSTRIP, height},
                {TIFFTAG_STRIPBYTECOUNTS, size}};
    std::vector<uint8_t> file{'I', 'I', 42, 0, 8, 0, 0, 0};
    Put(file, std::size(tags), 2);
    for (const auto& [tag, value] : tags) {
        Put(file, tag, 2);
        Put(file, TIFF_LONG, 2);
        Put(file, 1, 4);
        Put(file, value, 4);
    }
    Put(file, 0, 4);
    file.insert(file.end(), strip, strip + size);
    return file;
}

struct MemoryFile {
    int file = memfd_create("page", MFD_CLOEXEC);
    std::string path = "/proc/self/fd/" + std::to_string(file);

    MemoryFile() { Promise(file >= 0); }
    explicit MemoryFile(const std::vector<uint8_t>& bytes) : MemoryFile()
    {
        Promise(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(file); }
};

struct Page {
    std::vector<uint8_t> rows;
    uint32_t width, height;
    uint16_t fill_order;
    size_t RowBytes() const { return (width + 7) / 8; }
    const uint8_t* Row(size_t y) const { return rows.data() + y * RowBytes(); }
};

std::vector<uint8_t> Code(const Page& page)
{
    const MemoryFile file;
    TIFF* tiff = TIFFOpen(file.path.c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tiff, TIFFTAG_FILLORDER, page.fill_order);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, page.height);
    std::vector<uint8_t> rows = page.rows;
    TIFFWriteEncodedStrip(tiff, 0, rows.data(), static_cast<tmsize_t>(rows.size()));
    TIFFClose(tiff);
    tiff = TIFFOpen(file.path.c_str(), "rm");
    std::vector<uint8_t> strip(static_cast<size_t>(TIFFRawStripSize(tiff, 0)));
    Promise(TIFFReadRawStrip(tiff, 0, strip.data(), static_cast<tmsize_t>(strip.size())) ==
            static_cast<tmsize_t>(strip.size()));
    TIFFClose(tiff);
    return strip;
}

// How many rows TIFFImage delivers of a page with this strip. The first `sound` of them are those of the
// page.
uint32_t CountRows(const Page& page, const std::vector<uint8_t>& strip, uint32_t sound)
{
    const MemoryFile file(
        TiffOf(strip.data(), static_cast<uint32_t>(strip.size()), page.width, page.height, page.fill_order));
    TIFFImage image;
    Promise(image.Open(file.path) == 1);
    std::vector<uint8_t> row(static_cast<size_t>(image.BytesPerRow));
    uint32_t rows = 0;
    for (; rows < page.height && image.ReadRow(row.data(), image.BytesPerRow); ++rows)
        Promise(rows >= sound ||
                (std::memcmp(row.data(), page.Row(rows), page.RowBytes()) == 0 && image.SuspiciousRow < 0));
    return rows;
}

void CompareWithLibtiff(const Page& page, const std::vector<uint8_t>& strip)
{
    const MemoryFile file(
        TiffOf(strip.data(), static_cast<uint32_t>(strip.size()), page.width, page.height, page.fill_order));
    TIFF* const tiff = TIFFOpen(file.path.c_str(), "rbm");
    std::vector<uint8_t> row(page.RowBytes());
    for (uint32_t y = 0; y < page.height; ++y)
        Promise(TIFFReadScanline(tiff, row.data(), y, 0) == 1 &&
                std::memcmp(row.data(), page.Row(y), row.size()) == 0);
    TIFFClose(tiff);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kHow = 4;
    constexpr uint32_t kMostRows = 64;
    if (size <= kHow)
        return 0;
    const uint8_t* const how = data + size - kHow;
    Page page;
    page.width = 1 + how[0] * 5U;
    page.height = std::min(static_cast<uint32_t>((size - kHow) / page.RowBytes()), kMostRows);
    page.fill_order = 1 + how[1] % 2U;
    if (page.height == 0)
        return 0;
    page.rows.assign(data, data + page.height * page.RowBytes());
    for (size_t y = 1; y <= page.height; ++y) // nothing after the width
        page.rows[y * page.RowBytes() - 1] &= static_cast<uint8_t>(0xff << (7 - (page.width - 1) % 8));

    std::vector<uint8_t> strip = Code(page);
    CompareWithLibtiff(page, strip);
    Promise(CountRows(page, strip, page.height) == page.height);
    const size_t place = strip.size() * how[2] / 256;
    const uint32_t complete =
        CountRows(page, {strip.begin(), strip.begin() + static_cast<std::ptrdiff_t>(place)}, page.height);
    strip[place] ^= how[3];
    Promise(CountRows(page, strip, complete) >= complete);
    return 0;
}
