// SPDX-License-Identifier: MIT
// The input is the rows of a page and four bytes after them. These choose width, fill order, where the strip
// is cut off, and how a byte is changed there. libtiff codes the rows as one Group 4 strip, and TIFFImage
// reads it. TIFFImage must return
// - all rows of the page from the whole strip,
// - only rows of the page from a strip that is cut off,
// - at least the rows before the damage from a damaged strip.
#include "app/tifimage.h"
#include "promise.h"
#include "tests/support/hostile_tiff.h"
#include "tiffout.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>
#include <vector>

namespace
{
// A TIFF file in memory whose page is this strip.
struct StripFile {
    int file = memfd_create("page", MFD_CLOEXEC);
    std::string path = "/proc/self/fd/" + std::to_string(file);

    StripFile(const pages::Bitmap& page, const std::string& strip, uint16_t fill_order)
    {
        HostileTiff tiff(static_cast<uint32_t>(page.width), static_cast<uint32_t>(page.height), UINT32_MAX,
                         {strip});
        tiff.Set(tag::kCompression, HostileTiff::kShort, {COMPRESSION_CCITTFAX4});
        tiff.Set(tag::kFillOrder, HostileTiff::kShort, {fill_order});
        const std::string bytes = tiff.Bytes();
        Promise(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    }
    StripFile(const StripFile&) = delete;
    StripFile& operator=(const StripFile&) = delete;
    ~StripFile() { close(file); }
};

std::string Code(const pages::Bitmap& page, uint16_t fill_order)
{
    std::vector<uint8_t> strip;
    Promise(pages::encode_group4(page, strip).empty());
    if (fill_order == FILLORDER_LSB2MSB)
        TIFFReverseBits(strip.data(), static_cast<tmsize_t>(strip.size()));
    return {strip.begin(), strip.end()};
}

// Returns the number of rows that TIFFImage delivers. The first `sound` rows must be those of `page`.
int CountRows(const StripFile& file, const pages::Bitmap& page, int sound)
{
    TIFFImage image;
    Promise(image.Open(file.path) == 1);
    std::vector<uint8_t> row(static_cast<size_t>(image.BytesPerRow));
    int rows = 0;
    for (; rows < page.height && image.ReadRow(row.data(), image.BytesPerRow); ++rows)
        Promise(rows >= sound ||
                (std::memcmp(row.data(), page.row(rows), page.row_bytes) == 0 && image.SuspiciousRow < 0));
    return rows;
}

void CompareWithLibtiff(const StripFile& file, const pages::Bitmap& page)
{
    TIFF* const tiff = TIFFOpen(file.path.c_str(), "rbm");
    std::vector<uint8_t> row(page.row_bytes);
    for (int y = 0; y < page.height; ++y)
        Promise(TIFFReadScanline(tiff, row.data(), static_cast<uint32_t>(y), 0) == 1 &&
                std::memcmp(row.data(), page.row(y), row.size()) == 0);
    TIFFClose(tiff);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kHow = 4;
    constexpr size_t kMostRows = 64;
    if (size <= kHow)
        return 0;
    const uint8_t* const how = data + size - kHow;
    const int width = 1 + how[0] * 5;
    const auto fill_order = static_cast<uint16_t>(1 + how[1] % 2);
    const size_t height = std::min((size - kHow) / (static_cast<size_t>(width + 7) / 8), kMostRows);
    if (height == 0)
        return 0;
    pages::Bitmap page(width, static_cast<int>(height));
    page.rows.assign(data, data + page.rows.size());
    for (int y = 0; y < page.height; ++y) // 0 after the width
        page.row(y)[page.row_bytes - 1] &= static_cast<uint8_t>(0xff << (7 - (width - 1) % 8));

    std::string strip = Code(page, fill_order);
    const StripFile whole(page, strip, fill_order);
    CompareWithLibtiff(whole, page);
    Promise(CountRows(whole, page, page.height) == page.height);
    const size_t place = strip.size() * how[2] / 256;
    const int complete = CountRows({page, strip.substr(0, place), fill_order}, page, page.height);
    strip[place] = static_cast<char>(strip[place] ^ how[3]);
    Promise(CountRows({page, strip, fill_order}, page, complete) >= complete);
    return 0;
}
