// SPDX-License-Identifier: MIT
// Page files with a header, read as images and through the document: intact and damaged files of every image
// class, and other files.
#include "app/group4image.h"
#include "app/jbigimage.h"
#include "app/lumentadoc.h"
#include "app/sqzimage.h"
#include "app/sqznoneimage.h"
#include "pagefile.h"
#include "tests/support/child.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <unistd.h>

namespace
{
using Bytes = std::vector<uint8_t>;
constexpr uint8_t kUntouched = 0xa5;

// Result of a read after the last row. A decoder whose code has an end mark delivers more rows without end.
enum class AtEnd { Fails, Continues };

struct ImageClass {
    const char* name;
    pages::Raster raster;
    std::unique_ptr<Image> (*make)();
    const char* refused;
    const char* invalid;
    const char* read_error;
    AtEnd at_end;
    int min_is_black;
};
template <class T>
std::unique_ptr<Image> Make()
{
    return std::make_unique<T>();
}
const ImageClass kClasses[] = {
    {"Squeeze", pages::Raster::Squeeze, Make<SqzImage>, "Not Squeeze compressed file",
     "Invalid Squeeze object", "Squeeze decode error", AtEnd::Fails, 0},
    {"plain", pages::Raster::Plain, Make<SqzNoneImage>, "Not Squeeze uncompressed file",
     "Invalid Squeeze object", "Squeeze file read error", AtEnd::Fails, 0},
    {"Group 4", pages::Raster::Group4, Make<Group4Image>, "Not CCITT Group 4 compressed file",
     "Invalid CCITT Group 4 object", "CCITT Group 4 decode error", AtEnd::Continues, 0},
    {"JBIG", pages::Raster::Jbig, Make<JBIGImage>, "Not JBIG compressed file", "Invalid JBIG object",
     "JBIG decode error", AtEnd::Continues, 1},
};

// Returns the rows of the page as the class delivers them.
pages::Bitmap AsDelivered(pages::Bitmap page, const ImageClass& one)
{
    if (one.min_is_black)
        for (int y = 0; y < page.height; ++y)
            for (int x = 0; x < page.width; ++x)
                page.row(y)[x / 8] ^= static_cast<uint8_t>(0x80 >> x % 8);
    return page;
}

pages::Bitmap DrawPage(int width, int height)
{
    return pages::draw_page(
        {width < 100 ? pages::Draw::Noise : pages::Draw::Mixed, width, height, 300, 300, 5});
}

void WritePage(const std::string& path, const pages::Bitmap& page, pages::Raster raster,
               const FAXHeader& header = pages::usual_header())
{
    pages::PageFileOptions options;
    options.raster = raster;
    options.header = header;
    ASSERT_EQ(pages::write_page_file(path, page, options), "");
}

// Returns the page file with another value in the line of its header that begins with `key`. The padding
// after the text shrinks or grows, so that the header keeps its size.
std::string WithField(const std::string& file, const std::string& key, const std::string& value)
{
    const size_t at = file.find(key);
    const size_t old_bytes = file.find('\n', at) - at;
    const std::string line = key + " " + value;
    std::string changed = file;
    changed.replace(at, old_bytes, line);
    if (line.size() > old_bytes)
        changed.erase(4096, line.size() - old_bytes);
    else
        changed.insert(4090, old_bytes - line.size(), ' ');
    return changed;
}

TEST(HeaderImage, DeliversEveryRowByEveryMethod)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    for (const ImageClass& one : kClasses)
        for (const int width : {1, 9, 64, 700}) {
            SCOPED_TRACE(testing::Message() << one.name << ", " << width << " wide");
            const int height = 40;
            const pages::Bitmap page = DrawPage(width, height);
            WritePage(path, page, one.raster);
            const pages::Bitmap wanted = AsDelivered(page, one);
            const std::unique_ptr<Image> image = one.make();
            ASSERT_EQ(image->Open(path), 1) << image->ErrorText.c_str();
            const int row_bytes = (width + 7) / 8;
            ASSERT_EQ(image->BytesPerRow, row_bytes);
            ASSERT_EQ(image->Width, width);
            ASSERT_EQ(image->Height, height);
            ASSERT_EQ(image->BitsPerPixel, 1);
            ASSERT_EQ(image->MinIsBlack, one.min_is_black);
            ASSERT_EQ(image->CurrentRow, -1);

            const auto expect_row = [&](const uint8_t* row, int y) {
                ASSERT_EQ(memcmp(row, wanted.row(y), static_cast<size_t>(row_bytes)), 0) << "row " << y;
            };
            Bytes row(static_cast<size_t>(row_bytes));
            for (int pass = 0; pass < 2; ++pass) {
                for (int y = 0; y < height; ++y) {
                    ASSERT_EQ(image->ReadRow(row.data(), row_bytes), 1) << y;
                    ASSERT_EQ(image->CurrentRow, y);
                    expect_row(row.data(), y);
                }
                // The file may have more rows than the header says, so this read asks the decoder.
                ASSERT_EQ(image->ReadRow(row.data(), row_bytes), one.at_end == AtEnd::Continues);
                if (one.at_end == AtEnd::Fails) {
                    ASSERT_STREQ(image->ErrorText.c_str(), one.read_error);
                }
                ASSERT_EQ(image->Rewind(), 1);
            }

            // Reads forward across a gap, back, and to the last row.
            for (const int first : {5, 30, 2, height - 3}) {
                const int count = 3;
                Bytes rows(static_cast<size_t>(row_bytes * count));
                ASSERT_EQ(image->ReadRows(rows.data(), row_bytes, first % 3, count), count);
                ASSERT_EQ(image->ReadRows(rows.data(), row_bytes, first, count), count);
                for (int i = 0; i < count; ++i)
                    expect_row(rows.data() + i * row_bytes, first + i);
            }
            ASSERT_EQ(image->Rewind(), 1);
            while (image->CurrentRow + 3 < height) {
                const int at = image->CurrentRow;
                const int passed = image->SkipRows(2, Image::Skip::anyRows);
                ASSERT_EQ(image->CurrentRow, at + passed);
                ASSERT_EQ(image->ReadRow(row.data(), row_bytes), 1);
                expect_row(row.data(), at + passed + 1);
            }
            ASSERT_EQ(image->Open(path), 1) << "closes the page that was open";
        }
    int still_open = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        still_open += entry.is_symlink() && std::filesystem::read_symlink(entry).string() == path;
    EXPECT_EQ(still_open, 0);
}

