// SPDX-License-Identifier: MIT
// TIFF pages in every kind of strip: whole, cut off and damaged. Good rows are delivered unchanged, and the
// first bad row is reported. Group 4 page files with the same damage.
#include "app/group4image.h"
#include "app/lumentadoc.h"
#include "app/tifimage.h"
#include "pagefile.h"
#include "tests/support/coded_strips.h"
#include "tests/support/from_bits.h"
#include "tests/support/random_page.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstring>
#include <random>

namespace
{
using test_support::StripFormat;
using Bytes = std::vector<uint8_t>;
constexpr auto kBig = HostileTiff::ByteOrder::Big;

constexpr int kWidth = 301;
constexpr int kHeight = 60;

const std::pair<const char*, StripFormat> kVariants[] = {
    {"plain", {COMPRESSION_NONE}},
    {"plain, 7 rows per strip", {COMPRESSION_NONE, 7, 1, 0, 1, kBig}},
    {"plain, 8 bits", {COMPRESSION_NONE, 25, 1, 0, 8}},
    {"Group 4", {COMPRESSION_CCITTFAX4}},
    {"Group 4, last bit first", {COMPRESSION_CCITTFAX4, UINT32_MAX, 2, 0, 1, kBig}},
    {"Group 4, 7 rows per strip", {COMPRESSION_CCITTFAX4, 7}},
    {"Group 4, a strip per row, last bit first", {COMPRESSION_CCITTFAX4, 1, 2}},
    {"Group 3", {COMPRESSION_CCITTFAX3}},
    {"Group 3, last bit first, whole bytes", {COMPRESSION_CCITTFAX3, 7, 2, GROUP3OPT_FILLBITS, 1, kBig}},
    {"Group 3, two dimensions", {COMPRESSION_CCITTFAX3, 25, 1, GROUP3OPT_2DENCODING}},
    {"RLE", {COMPRESSION_CCITTRLE}},
    {"PackBits", {COMPRESSION_PACKBITS, UINT32_MAX, 1, 0, 1, kBig}},
    {"LZW", {COMPRESSION_LZW}},
    {"LZW, 8 bits, 7 rows per strip", {COMPRESSION_LZW, 7, 1, 0, 8, kBig}},
    {"deflate", {COMPRESSION_ADOBE_DEFLATE}},
    {"deflate, 8 bits", {COMPRESSION_ADOBE_DEFLATE, 25, 1, 0, 8}},
};

Bytes DrawRows(int width, int bits)
{
    if (bits == 8)
        return pages::draw_grey_page({pages::Draw::Noise, width, kHeight, 300, 300, 7}).rows;
    std::mt19937 random(3);
    return test_support::RandomPage(random, width, kHeight).rows;
}

struct Outcome {
    int rows = 0;        // delivered before the first failed row
    int suspicious = -1; // SuspiciousRow of the image
    int wrong = -1;      // first delivered row that differs from the page, or -1
    friend bool operator==(const Outcome&, const Outcome&) = default;
};
std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
{
    return out << outcome.rows << " rows, suspicious " << outcome.suspicious << ", wrong " << outcome.wrong;
}

// Reads an open page from its first row to its first failed row.
Outcome ReadRows(Image& image, const Bytes& page)
{
    Outcome outcome;
    const size_t row_bytes = page.size() / static_cast<size_t>(image.Height);
    Bytes row(static_cast<size_t>(image.BytesPerRow));
    image.Rewind();
    for (; outcome.rows < image.Height; ++outcome.rows) {
        std::fill(row.begin(), row.end(), uint8_t{0xa5});
        if (!image.ReadRow(row.data(), image.BytesPerRow))
            break;
        EXPECT_EQ(image.CurrentRow, outcome.rows);
        const bool right =
            memcmp(row.data(), page.data() + static_cast<size_t>(outcome.rows) * row_bytes, row_bytes) == 0 &&
            std::all_of(row.begin() + static_cast<std::ptrdiff_t>(row_bytes), row.end(),
                        [](uint8_t byte) { return byte == 0; });
        if (!right && outcome.wrong < 0)
            outcome.wrong = outcome.rows;
    }
    outcome.suspicious = image.SuspiciousRow;
    return outcome;
}

Outcome ReadFile(const std::string& path, const Bytes& page)
{
    TIFFImage image;
    EXPECT_EQ(image.Open(path), 1) << image.ErrorText.c_str();
    return image.IsValid() ? ReadRows(image, page) : Outcome{};
}

// Expects that the document delivers the rows of the page and zeros after them. One box names the first bad
// row, and the status text has a note.
void ExpectOneBox(const std::string& path, const Bytes& page, const Outcome& outcome)
{
    BoxTexts boxes;
    CLumentaDoc document;
    ASSERT_TRUE(document.OnOpenDocument(path));
    ASSERT_TRUE(document.GetRows(0, kHeight));
    ASSERT_TRUE(document.GetRows(kHeight / 2, kHeight / 2));
    const std::string box = "error at line " + std::to_string(outcome.rows) + ": TIFF read error";
    EXPECT_EQ(boxes.Take(), outcome.rows == kHeight ? std::vector<std::string>{} : std::vector{box});
    std::string note =
        outcome.suspicious < 0 ? "" : "suspicious from line " + std::to_string(outcome.suspicious);
    if (outcome.rows < kHeight)
        note += (note.empty() ? "" : ", ") + std::string("damaged from line ") + std::to_string(outcome.rows);
    EXPECT_EQ(document.GetStatusText(), note);
    const size_t row_bytes = page.size() / kHeight;
    const Bytes zeros(row_bytes);
    for (int y = 0; y < kHeight; ++y)
        EXPECT_TRUE((outcome.wrong >= 0 && y >= outcome.wrong && y < outcome.rows) ||
                    memcmp(document.RowAddress(y),
                           y < outcome.rows ? page.data() + static_cast<size_t>(y) * row_bytes : zeros.data(),
                           row_bytes) == 0)
            << "row " << y;
}

TEST(TIFFRows, EveryVariantIsReadAsWritten)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.tif");
    TIFFImage image; // shared by all cases: each Open closes the page before
    for (const auto& [name, usual_format] : kVariants)
        for (const int width : {1, 7, 8, 31, 40, 1000}) {
            SCOPED_TRACE(testing::Message() << name << ", width " << width);
            StripFormat format = usual_format;
            format.big_file = width % 2 == 0;
            format.photometric = width % 3 == 0;
            const Bytes page = DrawRows(width, format.bits);
            test_support::WriteTiff(path, page, width, kHeight, format);
            ASSERT_EQ(image.Open(path), 1);
            EXPECT_EQ(image.Name, "page");
            EXPECT_EQ(image.Width, width);
            EXPECT_EQ(image.Height, kHeight);
            EXPECT_EQ(image.BitsPerPixel, format.bits);
            EXPECT_EQ(image.BytesPerRow, (width * format.bits + 31) / 32 * 4);
            EXPECT_EQ(image.MinIsBlack, format.photometric);
            for (int pass = 0; pass < 2; ++pass) {
                EXPECT_EQ(ReadRows(image, page), Outcome{kHeight});
                Bytes row(static_cast<size_t>(image.BytesPerRow));
                EXPECT_EQ(image.ReadRow(row.data(), image.BytesPerRow), 0) << "a row after the last row";
                EXPECT_EQ(image.CurrentRow, kHeight);
            }
        }
}

