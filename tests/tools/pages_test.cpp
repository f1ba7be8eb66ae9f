// The pages that other tests and the benchmarks use. They are the same each time, each kind has the expected
// amount of ink, and TIFF files return them bit for bit.

#include "pagein.h"
#include "pages.h"
#include "tiffout.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace
{

using pages::Draw;

int64_t black_pixels(const pages::Bitmap& page)
{
    int64_t black = 0;
    for (const uint8_t byte : page.rows)
        black += std::popcount(byte);
    return black;
}

struct KindCase {
    Draw draw;
    double least, most; // limits of the black share of a page of 850 x 1100 px at 100 dpi
};
constexpr KindCase kKinds[] = {
    {Draw::Text, 0.04, 0.20},      {Draw::Halftone, 0.25, 0.75}, {Draw::Mixed, 0.08, 0.35},
    {Draw::Blank, 0.00005, 0.005}, {Draw::Line, 0.02, 0.25},     {Draw::Noise, 0.49, 0.51},
    {Draw::Sample, 0.08, 0.40},
};

TEST(Pages, EveryKindHasItsInkAndIsTheSameEachTime)
{
    ASSERT_EQ(std::size(kKinds), pages::draw_names().size());
    for (const KindCase& c : kKinds) {
        SCOPED_TRACE(pages::draw_names()[static_cast<std::size_t>(c.draw)].name);
        const pages::PageOptions options{c.draw, 850, 1100, 100, 100, 1};
        const pages::Bitmap page = pages::draw_page(options);
        const pages::GreyMap grey = pages::draw_grey_page(options);
        EXPECT_TRUE(pages::draw_page(options).rows == page.rows);
        EXPECT_TRUE(pages::draw_grey_page(options).rows == grey.rows);
        const double part = static_cast<double>(black_pixels(page)) / (850.0 * 1100.0);
        EXPECT_GE(part, c.least);
        EXPECT_LE(part, c.most);
        double grey_ink = 0;
        for (const uint8_t value : grey.rows)
            grey_ink += 255 - value;
        EXPECT_NEAR(grey_ink / 255.0 / (850.0 * 1100.0), part, 0.06); // the same page, screened or not

        pages::PageOptions other = options;
        other.seed = 2;
        EXPECT_EQ(pages::draw_page(other).rows == page.rows,
                  c.draw == Draw::Halftone || c.draw == Draw::Sample);
    }
}

// The sample was drawn and coded before, on another machine. It has text, a picture, circles and a border.
TEST(Pages, TheSampleIsTheSameOnEveryMachine)
{
    pages::PageIn in;
    ASSERT_EQ(pages::read_page(LUMENTA_SAMPLES "/sample.tif", in), "");
    const pages::Bitmap page = pages::draw_page({Draw::Sample, 2480, 3508, 300, 300, 1});
    EXPECT_EQ(in.page.width, page.width);
    EXPECT_EQ(in.page.height, page.height);
    EXPECT_TRUE(in.page.rows == page.rows);
}

// Sides too small for a byte, a margin or a letter, and resolutions that do not suit the page's size.
TEST(Pages, BitsAfterTheWidthAreWhiteAtEverySize)
{
    constexpr struct {
        int width, height, dpi_x, dpi_y;
    } kSizes[] = {{1, 1, 300, 300},    {1, 90, 9600, 9600}, {90, 1, 1, 9600},  {7, 13, 72, 72},
                  {63, 65, 4800, 100}, {333, 211, 204, 98}, {1001, 77, 20, 1}, {129, 700, 300, 600}};
    for (const auto& size : kSizes)
        for (const pages::DrawName& kind : pages::draw_names()) {
            SCOPED_TRACE(testing::Message() << kind.name << " " << size.width << "x" << size.height);
            const pages::PageOptions options{kind.draw, size.width, size.height, size.dpi_x, size.dpi_y, 1};
            const pages::Bitmap page = pages::draw_page(options);
            ASSERT_EQ(page.row_bytes, static_cast<std::size_t>(size.width + 7) / 8);
            const int unused = static_cast<int>(page.row_bytes) * 8 - size.width;
            int stray = 0;
            for (int y = 0; y < page.height; ++y)
                stray |= page.row(y)[page.row_bytes - 1] & ((1 << unused) - 1);
            EXPECT_EQ(stray, 0);
            EXPECT_EQ(pages::draw_grey_page(options).rows.size(),
                      static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height));
        }
}

class TiffFile : public testing::Test
{
protected:
    std::string path_ = testing::TempDir() + "pages_test_" +
                        testing::UnitTest::GetInstance()->current_test_info()->name() + ".tif";
    void TearDown() override { std::filesystem::remove(path_); }