TEST(HeaderImage, ClearsTheBytesAfterARow)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    const pages::Bitmap page = DrawPage(70, 4);
    for (const ImageClass& one : kClasses) {
        if (one.raster == pages::Raster::Plain) // another stride would be another page
            continue;
        SCOPED_TRACE(one.name);
        WritePage(path, page, one.raster);
        // The text header of the JBIG page claims a larger width than its stream has.
        if (one.raster == pages::Raster::Jbig)
            scratch.Write("page.fax", WithField(scratch.Read("page.fax"), "/DataWidth", "96"));
        const std::unique_ptr<Image> image = one.make();
        ASSERT_EQ(image->Open(path), 1);
        Bytes rows(4 * 14, kUntouched);
        ASSERT_EQ(image->ReadRows(rows.data(), 14, 0, 4), 4);
        for (int y = 0; y < 4; ++y) {
            EXPECT_EQ(memcmp(rows.data() + y * 14, AsDelivered(page, one).row(y), 9), 0);
            EXPECT_EQ(Bytes(rows.begin() + y * 14 + 9, rows.begin() + y * 14 + 14), Bytes(5, 0));
        }
        // The file is truncated while it is open: the rows are missing, and nothing worse happens.
        std::filesystem::resize_file(path, 4097);
        EXPECT_LT(image->ReadRows(rows.data(), 14, 0, 4), 4);
        EXPECT_STREQ(image->ErrorText.c_str(), one.read_error);
    }
}

TEST(HeaderImage, TakesItsFieldsFromTheHeader)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    const struct {
        int32_t page, layer;
        const char* job;
        uint32_t multiplier, x, y, header_bytes;
        const char* name;
        int32_t x_dpi, y_dpi;
    } cases[] = {
        {7, 2, "X", 1, 300, 600, 4096, "7.M X", 300, 600},
        {12, 0, "Morning News", 10, 12009, 10000, 8192, "12.B Morning News", 1200, 1000},
        {7, 4, "X", 0, 300, 300, 4096, "7.4 X", 0, 0},
        {-3, -1, "X", 1, 0xffffffff, 0, 1024, "-3.-1 X", INT32_MAX, 0},
    };
    for (const auto& one : cases) {
        FAXHeader header = pages::usual_header();
        header.PageNumber = one.page;
        header.Layer = one.layer;
        strcpy(header.JobName, one.job);
        header.ResolutionMultiplier = one.multiplier;
        header.XResolution = one.x;
        header.YResolution = one.y;
        header.HeaderSize = one.header_bytes;
        const pages::Bitmap page = DrawPage(801, 900); // its raster alone exceeds 4096 bytes
        for (const ImageClass& image_class : kClasses) {
            SCOPED_TRACE(testing::Message() << image_class.name << ": " << one.name);
            WritePage(path, page, image_class.raster, header);
            const std::unique_ptr<Image> image = image_class.make();
            ASSERT_EQ(image->Open(path), 1) << image->ErrorText.c_str();
            EXPECT_STREQ(image->Name.c_str(), one.name);
            EXPECT_EQ(image->XDpi, one.x_dpi);
            EXPECT_EQ(image->YDpi, one.y_dpi);
            Bytes row(101);
            ASSERT_EQ(image->ReadRow(row.data(), 101), 1);
            EXPECT_EQ(memcmp(row.data(), AsDelivered(page, image_class).row(0), 101), 0)
                << "the raster was read at the wrong offset";

            EXPECT_EQ(image->Close(), 1);
            EXPECT_EQ(image->Close(), 1);
            EXPECT_TRUE(image->Name.IsEmpty());
            EXPECT_EQ(image->ReadRow(row.data(), 101), 0);
            EXPECT_STREQ(image->ErrorText.c_str(), image_class.invalid);
        }
    }
}