TEST(TIFFRows, EveryCutKeepsTheRowsBeforeIt)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.tif");
    for (const auto& [name, format] : kVariants) {
        const bool group4 = format.compression == COMPRESSION_CCITTFAX4;
        const Bytes page = DrawRows(kWidth, format.bits);
        const auto row_bytes = static_cast<std::ptrdiff_t>(page.size() / kHeight);
        const int strip_rows = static_cast<int>(std::min<uint32_t>(format.rows_per_strip, kHeight));
        const std::vector<std::string> strips = test_support::CodeStrips(page, kWidth, kHeight, format);
        const std::string whole = test_support::TiffOf(strips, kWidth, kHeight, format).Bytes();
        size_t cut = whole.size(); // offset of the strip in the file
        for (const std::string& strip : strips)
            cut -= strip.size();

        int cuts = 0;
        int first = 0; // first row of the strip
        for (const std::string& strip : strips) {
            const int rows = std::min(strip_rows, kHeight - first);
            std::vector<size_t> bits;
            if (group4) {
                pages::Bitmap part(kWidth, rows);
                std::copy_n(page.begin() + first * row_bytes, part.rows.size(), part.rows.begin());
                bits = test_support::Group4Bits(part);
            }
            for (size_t there = 0; there < strip.size(); there += group4 ? 5 : 17) {
                SCOPED_TRACE(testing::Message() << name << ", strip at row " << first << " cut at " << there
                                                << " of " << strip.size());
                std::filesystem::remove(path); // faster than overwriting it
                scratch.Write("page.tif", whole.substr(0, cut + there));
                const Outcome outcome = ReadFile(path, page);
                if (group4) {
                    const auto complete =
                        std::upper_bound(bits.begin(), bits.end(), there * 8) - bits.begin();
                    ASSERT_EQ(outcome, Outcome{first + static_cast<int>(complete) - 1});
                } else if (format.compression == COMPRESSION_NONE) {
                    ASSERT_EQ(outcome,
                              Outcome{first + static_cast<int>(there) / static_cast<int>(row_bytes)});
                } else { // the end of each row is unknown
                    ASSERT_GE(
                        outcome.rows,
                        first + rows * static_cast<int>(there) / static_cast<int>(strip.size()) * 3 / 4 - 6);
                    ASSERT_LE(outcome.rows, first + rows);
                    // A decoder of a fax code may deliver the row with the cut and mark it as suspicious.
                    ASSERT_TRUE(outcome.wrong < 0 || outcome.wrong == outcome.suspicious) << outcome;
                    ASSERT_TRUE(outcome.suspicious < 0 || outcome.suspicious >= outcome.rows - 2) << outcome;
                }
                if (cuts++ % 53 == 0)
                    ExpectOneBox(path, page, outcome);
                if (HasFailure())
                    return;
            }
            cut += strip.size();
            first += rows;
        }
    }
}