    // Returns all rows as the file has them, and compares the tags with `options`.
    std::vector<uint8_t> read_back(int width, int height, int bits, const pages::TiffOptions& options)
    {
        std::vector<uint8_t> rows;
        TIFF* const file = TIFFOpen(path_.c_str(), "rc"); // c: libtiff does not split a long strip
        if (file == nullptr)
            return rows;
        const auto tag = [file](uint32_t which) {
            uint32_t value = 0;
            TIFFGetFieldDefaulted(file, which, &value);
            return value;
        };
        const auto short_tag = [file](uint32_t which) {
            uint16_t value = 0;
            TIFFGetFieldDefaulted(file, which, &value);
            return int{value};
        };
        EXPECT_EQ(tag(TIFFTAG_IMAGEWIDTH), static_cast<uint32_t>(width));
        EXPECT_EQ(tag(TIFFTAG_IMAGELENGTH), static_cast<uint32_t>(height));
        EXPECT_EQ(tag(TIFFTAG_ROWSPERSTRIP),
                  options.rows_per_strip == 0 ? static_cast<uint32_t>(height) : options.rows_per_strip);
        EXPECT_EQ(short_tag(TIFFTAG_BITSPERSAMPLE), bits);
        EXPECT_EQ(short_tag(TIFFTAG_SAMPLESPERPIXEL), 1);
        EXPECT_EQ(short_tag(TIFFTAG_PHOTOMETRIC), options.photometric == pages::Photometric::MinIsWhite
                                                      ? PHOTOMETRIC_MINISWHITE
                                                      : PHOTOMETRIC_MINISBLACK);
        float across = 0, down = 0;
        EXPECT_EQ(TIFFGetField(file, TIFFTAG_XRESOLUTION, &across), options.dpi_x > 0 ? 1 : 0);
        EXPECT_EQ(TIFFGetField(file, TIFFTAG_YRESOLUTION, &down), options.dpi_x > 0 ? 1 : 0);
        EXPECT_EQ(across, static_cast<float>(options.dpi_x));
        EXPECT_EQ(down, static_cast<float>(options.dpi_y));
        const char* name = nullptr;
        TIFFGetField(file, TIFFTAG_DOCUMENTNAME, &name);
        EXPECT_EQ(std::string(name == nullptr ? "" : name), options.document_name);
        const auto row_bytes = static_cast<std::size_t>(TIFFScanlineSize(file));
        rows.resize(row_bytes * static_cast<std::size_t>(height));
        for (int y = 0; y < height; ++y)
            EXPECT_EQ(TIFFReadScanline(file, rows.data() + static_cast<std::size_t>(y) * row_bytes,
                                       static_cast<uint32_t>(y)),
                      1);
        TIFFClose(file);
        return rows;
    }
};

TEST_F(TiffFile, ReadsBackAsDrawn)
{
    constexpr int kWidth = 333, kHeight = 211; // 333 = 41 * 8 + 5
    const pages::PageOptions drawn{Draw::Mixed, kWidth, kHeight, 72, 72, 1};
    const pages::Bitmap page = pages::draw_page(drawn);
    const pages::GreyMap grey = pages::draw_grey_page(drawn);
    for (const pages::CompressionName& compression : pages::compression_names())
        for (const auto photometric : {pages::Photometric::MinIsWhite, pages::Photometric::MinIsBlack})
            for (const uint32_t rows_per_strip : {0U, 1U, 50U, 4294967295U})
                for (const int bits : {1, 8}) {
                    SCOPED_TRACE(testing::Message()
                                 << compression.name << ", strips of " << rows_per_strip << ", " << bits
                                 << " bits, black is "
                                 << (photometric == pages::Photometric::MinIsWhite ? 1 : 0));
                    const bool with_tags = rows_per_strip != 1;
                    const pages::TiffOptions options{photometric,        compression.compression,
                                                     rows_per_strip,     with_tags ? 204 : 0,
                                                     with_tags ? 98 : 0, with_tags ? "page 7" : ""};
                    const std::string error = bits == 1 ? pages::write_tiff(path_, page, options)
                                                        : pages::write_tiff(path_, grey, options);
                    if (bits == 8 && (compression.compression == pages::Compression::Group3 ||
                                      compression.compression == pages::Compression::Group4)) {
                        EXPECT_NE(error, "");
                        continue;
                    }
                    ASSERT_EQ(error, "");
                    std::vector<uint8_t> rows = read_back(kWidth, kHeight, bits, options);
                    const bool complement = (photometric == pages::Photometric::MinIsWhite) != (bits == 1);
                    if (complement)
                        for (uint8_t& byte : rows)
                            byte = static_cast<uint8_t>(~byte);
                    if (bits == 1)
                        for (std::size_t i = page.row_bytes - 1; i < rows.size(); i += page.row_bytes)
                            rows[i] &= 0xf8; // 5 pixels in the last byte
                    EXPECT_TRUE(rows == (bits == 1 ? page.rows : grey.rows));
                }
}

TEST_F(TiffFile, IsTheSameEachTimeAndFailuresAreReported)
{
    const pages::Bitmap page = pages::draw_page({Draw::Text, 640, 480, 100, 100, 1});
    pages::TiffOptions options;
    options.compression = pages::Compression::Group4;
    std::string contents[2];
    for (std::string& content : contents) {
        ASSERT_EQ(pages::write_tiff(path_, page, options), "");
        std::ifstream file(path_, std::ios::binary);
        content.assign(std::istreambuf_iterator<char>(file), {});
    }
    EXPECT_EQ(contents[0], contents[1]);
    EXPECT_EQ(contents[0].substr(0, 4), std::string("II*\0", 4));
    EXPECT_NE(pages::write_tiff(path_ + "/no/such/directory", page, options), "");
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_NE(pages::write_tiff("/dev/full", page, options), "");
        EXPECT_TRUE(std::filesystem::exists("/dev/full"));
    }
}

} // namespace