TEST(HeaderImage, RefusesFilesOfOtherClasses)
{
    const ScratchDirectory scratch;
    const std::string good = scratch.File("good.fax");
    for (const ImageClass& one : kClasses) {
        SCOPED_TRACE(one.name);
        const std::unique_ptr<Image> image = one.make();
        EXPECT_EQ(image->Open(scratch.File("nothing")), 0);
        EXPECT_STREQ(image->ErrorText.c_str(), "Open failed");
        EXPECT_EQ(image->Open(scratch.Path()), 0);
        EXPECT_STREQ(image->ErrorText.c_str(), "Open failed");

        WritePage(good, DrawPage(300, 300), one.raster);
        const std::string bytes = scratch.Read("good.fax");
        const std::string refused[] = {
            bytes.substr(0, 4095),
            std::string(5000, '\0'),
            WithField(bytes, "/Compression", "1234"),
            WithField(bytes, "/DataWidth", "2147483640"),
            WithField(bytes, "/ImageHeight", "2147483648"),
            WithField(bytes, "/DataWidth", "x"),
        };
        for (const std::string& text : refused) {
            EXPECT_EQ(image->Open(scratch.Write("bad.fax", text)), 0);
            EXPECT_STREQ(image->ErrorText.c_str(), one.refused);
            EXPECT_EQ(image->IsValid(), 0);
            ASSERT_EQ(image->Open(good), 1); // so that the next Open has a page to close
        }

        // The raster starts far past the end of the file: the file opens, but no pass reads a row.
        for (const char* offset : {"2147483648", "4294967295"}) {
            const std::string far = scratch.Write("far.fax", WithField(bytes, "/HeaderSize", offset));
            if (one.raster == pages::Raster::Jbig) { // its stream starts with a header
                EXPECT_EQ(image->Open(far), 0);
                EXPECT_STREQ(image->ErrorText.c_str(), "Unable to open unsqz");
                continue;
            }
            ASSERT_EQ(image->Open(far), 1);
            for (int pass = 0; pass < 2; ++pass) {
                uint8_t row[38];
                int rows = 0;
                while (rows < 2 && image->ReadRow(row, 38) == 1)
                    ++rows; // the filler may start with a valid code, which makes one row
                EXPECT_LT(rows, 2) << offset;
                EXPECT_STREQ(image->ErrorText.c_str(), one.read_error);
                image->Rewind();
            }
        }

        // A page of width 0 or height 0 opens, but has no row.
        for (const char* key : {"/DataWidth", "/ImageHeight"}) {
            EXPECT_EQ(image->Open(scratch.Write("empty.fax", WithField(bytes, key, "0"))), 1) << key;
            uint8_t row = 0;
            EXPECT_EQ(image->ReadRow(&row, 1), 0);
            EXPECT_STREQ(image->ErrorText.c_str(), one.invalid);
        }
    }

    // There is no memory for the lists of such a wide row, so the decoder is not made.
    WritePage(good, DrawPage(300, 300), pages::Raster::Squeeze);
    SqzImage image;
    EXPECT_EQ(image.Open(
                  scratch.Write("wide.fax", WithField(scratch.Read("good.fax"), "/DataWidth", "2000000000"))),
              0);
    EXPECT_STREQ(image.ErrorText.c_str(), "Unable to open unsqz");
}