TEST(TIFFRows, Group4DamageIsReportedAtItsRow)
{
    // The pages are 8 pixels wide. kRow has three black pixels in the middle, kSame repeats the row above.
    const std::string kRow = "001 1000 10 1 ";
    const std::string kSame = "111 ";
    const uint8_t kBlack = 0x1c;
    struct {
        const char* name;
        std::vector<std::string> strips; // bits
        int rows_per_strip;
        Bytes page;
        Outcome want;
    } const cases[] = {
        {"sound", {kRow + kSame + "end end"}, 3, {kBlack, kBlack}, {2}},
        {"no end code", {kRow + kSame + kSame}, 3, {kBlack, kBlack, kBlack}, {3}},
        {"an end code before the last row", {kRow + "end end"}, 4, {kBlack, 0, 0, 0}, {4}},
        {"half an end code before the last row", {kRow + "end 0000"}, 3, {kBlack, 0, 0}, {1}},
        {"an end code in a row", {kRow + "1 end end"}, 3, {kBlack, 0, 0}, {1}},
        {"an end code in the first row", {"end end"}, 3, {0, 0, 0}, {0}},
        {"zeros that end in the filler", {kRow + "00000 00000000"}, 3, {kBlack, 0, 0}, {1}},
        {"uncompressed mode", {kRow + "0000001111 01010101"}, 3, {kBlack, 0, 0}, {1}},
        {"an invalid run code", {kRow + "001 000000001111"}, 3, {kBlack, 0, 0}, {1}},
        {"a transition to the left of the one before",
         {"001 0111 011 1 0000011 0000010 1 1"},
         3,
         {0x3c, 0, 0},
         {1}},
        {"a run past the width",
         {kRow + "001 1000 0000001111 0000110111 1 1"},
         3,
         {kBlack, 0x1f, 0x1f},
         {3, 1}},
        {"the next strip is sound", {"0000001111", kRow}, 1, {0, kBlack}, {0}},
        {"an empty strip", {kRow, "", kRow}, 1, {kBlack, 0, kBlack}, {1}},
    };
    const ScratchDirectory scratch;
    StripFormat format;
    format.compression = COMPRESSION_CCITTFAX4;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<std::string> strips;
        for (const std::string& bits : c.strips) {
            const Bytes strip = test_support::FromBits(bits);
            strips.emplace_back(strip.begin(), strip.end());
        }
        format.rows_per_strip = static_cast<uint32_t>(c.rows_per_strip);
        const auto height = static_cast<int>(c.page.size());
        const std::string path =
            scratch.Write("page.tif", test_support::TiffOf(strips, 8, height, format).Bytes());
        EXPECT_EQ(ReadFile(path, c.page), c.want);

        // After damage, the other rows of the same strip fail too, but the next strip is read.
        TIFFImage image;
        ASSERT_EQ(image.Open(path), 1);
        for (int y = 0; y < height; ++y) {
            uint8_t row[4] = {};
            const bool same_strip = c.want.rows / c.rows_per_strip == y / c.rows_per_strip;
            const bool empty = c.strips[static_cast<size_t>(y / c.rows_per_strip)].empty();
            EXPECT_EQ(image.ReadRow(row, 4), y < c.want.rows || (!same_strip && !empty)) << y;
        }
    }
}

