// Page files: the header has the requested values, the raster after it is the page, and a file that could not
// be written whole is deleted.

#include "pagefile.h"
#include "pagein.h"
#include "tests/support/jbigkit.h"
#include "tests/support/scratch.h"
#include "tests/support/sqz_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <tiffio.h>

namespace
{

constexpr int kCompressions[] = {-1, 1000, 2000, 2001}; // in the order of the rasters

std::string contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::vector<uint8_t>> rows_of(const pages::Bitmap& page)
{
    std::vector<std::vector<uint8_t>> rows;
    rows.reserve(static_cast<std::size_t>(page.height));
    for (int y = 0; y < page.height; ++y)
        rows.emplace_back(page.row(y), page.row(y) + page.row_bytes);
    return rows;
}

// Used as the strip of a TIFF file, the raster decodes to the page. Its last bits are two end-of-line codes.
void expect_group4(std::span<const uint8_t> raster, const pages::Bitmap& page, const std::string& path)
{
    TIFF* const file = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, page.width);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, page.height);
    TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, page.height);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    std::vector<uint8_t> strip(raster.begin(), raster.end()); // libtiff takes no const bytes
    EXPECT_EQ(TIFFWriteRawStrip(file, 0, strip.data(), static_cast<tmsize_t>(strip.size())),
              static_cast<tmsize_t>(strip.size()));
    TIFFClose(file);
    pages::PageIn in;
    ASSERT_EQ(pages::read_page(path, in), "");
    EXPECT_EQ(in.page.width, page.width);
    EXPECT_TRUE(in.page.rows == page.rows);

    ASSERT_GE(raster.size(), 4U);
    uint32_t end = 0;
    for (const uint8_t byte : raster.last(4))
        end = end << 8 | byte;
    EXPECT_LT(std::countr_zero(end), 8);
    EXPECT_EQ(end >> std::countr_zero(end) & 0xffffff, 0x001001U);
}

// The raster is one bi-level image entity in stripes of 100 rows, and a 1 in it is white.
void expect_jbig(std::span<const uint8_t> raster, const pages::Bitmap& page)
{
    ASSERT_GE(raster.size(), 20U);
    EXPECT_EQ(raster[15], 100);
    const auto [width, height, rows] = test_support::DecodeWithJbigkit(raster);
    ASSERT_EQ(width, static_cast<unsigned long>(page.width));
    ASSERT_EQ(height, static_cast<unsigned long>(page.height));
    bool same = true;
    for (int y = 0; y < page.height; ++y)
        for (int x = 0; x < page.width; ++x) {
            const std::size_t at =
                static_cast<std::size_t>(y) * page.row_bytes + static_cast<std::size_t>(x / 8);
            same = same && ((rows[at] ^ page.rows[at]) >> (7 - x % 8) & 1) == 1;
        }
    EXPECT_TRUE(same);
}

TEST(PageFile, HasTheHeaderAndThePage)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    const pages::Bitmap page = pages::draw_page({pages::Draw::Sample, 1501, 700, 150, 150, 1});
    for (const pages::RasterName& raster : pages::raster_names())
        for (const uint32_t header_bytes : {600U, 4096U, 10000U})
            for (const int version : {1, 3}) {
                SCOPED_TRACE(testing::Message() << raster.name << ", " << header_bytes << ", " << version);
                pages::PageFileOptions options;
                options.raster = raster.raster;
                options.jbig.stripe_rows = 100;
                options.header.HeaderSize = header_bytes;
                options.header.FaxHeaderVersion = version;
                options.header.Layer = 5;
                ASSERT_TRUE(pages::set_text(options.header.JobName, "Ink and Paper"));
                ASSERT_TRUE(pages::set_text(options.header.Destination[0], "Press-2"));
                options.header.NumDestinations = 1;
                ASSERT_EQ(pages::write_page_file(path, page, options), "");

                const std::string file = contents(path);
                FAXHeader header{};
                const char* message = nullptr;
                ASSERT_GT(extractFaxHeader(file.data(), header_bytes, &header, &message), 0) << message;
                EXPECT_EQ(header.HeaderSize, header_bytes);
                EXPECT_EQ(header.FaxHeaderVersion, version);
                EXPECT_STREQ(header.JobName, "Ink and Paper");
                EXPECT_EQ(header.Layer, 5);
                EXPECT_EQ(header.NumDestinations, 1);
                EXPECT_STREQ(header.Destination[0], "Press-2");
                EXPECT_EQ(header.DataWidth, 1501U);
                EXPECT_EQ(header.ImageHeight, 700U);
                EXPECT_EQ(header.Compression, kCompressions[static_cast<std::size_t>(raster.raster)]);

                const std::span<const uint8_t> bytes(
                    reinterpret_cast<const uint8_t*>(file.data()) + header_bytes, file.size() - header_bytes);
                switch (raster.raster) {
                case pages::Raster::Plain:
                    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), page.rows.begin(), page.rows.end()));
                    break;
                case pages::Raster::Squeeze: {
                    const auto got = test_support::DecodeSqueeze(
                        bytes, page.width, static_cast<int>(page.row_bytes), page.height);
                    EXPECT_TRUE(got.rows == rows_of(page));
                    EXPECT_EQ(got.bytes, bytes.size());
                    break;
                }
                case pages::Raster::Group4: expect_group4(bytes, page, scratch.File("strip.tif")); break;
                case pages::Raster::Jbig: expect_jbig(bytes, page); break;
                }
            }
}

TEST(PageFile, IsDeletedIfWritingFails)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    const pages::Bitmap page = pages::draw_page({pages::Draw::Noise, 1000, 2000, 150, 150, 1});
    pages::PageFileOptions options;
    options.header.HeaderSize = 100;
    EXPECT_EQ(pages::write_page_file(path, page, options), "Header is too large");
    options = {};
    EXPECT_EQ(pages::write_page_file(path + "/none", page, options), "No such file or directory");
    for (const rlim_t bytes :
         {rlim_t{1000}, rlim_t{70000}, rlim_t{4096 + 125 * 2000 - 1}}) { // last: a plain file less one byte
        const FileSizeLimit limit(bytes);
        options.raster = pages::Raster::Plain;
        EXPECT_EQ(pages::write_page_file(path, page, options), "File too large") << bytes;
        EXPECT_FALSE(std::filesystem::exists(path)) << bytes;
    }
    FAXHeader header = pages::usual_header();
    EXPECT_FALSE(pages::set_text(header.Creator, "sixteen letters."));
    EXPECT_FALSE(pages::set_text(header.Creator, "two\nlines"));
    EXPECT_STREQ(header.Creator, "makepage");
}

} // namespace
