// SPDX-License-Identifier: MIT
// Writes TIFF files through libtiff, one scanline at a time. A file that could not be written completely is
// deleted. To make a Group 4 stream, writes a TIFF file of one strip in memory and returns this strip.

#include "tiffout.h"

#include "libtiff.h"
#include "removefile.h"

#include <algorithm>
#include <vector>

namespace pages
{
namespace
{

constexpr CompressionName kCompressions[] = {
    {Compression::None, "none"},         {Compression::Group3, "group3"}, {Compression::Group4, "group4"},
    {Compression::PackBits, "packbits"}, {Compression::Lzw, "lzw"},       {Compression::Deflate, "deflate"},
};

uint16_t tag_value(Compression compression)
{
    switch (compression) {
    case Compression::Group3: return COMPRESSION_CCITTFAX3;
    case Compression::Group4: return COMPRESSION_CCITTFAX4;
    case Compression::PackBits: return COMPRESSION_PACKBITS;
    case Compression::Lzw: return COMPRESSION_LZW;
    case Compression::Deflate: return COMPRESSION_ADOBE_DEFLATE;
    case Compression::None: break;
    }
    return COMPRESSION_NONE;
}

struct Rows {
    int width, height;
    int bits; // per pixel
    std::size_t row_bytes;
    const uint8_t* first;
    bool invert; // the file's values are the complement of the page's
};

// Sets all that the file needs before its first row.
bool set_tags(TIFF* file, const Rows& page, const TiffOptions& options)
{
    const auto height = static_cast<uint32_t>(page.height);
    bool good = TIFFSetField(file, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(page.width)) == 1 &&
                TIFFSetField(file, TIFFTAG_IMAGELENGTH, height) == 1 &&
                TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, page.bits) == 1 &&
                TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 1) == 1 &&
                TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
                TIFFSetField(file, TIFFTAG_PHOTOMETRIC,
                             options.photometric == Photometric::MinIsWhite ? PHOTOMETRIC_MINISWHITE
                                                                            : PHOTOMETRIC_MINISBLACK) == 1 &&
                TIFFSetField(file, TIFFTAG_COMPRESSION, tag_value(options.compression)) == 1 &&
                TIFFSetField(file, TIFFTAG_ROWSPERSTRIP,
                             options.rows_per_strip == 0 ? height : options.rows_per_strip) == 1;
    if (good && options.dpi_x > 0 && options.dpi_y > 0)
        good = TIFFSetField(file, TIFFTAG_XRESOLUTION, static_cast<double>(options.dpi_x)) == 1 &&
               TIFFSetField(file, TIFFTAG_YRESOLUTION, static_cast<double>(options.dpi_y)) == 1 &&
               TIFFSetField(file, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) == 1;
    if (good && !options.document_name.empty())
        good = TIFFSetField(file, TIFFTAG_DOCUMENTNAME, options.document_name.c_str()) == 1;
    if (options.directory_first) // libtiff adds the offsets and byte counts of the strips at the end
        good = good && TIFFDeferStrileArrayWriting(file) == 1 && TIFFWriteCheck(file, 0, "page") == 1 &&
               TIFFWriteDirectory(file) == 1 && TIFFSetDirectory(file, 0) == 1;
    // Otherwise libtiff would allocate a buffer for a whole strip.
    constexpr tmsize_t kBufferBytes = 1 << 16;
    return good && TIFFWriteBufferSetup(file, nullptr, kBufferBytes) == 1;
}

bool write_rows(TIFF* file, const Rows& page)
{
    std::vector<uint8_t> line(page.row_bytes); // libtiff takes no const rows
    const int in_last = page.width % 8;
    const auto last_mask = static_cast<uint8_t>(page.bits == 1 && in_last != 0 ? 0xff00 >> in_last : 0xff);
    for (int y = 0; y < page.height; ++y) {
        const uint8_t* const from = page.first + static_cast<std::size_t>(y) * page.row_bytes;
        if (page.invert)
            std::transform(from, from + page.row_bytes, line.begin(),
                           [](uint8_t value) { return static_cast<uint8_t>(~value); });
        else
            std::copy_n(from, page.row_bytes, line.begin());
        line.back() &= last_mask;
        if (TIFFWriteScanline(file, line.data(), static_cast<uint32_t>(y), 0) != 1)
            return false;
    }
    return true;
}

std::string write_rows_to(const std::string& path, const Rows& page, const TiffOptions& options)
{
    if (page.bits != 1 &&
        (options.compression == Compression::Group3 || options.compression == Compression::Group4))
        return "Group 3 and Group 4 can hold only pages of 1 bit per pixel";
    if (TIFFIsCODECConfigured(tag_value(options.compression)) != 1)
        return "this libtiff was built without that compression";

    std::string error;
    const TiffOpenOptions how = tiff_open_options(&error);
    Tiff file(TIFFOpenExt(path.c_str(), "wl", how.get()));
    if (file == nullptr)
        return error.empty() ? "cannot be opened" : error;
    const bool good = set_tags(file.get(), page, options) && write_rows(file.get(), page) &&
                      (options.directory_first ? TIFFFlush(file.get()) : TIFFWriteDirectory(file.get())) == 1;
    file.reset(); // writes what is still buffered
    if (good && error.empty())
        return {};
    remove_partial_file(path);
    return error.empty() ? "cannot be written" : error;
}

} // namespace

std::span<const CompressionName> compression_names()
{
    return kCompressions;
}

std::string write_tiff(const std::string& path, const Bitmap& page, const TiffOptions& options)
{
    return write_rows_to(path,
                         {page.width, page.height, 1, page.row_bytes, page.rows.data(),
                          options.photometric == Photometric::MinIsBlack},
                         options);
}

std::string write_tiff(const std::string& path, const GreyMap& page, const TiffOptions& options)
{
    return write_rows_to(path,
                         {page.width, page.height, 8, static_cast<std::size_t>(page.width), page.rows.data(),
                          options.photometric == Photometric::MinIsWhite},
                         options);
}

std::string encode_group4(const Bitmap& page, std::vector<uint8_t>& stream)
{
    std::string error;
    MemoryTiff memory;
    const TiffOpenOptions how = tiff_open_options(&error);
    Tiff file = memory.open("wl", how.get());
    if (file == nullptr)
        return error.empty() ? "cannot be coded" : error;
    TiffOptions options;
    options.compression = Compression::Group4;
    const Rows rows{page.width, page.height, 1, page.row_bytes, page.rows.data(), false};
    const bool good =
        set_tags(file.get(), rows, options) && write_rows(file.get(), rows) && TIFFFlushData(file.get()) == 1;
    const uint64_t first = TIFFGetStrileOffset(file.get(), 0), bytes = TIFFGetStrileByteCount(file.get(), 0);
    file.reset(); // writes what is still buffered
    if (!good || !error.empty())
        return error.empty() ? "cannot be coded" : error;
    const auto from = memory.bytes.begin() + static_cast<std::ptrdiff_t>(first);
    stream.insert(stream.end(), from, from + static_cast<std::ptrdiff_t>(bytes));
    return {};
}

} // namespace pages