// A file of a few bytes can claim two billion rows.
TEST(TIFFRows, WhiteRowsAfterTheEndOfAGroup4StripAreSkippedAtOnce)
{
    constexpr int kStripRows = 0x50000000;
    const StripFormat format{COMPRESSION_CCITTFAX4, kStripRows};
    const Bytes bits = test_support::FromBits("001 1000 10 1 end end");
    const std::string strip(bits.begin(), bits.end());
    const ScratchDirectory scratch;
    const std::string path =
        scratch.Write("page.tif", test_support::TiffOf({strip, strip}, 8, 0x7ffffff0, format).Bytes());
    TIFFImage image;
    EXPECT_EQ(image.SkipRows(1, Image::Skip::anyRows), 0) << "the image is closed";
    ASSERT_EQ(image.Open(path), 1);
    uint8_t row[4];
    for (const int strip_rows : {kStripRows, 0x7ffffff0 - kStripRows}) {
        EXPECT_EQ(image.SkipRows(1, Image::Skip::anyRows), 0) << "the end code is not read yet";
        EXPECT_EQ(image.ReadRow(row, 4), 1);
        EXPECT_EQ(row[0], 0x1c);
        EXPECT_EQ(image.ReadRow(row, 4), 1);
        EXPECT_EQ(row[0], 0);
        EXPECT_EQ(image.SkipRows(5, Image::Skip::zeroRows), 5);
        EXPECT_EQ(image.ReadRow(row, 4), 1);
        EXPECT_EQ(row[0], 0);
        EXPECT_EQ(image.SkipRows(INT32_MAX, Image::Skip::zeroRows), strip_rows - 8);
    }
    EXPECT_EQ(image.CurrentRow, 0x7ffffff0 - 1);
    EXPECT_EQ(image.SkipRows(1, Image::Skip::anyRows), 0) << "the end of the page";
}

