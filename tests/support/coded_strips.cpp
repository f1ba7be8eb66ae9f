// SPDX-License-Identifier: MIT
// Writes pages as TIFF files with libtiff, and reads their coded strips.
#include "tests/support/coded_strips.h"

#include "tiffout.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace test_support
{
void WriteTiff(const std::string& path, const std::vector<uint8_t>& rows, int width, int height,
               const StripFormat& format)
{
    const std::string mode = std::string("w") + (format.order == HostileTiff::ByteOrder::Little ? "l" : "b") +
                             (format.big_file ? "8" : "");
    TIFF* const file = TIFFOpen(path.c_str(), mode.c_str());
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, format.bits);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, format.photometric);
    TIFFSetField(file, TIFFTAG_COMPRESSION, format.compression);
    TIFFSetField(file, TIFFTAG_FILLORDER, format.fill_order);
    TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, format.rows_per_strip);
    if (format.compression == COMPRESSION_CCITTFAX3)
        TIFFSetField(file, TIFFTAG_GROUP3OPTIONS, format.options);
    const size_t row_bytes = rows.size() / static_cast<size_t>(height);
    std::vector<uint8_t> copy = rows; // libtiff takes no const rows
    for (size_t y = 0; y < static_cast<size_t>(height); ++y)
        EXPECT_EQ(TIFFWriteScanline(file, copy.data() + y * row_bytes, static_cast<uint32_t>(y), 0), 1);
    TIFFClose(file);
}

std::vector<std::string> CodeStrips(const std::vector<uint8_t>& rows, int width, int height,
                                    const StripFormat& format)
{
    const std::string path = testing::TempDir() + "strips-" + std::to_string(getpid()) + ".tif";
    WriteTiff(path, rows, width, height, format);
    TIFF* const file = TIFFOpen(path.c_str(), "rmc"); // c: libtiff does not split a long strip
    std::vector<std::string> strips;
    for (uint32_t strip = 0; strip < TIFFNumberOfStrips(file); ++strip) {
        std::string& bytes = strips.emplace_back(static_cast<size_t>(TIFFRawStripSize(file, strip)), '\0');
        EXPECT_EQ(TIFFReadRawStrip(file, strip, bytes.data(), static_cast<tmsize_t>(bytes.size())),
                  static_cast<tmsize_t>(bytes.size()));
    }
    TIFFClose(file);
    std::remove(path.c_str());
    return strips;
}

HostileTiff TiffOf(const std::vector<std::string>& strips, int width, int height, const StripFormat& format)
{
    HostileTiff file(static_cast<uint32_t>(width), static_cast<uint32_t>(height), format.rows_per_strip,
                     strips, format.order);
    file.Set(tag::kBits, HostileTiff::kShort, {static_cast<uint32_t>(format.bits)});
    file.Set(tag::kCompression, HostileTiff::kShort, {format.compression});
    file.Set(tag::kFillOrder, HostileTiff::kShort, {format.fill_order});
    if (format.compression == COMPRESSION_CCITTFAX3)
        file.SetLong(tag::kT4Options, format.options);
    return file;
}

std::vector<size_t> Group4Bits(const pages::Bitmap& page)
{
    constexpr size_t kEndBits = 24; // two end codes; the last bit of each is 1
    std::vector<size_t> bits{0};
    for (int count = 1; count <= page.height; ++count) {
        pages::Bitmap part(page.width, count);
        std::copy_n(page.rows.begin(), part.rows.size(), part.rows.begin());
        std::vector<uint8_t> strip;
        EXPECT_EQ(pages::encode_group4(part, strip), "");
        size_t used = strip.size() * 8;
        while (!(strip[(used - 1) / 8] >> (7 - (used - 1) % 8) & 1))
            --used;
        bits.push_back(used - kEndBits);
    }
    return bits;
}
} // namespace test_support
