// Page files: the header has the requested values, the raster after it is the page, and a file that could not
// be written whole is deleted.

#include "pagefile.h"
#include "tests/support/scratch.h"
#include "tiffout.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{

constexpr int kCompressions[] = {-1, 1000, 2000, 2001}; // in the order of the rasters

std::string contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The tests of the coders cover their streams. A 1 is white in the JBIG raster of a page file.
std::vector<uint8_t> coded(const pages::Bitmap& page, pages::Raster raster)
{
    std::vector<uint8_t> stream;
    switch (raster) {
    case pages::Raster::Plain: return page.rows;
    case pages::Raster::Squeeze: return pages::encode_squeeze(page);
    case pages::Raster::Group4: EXPECT_EQ(pages::encode_group4(page, stream), ""); break;
    case pages::Raster::Jbig:
        return pages::encode_jbig(page, {100, pages::StripeEnd::KeepContexts, pages::JbigOne::White});
    }
    return stream;
}

TEST(PageFile, HasTheHeaderAndThePage)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    const pages::Bitmap page = pages::draw_page({pages::Draw::Sample, 1501, 700, 150, 150, 1});
    for (const pages::RasterName& raster : pages::raster_names())
        for (const uint32_t header_bytes : {600U, 10000U}) {
            SCOPED_TRACE(testing::Message() << raster.name << ", " << header_bytes);
            pages::PageFileOptions options;
            options.raster = raster.raster;
            options.jbig.stripe_rows = 100;
            options.header.HeaderSize = header_bytes;
            ASSERT_TRUE(pages::set_text(options.header.JobName, "Ink and Paper"));
            ASSERT_EQ(pages::write_page_file(path, page, options), "");

            const std::string file = contents(path);
            FAXHeader header{};
            const char* message = nullptr;
            ASSERT_GT(extractFaxHeader(file.data(), header_bytes, &header, &message), 0) << message;
            EXPECT_STREQ(header.JobName, "Ink and Paper");
            EXPECT_EQ(header.ImageHeight, 700U);
            EXPECT_EQ(header.Compression, kCompressions[static_cast<std::size_t>(raster.raster)]);
            const std::vector<uint8_t> bytes(file.begin() + header_bytes, file.end());
            EXPECT_TRUE(bytes == coded(page, raster.raster));
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