// Offsets and sizes of Group 4 strips that no program writes.
TEST(TIFFRows, Group4StripsMayHaveBadOffsetsAndSizes)
{
    const ScratchDirectory scratch;
    const Bytes page = DrawRows(kWidth, 1);
    StripFormat format;
    format.compression = COMPRESSION_CCITTFAX4;
    format.rows_per_strip = 20;
    const std::vector<std::string> strips = test_support::CodeStrips(page, kWidth, kHeight, format);
    using Offsets = std::vector<uint32_t>;
    const auto moved = [&](const std::function<void(Offsets&)>& move) {
        HostileTiff file = test_support::TiffOf(strips, kWidth, kHeight, format);
        file.MoveStrips(move);
        return file;
    };
    const auto counted = [&](uint16_t tag, const std::vector<uint32_t>& counts) {
        HostileTiff file = test_support::TiffOf(strips, kWidth, kHeight, format);
        file.Set(tag, HostileTiff::kLong, counts);
        return file;
    };
    const StripFormat in_one{COMPRESSION_CCITTFAX4};
    HostileTiff one = test_support::TiffOf(test_support::CodeStrips(page, kWidth, kHeight, in_one), kWidth,
                                           kHeight, in_one);
    one.SetLong(tag::kStripByteCounts, 0);
    HostileTiff many = counted(tag::kRowsPerStrip, {1});
    many.SetLong(tag::kHeight, 1000);
    const struct {
        const char* name;
        HostileTiff file;
        int least, most; // rows before the first failed or wrong row
    } cases[] = {
        {"no size of the only strip", one, kHeight, kHeight},
        {"no sizes", counted(tag::kStripByteCounts, {0, 0, 0}), 0, 0},
        {"sizes past the end of the file",
         counted(tag::kStripByteCounts, {0x7fffffff, 0xffffffff, 0xffffffff}), kHeight, kHeight},
        {"one size too small", counted(tag::kStripByteCounts, {0xffff, 10, 0xffff}), 20, 24},
        {"offset 0", moved([](Offsets& at) { at[1] = 0; }), 20, 20},
        {"offset into the directory", moved([](Offsets& at) { at[1] = 8; }), 20, 25},
        {"offset past the end", moved([](Offsets& at) { at[1] = 0xfffffff0; }), 20, 20},
        {"overlapping strips", moved([](Offsets& at) { at[1] = at[0] + 1; }), 20, 25},
        {"fewer strips than rows", many, 1, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TIFFImage image;
        ASSERT_EQ(image.Open(scratch.Write("page.tif", c.file.Bytes())), 1);
        image.Height = kHeight;
        const Outcome outcome = ReadRows(image, page);
        const int good = outcome.wrong < 0 ? outcome.rows : outcome.wrong;
        EXPECT_TRUE(good >= c.least && good <= c.most) << outcome;
    }
}

// Rows of strips read before the change are kept. The other rows depend on the changed file.
TEST(TIFFRows, AFileMayChangeWhileItIsOpen)
{
    const ScratchDirectory scratch;
    const Bytes page = DrawRows(kWidth, 1);
    for (const uint16_t compression : {COMPRESSION_CCITTFAX4, COMPRESSION_NONE}) {
        const StripFormat format{compression, 20};
        const std::vector<std::string> strips = test_support::CodeStrips(page, kWidth, kHeight, format);
        const std::string whole = test_support::TiffOf(strips, kWidth, kHeight, format).Bytes();
        const size_t last = whole.size() - strips[2].size();
        const auto change = [&](size_t before, size_t after) {
            const std::string path = scratch.Write("page.tif", whole.substr(0, before));
            TIFFImage image;
            EXPECT_EQ(image.Open(path), 1);
            Bytes rows(static_cast<size_t>(image.BytesPerRow) * kHeight);
            const int got = image.ReadRows(rows.data(), image.BytesPerRow, 0, 20);
            scratch.Write("page.tif", whole.substr(0, after));
            return got + image.ReadRows(rows.data(), image.BytesPerRow, got, kHeight - got);
        };
        EXPECT_EQ(change(whole.size(), last), 40);
        EXPECT_EQ(change(whole.size(), 0), 20);
        EXPECT_EQ(change(last, whole.size()), compression == COMPRESSION_NONE ? 40 : kHeight);
    }
}

TEST(TIFFRows, RowsAreDeliveredForwardAndBackward)
{
    struct {
        int first, count, want, row_after;
    } const requests[] = {
        {0, 3, 3, 2}, {5, 2, 2, 6},   {2, 3, 3, 4},   {56, 10, 4, 60},
        {3, 0, 0, 2}, {61, 2, 0, 60}, {16, 2, 2, 17},
    };
    const ScratchDirectory scratch;
    const Bytes page = DrawRows(kWidth, 1);
    for (const uint16_t compression : {COMPRESSION_CCITTFAX4, COMPRESSION_NONE}) {
        test_support::WriteTiff(scratch.File("page.tif"), page, kWidth, kHeight, {compression, 7});
        TIFFImage image;
        ASSERT_EQ(image.Open(scratch.File("page.tif")), 1);
        constexpr size_t kStride = 42; // more than a row of 40
        for (const auto& c : requests) {
            SCOPED_TRACE(testing::Message() << c.first << ", " << c.count);
            Bytes rows(kStride * kHeight, 0xa5);
            EXPECT_EQ(image.ReadRows(rows.data(), kStride, c.first, c.count), c.want);
            EXPECT_EQ(image.CurrentRow, c.row_after);
            for (int i = 0; i < c.want; ++i) {
                const uint8_t* const row = rows.data() + static_cast<size_t>(i) * kStride;
                EXPECT_EQ(memcmp(row, page.data() + (c.first + i) * ((kWidth + 7) / 8), (kWidth + 7) / 8), 0)
                    << i;
                EXPECT_EQ(row[40], 0xa5);
            }
        }
    }
}

// Strips above libtiff's limit for a single allocation.
TEST(TIFFRows, LargeStripsAreRead)
{
    const ScratchDirectory scratch;
    constexpr uint32_t kStripBytes = 70 << 20;
    HostileTiff file{80 << 10, 14 << 10, 7 << 10, std::vector<std::string>(2)};
    file.Set(tag::kStripOffsets, HostileTiff::kLong, {1000, 1000 + kStripBytes});
    file.Set(tag::kStripByteCounts, HostileTiff::kLong, {kStripBytes, kStripBytes});
    const std::string path = scratch.Write("page.tif", file.Bytes());
    std::filesystem::resize_file(path, 1000 + 2 * kStripBytes);
    TIFFImage image;
    ASSERT_EQ(image.Open(path), 1);
    Bytes row(static_cast<size_t>(image.BytesPerRow));
    EXPECT_EQ(image.ReadRow(row.data(), image.BytesPerRow), 1);
}

// After damage in Group 3 data libtiff continues at the next line. All rows are delivered, and the first
// wrong row is marked as suspicious.
TEST(TIFFRows, Group3DamageIsNoted)
{
    const ScratchDirectory scratch;
    const Bytes page = DrawRows(kWidth, 1);
    const StripFormat format{COMPRESSION_CCITTFAX3};
    std::vector<std::string> strips = test_support::CodeStrips(page, kWidth, kHeight, format);
    for (const size_t at : {strips[0].size() / 2, strips[0].size() / 2 + 1})
        strips[0][at] = static_cast<char>(strips[0][at] ^ 0x5a);
    const std::string path =
        scratch.Write("page.tif", test_support::TiffOf(strips, kWidth, kHeight, format).Bytes());
    const Outcome outcome = ReadFile(path, page);
    EXPECT_EQ(outcome.rows, kHeight);
    EXPECT_GE(outcome.wrong, 20);
    EXPECT_EQ(outcome.suspicious, outcome.wrong);
    ExpectOneBox(path, page, outcome);
}

// Each of 400 copies of a page of text has one changed byte. Most of these changes must be detected.
TEST(TIFFRows, MostChangedBytesAreDetected)
{
    constexpr int kCopies = 400;
    constexpr int kSide = 1200;
    const ScratchDirectory scratch;
    const pages::Bitmap page = pages::draw_page({pages::Draw::Text, kSide, kSide, 150, 150, 2});
    const StripFormat format{COMPRESSION_CCITTFAX4};
    const std::string tiff =
        test_support::TiffOf(test_support::CodeStrips(page.rows, kSide, kSide, format), kSide, kSide, format)
            .Bytes();
    pages::PageFileOptions options;
    options.raster = pages::Raster::Group4;
    ASSERT_EQ(pages::write_page_file(scratch.File("page.fax"), page, options), "");
    const std::string fax = scratch.Read("page.fax");

    const auto noticed = [&](Image& image, const std::string& whole, size_t first_byte) {
        std::mt19937 random(8);
        int count = 0;
        for (int copy = 0; copy < kCopies; ++copy) {
            std::string changed = whole;
            char& byte = changed[first_byte + random() % (whole.size() - first_byte)];
            byte = static_cast<char>(byte ^ (1 + random() % 255));
            std::filesystem::remove(scratch.File("changed"));
            if (!image.Open(scratch.Write("changed", changed)))
                return 0;
            const Outcome outcome = ReadRows(image, page.rows);
            count += outcome.rows < kSide || outcome.suspicious >= 0;
        }
        return count;
    };
    TIFFImage tiff_image;
    Group4Image fax_image;
    EXPECT_GE(noticed(tiff_image, tiff, tiff.size() - (fax.size() - 4096)), 375);
    EXPECT_GE(noticed(fax_image, fax, 4096), 375);
}
} // namespace