TEST(HeaderImage, RefusesReadsWithBadArguments)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    for (const ImageClass& one : kClasses) {
        SCOPED_TRACE(one.name);
        WritePage(path, DrawPage(300, 300), one.raster);
        const std::unique_ptr<Image> image = one.make();
        ASSERT_EQ(image->Open(path), 1);
        Bytes row(38);
        EXPECT_EQ(image->ReadRow(nullptr, 38), 0);
        EXPECT_STREQ(image->ErrorText.c_str(), "Invalid Buffer");
        EXPECT_EQ(image->ReadRow(row.data(), -1), 0);
        EXPECT_EQ(image->ReadRows(row.data(), 38, 0, -1), 0);
        EXPECT_EQ(image->CurrentRow, -1);
        image->CurrentRow = 300;
        EXPECT_EQ(image->ReadRows(row.data(), 38, 0, 1), 0);
        EXPECT_STREQ(image->ErrorText.c_str(), "Past end of image");
    }
    // A raw row is copied whole, so a buffer smaller than a row is refused.
    SqzImage squeeze;
    WritePage(path, DrawPage(300, 300), pages::Raster::Squeeze);
    ASSERT_EQ(squeeze.Open(path), 1);
    Bytes short_row(37);
    EXPECT_EQ(squeeze.ReadRow(short_row.data(), 37), 0);
    EXPECT_STREQ(squeeze.ErrorText.c_str(), "Invalid Buffer");
}

TEST(HeaderImage, DeliversTheGoodRowsOfAPageThatEndsEarly)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    const pages::Bitmap page = DrawPage(300, 300);
    for (const ImageClass& one : kClasses) {
        SCOPED_TRACE(one.name);
        WritePage(path, page, one.raster);
        const auto raster = std::filesystem::file_size(path) - 4096;
        const std::unique_ptr<Image> image = one.make();
        if (one.raster == pages::Raster::Jbig) {
            // A stream without its end mark is refused. A wrong mark in a stripe loses this stripe.
            std::string text = scratch.Read("page.fax");
            EXPECT_EQ(image->Open(scratch.Write("cut.fax", text.substr(0, text.size() - 1))), 0);
            EXPECT_STREQ(image->ErrorText.c_str(), "Unable to open unsqz");
            text.replace(4096 + raster / 2, 2, "\xff\x05");
            scratch.Write("page.fax", text);
        } else {
            std::filesystem::resize_file(path, 4096 + raster / 2);
        }
        ASSERT_EQ(image->Open(path), 1);
        Bytes row(38);
        int rows = 0;
        while (image->ReadRow(row.data(), 38) == 1)
            ++rows;
        EXPECT_STREQ(image->ErrorText.c_str(), one.read_error);
        EXPECT_EQ(image->CurrentRow, rows - 1);
        EXPECT_GT(rows, 20);
        EXPECT_LT(rows, 300);

        EXPECT_EQ(image->Rewind(), 1);
        Bytes all(38 * 300);
        EXPECT_EQ(image->ReadRows(all.data(), 38, 0, 300), rows);
        EXPECT_STREQ(image->ErrorText.c_str(), one.read_error);
        EXPECT_EQ(
            memcmp(all.data(), AsDelivered(page, one).rows.data(), static_cast<size_t>(38 * (rows - 2))), 0);
        // Skipped rows fail in the same way.
        EXPECT_EQ(image->Rewind(), 1);
        image->ErrorText.Empty();
        EXPECT_EQ(image->ReadRows(all.data(), 38, 299, 1), 0);
        EXPECT_STREQ(image->ErrorText.c_str(), one.read_error);

        // The document reports the row once and shows the good rows.
        BoxTexts boxes;
        CLumentaDoc document;
        ASSERT_TRUE(document.OnOpenDocument(path));
        EXPECT_TRUE(document.GetRows(0, 300));
        EXPECT_EQ(boxes.Take(),
                  std::vector<std::string>{"error at line " + std::to_string(rows) + ": " + one.read_error});
    }
}

// A header may claim any size. The page is opened or refused at once, without memory for rows that do not
// exist.
TEST(HeaderImage, AClaimedSizeTakesNoMemory)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.File("page.fax");
    for (const ImageClass& one : kClasses)
        for (const auto& [width, height] : {std::pair{200000000, 2147483639}, {1, 2000000000}}) {
            WritePage(path, DrawPage(300, 300), one.raster);
            const std::string wide = WithField(scratch.Read("page.fax"), "/DataWidth", std::to_string(width));
            scratch.Write("page.fax", WithField(wide, "/ImageHeight", std::to_string(height)));
            SCOPED_TRACE(testing::Message() << one.name << ", " << width << " x " << height);
            EXPECT_EQ(InChild([&path] {
                          const int64_t before = PeakMemory();
                          BoxTexts boxes;
                          CLumentaDoc document;
                          if (document.OnOpenDocument(path) && !document.GetRows(0, 1))
                              return std::string("no rows");
                          const int64_t taken = (PeakMemory() - before) >> 20;
                          return taken < 150 ? std::string() : std::to_string(taken) + " MB";
                      }),
                      "");
        }
}
} // namespace
