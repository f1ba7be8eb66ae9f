// TIFF pages: sound ones of every shape row by row, and damaged ones through the document, each in a process
// of its own whose peak memory is looked at.
#include "app/lumentadoc.h"
#include "app/tifimage.h"
#include "tests/support/child.h"
#include "tests/support/fake_image.h"
#include "tests/support/hostile_tiff.h"
#include "tests/support/scratch.h"
#include "tools/pages.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr uint8_t kUntouched = 0xa5;

void WriteTiff(const std::string& path, const char* mode, int width, int height, int bits, int photometric,
               int compression, int rows_per_strip, const std::vector<uint8_t>& samples)
{
    TIFF* const file = TIFFOpen(path.c_str(), mode);
    ASSERT_NE(file, nullptr);
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(file, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, rows_per_strip);
    std::vector<uint8_t> row(static_cast<size_t>(TIFFScanlineSize(file)));
    for (int y = 0; y < height; ++y) {
        std::fill(row.begin(), row.end(), uint8_t{0});
        for (int x = 0; x < width; ++x) {
            const uint8_t sample =
                samples[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
            if (bits == 8)
                row[static_cast<size_t>(x)] = sample;
            else
                row[static_cast<size_t>(x / 8)] |= static_cast<uint8_t>(sample << (7 - x % 8));
        }
        ASSERT_EQ(TIFFWriteScanline(file, row.data(), static_cast<uint32_t>(y), 0), 1);
    }
    TIFFClose(file);
}

std::vector<uint8_t> NoiseSamples(int width, int height, int bits)
{
    const pages::GreyMap noise = pages::draw_grey_page({pages::Draw::Noise, width, height, 300, 300, 7});
    std::vector<uint8_t> samples = noise.rows;
    if (bits == 1)
        for (uint8_t& sample : samples)
            sample &= 1;
    return samples;
}

// Reads the next row and compares it with the samples; what is behind it must be zero, and behind the buffer
// untouched.
void ExpectNextRow(TIFFImage& page, int y, const std::vector<uint8_t>& samples)
{
    SCOPED_TRACE(testing::Message() << "row " << y);
    const size_t row_bytes = static_cast<size_t>(page.BytesPerRow);
    std::vector<uint8_t> row(row_bytes + 4, kUntouched);
    ASSERT_EQ(page.ReadRow(row.data(), page.BytesPerRow), 1) << page.ErrorText.c_str();
    ASSERT_EQ(page.CurrentRow, y);
    const int bits = page.BitsPerPixel;
    int differing = 0;
    for (int x = 0; x < page.Width; ++x) {
        const uint8_t got =
            bits == 8 ? row[static_cast<size_t>(x)] : row[static_cast<size_t>(x / 8)] >> (7 - x % 8) & 1;
        differing +=
            got != samples[static_cast<size_t>(y) * static_cast<size_t>(page.Width) + static_cast<size_t>(x)];
    }
    EXPECT_EQ(differing, 0);
    for (size_t i = static_cast<size_t>(page.Width * bits + 7) / 8; i < row_bytes; ++i)
        EXPECT_EQ(row[i], 0) << "byte " << i;
    for (size_t i = row_bytes; i < row.size(); ++i)
        EXPECT_EQ(row[i], kUntouched);
}

struct FormCase {
    const char* mode; // byte order, and 8 for the large form
    int bits;
    int photometric;
    int compression;
    int rows_per_strip;
};
constexpr FormCase kForms[] = {
    {"wl", 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_NONE, 100},
    {"wl", 1, PHOTOMETRIC_MINISBLACK, COMPRESSION_CCITTFAX4, 5},
    {"wb", 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_CCITTFAX3, 3},
    {"wb8", 1, PHOTOMETRIC_MINISBLACK, COMPRESSION_PACKBITS, 1},
    {"wl8", 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_CCITTFAX4, 100},
    {"wl", 8, PHOTOMETRIC_MINISBLACK, COMPRESSION_NONE, 4},
    {"wb", 8, PHOTOMETRIC_MINISWHITE, COMPRESSION_LZW, 100},
    {"wb8", 8, PHOTOMETRIC_MINISBLACK, COMPRESSION_PACKBITS, 1},
};

TEST(TIFFImage, EveryFormGivesThePageThatWasWrittenTwice)
{
    const ScratchDirectory scratch;
    constexpr int kHeight = 12;
    TIFFImage page; // one for all: each open ends the page before
    for (const FormCase& c : kForms)
        for (const int width : {1, 7, 8, 31, 32, 33, 1000}) {
            SCOPED_TRACE(testing::Message()
                         << c.mode << ", " << c.bits << " bits, photometric " << c.photometric
                         << ", compression " << c.compression << ", width " << width);
            const std::vector<uint8_t> samples = NoiseSamples(width, kHeight, c.bits);
            const std::string path = scratch.File("page.tif");
            WriteTiff(path, c.mode, width, kHeight, c.bits, c.photometric, c.compression, c.rows_per_strip,
                      samples);
            ASSERT_EQ(page.Open(path), 1);
            EXPECT_EQ(page.Path, path);
            EXPECT_EQ(page.Name, "page");
            EXPECT_EQ(page.Width, width);
            EXPECT_EQ(page.Height, kHeight);
            EXPECT_EQ(page.BitsPerPixel, c.bits);
            EXPECT_EQ(page.BytesPerRow, (width * c.bits + 31) / 32 * 4);
            EXPECT_EQ(page.MinIsBlack, c.photometric == PHOTOMETRIC_MINISBLACK ? 1 : 0);
            EXPECT_EQ(page.IsValid(), 1);
            for (int run = 0; run < 2; ++run) {
                EXPECT_EQ(page.CurrentRow, -1);
                for (int y = 0; y < kHeight; ++y)
                    ExpectNextRow(page, y, samples);
                EXPECT_EQ(page.Rewind(), 1);
            }
        }
}

constexpr uint16_t kFloat = 11;

struct ResolutionCase {
    const char* name;
    int unit; // 0: no tag
    uint16_t type;
    std::vector<uint32_t> x, y; // empty: no tag
    int want_x, want_y;
};

TEST(TIFFImage, ResolutionsAreWholeDotsPerInch)
{
    const auto bits = [](float value) { return std::bit_cast<uint32_t>(value); };
    const uint16_t kRational = HostileTiff::kRational;
    const ResolutionCase cases[] = {
        {"inches", 2, kRational, {300, 1}, {150, 1}, 300, 150},
        {"centimetres", 3, kRational, {120, 1}, {1200, 10}, 304, 304},
        {"no unit counts as inches", 0, kRational, {204, 1}, {196, 1}, 204, 196},
        {"cut, not rounded", 2, kRational, {29999, 100}, {1, 3}, 299, 0},
        {"one missing", 2, kRational, {300, 1}, {}, 300, 0},
        {"none", 2, kRational, {}, {}, 0, 0},
        {"nothing by nothing", 2, kRational, {0, 0}, {5, 0}, 0, 0},
        {"no number, negative", 2, kFloat, {bits(NAN)}, {bits(-300)}, 0, 0},
        {"huge", 2, kFloat, {bits(3e9F)}, {bits(INFINITY)}, 0x7fffffff, 0x7fffffff},
        {"huge in centimetres", 3, kFloat, {bits(1e9F)}, {bits(-INFINITY)}, 0x7fffffff, 0},
    };
    const ScratchDirectory scratch;
    for (const ResolutionCase& c : cases) {
        SCOPED_TRACE(c.name);
        HostileTiff file{8, 1, 1};
        if (c.unit)
            file.Set(tag::kResolutionUnit, HostileTiff::kShort, {static_cast<uint32_t>(c.unit)});
        if (!c.x.empty())
            file.Set(tag::kXResolution, c.type, c.x);
        if (!c.y.empty())
            file.Set(tag::kYResolution, c.type, c.y);
        TIFFImage page;
        ASSERT_EQ(page.Open(scratch.Write("page.tif", file.Bytes())), 1);
        EXPECT_EQ(page.XDpi, c.want_x);
        EXPECT_EQ(page.YDpi, c.want_y);
    }
}

TEST(TIFFImage, TheLabelIsTheDocumentNameOrTheFilesOwn)
{
    struct {
        const char* path;
        const char* want;
    } const labels[] = {
        {"C:\\pages\\front.TIF", "front"},
        {"d:page.low", "page"},
        {"/a.b/page.LoW", "page"},
        {"page.tif", "page"},
        {"page.tif.low", "page.tif"},
        {"a.tiff", "a.tiff"},
        {"/x/tif", "tif"},
        {"/x/.tif", ""},
        {"page.fax", "page.fax"},
        {"/dir.tif/x", "x"},
        {"a/b\\c:d", "d"},
        {"", ""},
    };
    for (const auto& c : labels)
        EXPECT_EQ(LabelFromPath(c.path), c.want) << c.path;

    const ScratchDirectory scratch;
    TIFFImage page;
    HostileTiff file{8, 1, 1};
    for (const auto& [name, want] : {std::pair{"Front page", "Front page"}, std::pair{"", "file"}}) {
        file.SetText(tag::kDocumentName, name);
        ASSERT_EQ(page.Open(scratch.Write("file.tif", file.Bytes())), 1);
        EXPECT_EQ(page.Name, want);
    }
}

TEST(TIFFImage, GuardsHaveTheirWordsAndARowAfterTheLastCounts)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.Write("page.tif", HostileTiff{20, 3, 2}.Bytes());
    std::vector<uint8_t> row(8, kUntouched);
    TIFFImage page;
    EXPECT_EQ(page.ReadRow(row.data(), 8), 0);
    EXPECT_EQ(page.ErrorText, "Invalid TIFF object");
    ASSERT_EQ(page.Open(path), 1);
    EXPECT_EQ(page.ErrorText, "Invalid TIFF object") << "nothing but a failure changes it";
    EXPECT_EQ(page.ReadRow(nullptr, 4), 0);
    EXPECT_EQ(page.ErrorText, "Invalid Buffer");
    EXPECT_EQ(page.CurrentRow, -1);
    for (int y = 0; y < 3; ++y) {
        std::fill(row.begin(), row.end(), kUntouched);
        ASSERT_EQ(page.ReadRow(row.data(), 8), 1);
        EXPECT_EQ(row[0], HostileTiff::RowByte(static_cast<uint32_t>(y), 0));
        EXPECT_EQ(row[7], 0) << "all bytes that the caller has are the row's";
    }
    EXPECT_EQ(page.ReadRow(row.data(), 4), 0);
    EXPECT_EQ(page.ErrorText, "TIFF read error");
    EXPECT_EQ(page.CurrentRow, 3);
    EXPECT_EQ(page.ReadRow(row.data(), 4), 0);
    EXPECT_EQ(page.ErrorText, "Past end of image");
    EXPECT_EQ(page.CurrentRow, 3);
    EXPECT_EQ(page.Rewind(), 1);
    EXPECT_EQ(page.ReadRow(row.data(), 4), 1);

    // A page that is open goes, also when nothing comes after it.
    EXPECT_EQ(page.Open(scratch.File("missing.tif")), 0);
    EXPECT_EQ(page.ErrorText, "Open failed");
    EXPECT_TRUE(page.Path.IsEmpty() && page.Name.IsEmpty());
    EXPECT_EQ(page.Width + page.Height + page.BytesPerRow + page.BitsPerPixel, 0);
    EXPECT_EQ(page.IsValid(), 0);
    ASSERT_EQ(page.Open(path), 1);
    EXPECT_EQ(page.Open(page.Path), 1) << "by its own field, which closing empties";
    EXPECT_EQ(page.Path, path);
    EXPECT_EQ(page.Close(), 1);
    EXPECT_EQ(page.Close(), 1);
    EXPECT_EQ(page.ErrorText, "Open failed");
}

TEST(TIFFImage, RowsAreDeliveredForwardAndBackward)
{
    struct {
        int first, count, want, row_after;
    } const requests[] = {
        {0, 3, 3, 2},   {5, 2, 2, 6}, {2, 3, 3, 4},    {4, 1, 1, 4},   {11, 1, 1, 11},
        {8, 10, 4, 12}, {3, 0, 0, 2}, {0, 12, 12, 11}, {13, 2, 0, 12}, {6, 2, 2, 7},
    };
    const ScratchDirectory scratch;
    TIFFImage page;
    ASSERT_EQ(page.Open(scratch.Write("page.tif", HostileTiff{20, 12, 5}.Bytes())), 1);
    constexpr size_t kStride = 6; // more than a row of 4
    for (const auto& c : requests) {
        SCOPED_TRACE(testing::Message() << c.first << ", " << c.count);
        std::vector<uint8_t> rows(kStride * 14, kUntouched);
        EXPECT_EQ(page.ReadRows(rows.data(), kStride, c.first, c.count), c.want);
        EXPECT_EQ(page.CurrentRow, c.row_after);
        for (int i = 0; i < c.want; ++i) {
            const uint8_t* const row = rows.data() + static_cast<size_t>(i) * kStride;
            for (size_t j = 0; j < 3; ++j)
                EXPECT_EQ(row[j], HostileTiff::RowByte(static_cast<uint32_t>(c.first + i), j))
                    << i << ", " << j;
            EXPECT_EQ(row[3], 0);
            EXPECT_EQ(row[4], kUntouched);
        }
    }
}

// --- Damage, through the document ---

constexpr uint32_t kWidth = 200; // of the page that is damaged
constexpr uint32_t kHeight = 64;
constexpr uint32_t kStrip = 16;

constexpr int64_t kMemoryLimit = int64_t{64} << 20;
constexpr uint32_t kMemoryFigure = 16 << 20;
constexpr rlim_t kDiskLimit = 32 << 20;

char KindOf(const uint8_t* row, int32_t row_bytes, uint32_t y)
{
    if (std::all_of(row, row + row_bytes, [](uint8_t byte) { return byte == 0; }))
        return 'z';
    for (size_t i = 0; i < static_cast<size_t>(row_bytes); ++i)
        if (row[i] != (i < kWidth / 8 ? HostileTiff::RowByte(y, i) : 0))
            return 'x';
    return 'r';
}

// Adds what rows first to end - 1 are: "r" right, "z" zero, "x" something else, each with how many.
void DescribeRows(CLumentaDoc& document, int32_t first, int32_t end, std::string& text)
{
    std::string kinds;
    while (first < end) {
        const int32_t count = std::min({16, end - first, document.m_nWindowRows});
        if (!document.GetRows(first, count))
            return;
        for (int32_t y = first; y < first + count; ++y)
            kinds += KindOf(document.RowAddress(y), document.m_nRowBytes, static_cast<uint32_t>(y));
        first += count;
    }
    for (size_t i = 0; i < kinds.size();) {
        const size_t next = std::min(kinds.find_first_not_of(kinds[i], i), kinds.size());
        text += ' ';
        text += kinds[i] + std::to_string(next - i);
        i = next;
    }
}

// What becomes of a file: "200x64 r32 z32 | error at line 32: TIFF read error", or "no page | PATH: Open
// failed". between, if any, happens between the first strip's rows and the rest.
std::string Describe(const std::string& path, const std::function<void()>& between = nullptr)
{
    return InChild([&] {
        TIFFSetErrorHandler(nullptr);
        const FileSizeLimit disk{kDiskLimit};
        const MemoryFigures memory{kMemoryFigure, 0};
        BoxTexts boxes;
        const int64_t before = PeakMemory();
        std::string text;
        {
            CLumentaDoc document;
            if (document.OnOpenDocument(path)) {
                text = std::to_string(document.m_nWidth) + "x" + std::to_string(document.m_nDepth);
                if (between) {
                    document.GetRows(0, kStrip);
                    between();
                }
                const int32_t looked_at = std::min(document.m_nDepth, static_cast<int32_t>(kHeight));
                DescribeRows(document, 0, looked_at, text);
                if (document.m_nDepth > looked_at)
                    DescribeRows(document, document.m_nDepth - 1, document.m_nDepth, text);
            } else {
                text = document.m_pRows || document.m_nWidth || document.m_nDepth ? "half a page" : "no page";
            }
        }
        for (std::string& box : boxes.Take()) {
            if (box.compare(0, path.size(), path) == 0)
                box.replace(0, path.size(), "PATH");
            text += " | " + box;
        }
        if (PeakMemory() - before > kMemoryLimit + kMemoryFigure)
            text += " | peak memory " + std::to_string((PeakMemory() - before) >> 20) + " MB";
        return text;
    });
}

// A refused file has its words, and an open one at most one box: the rows are zero from the told line on.
bool IsHonest(const std::string& text)
{
    const size_t bar = text.find(" | ");
    std::istringstream counts{text.substr(0, bar)};
    const std::string box = bar == std::string::npos ? "" : text.substr(bar + 3);
    if (counts.str() == "no page")
        return box == "PATH: Open failed" || box == "PATH: Unsupported TIFF format" ||
               box == "Unable to allocate bitmap";
    std::string kinds;
    std::string part;
    for (counts >> part; counts >> part;)
        kinds.append(std::stoul(part.substr(1)), part[0]);
    unsigned line = 0;
    return box.empty() || (sscanf(box.c_str(), "error at line %u: ", &line) == 1 && line < kinds.size() &&
                           box == "error at line " + std::to_string(line) + ": TIFF read error" &&
                           kinds.find_first_not_of('z', line) == std::string::npos);
}

constexpr const char* kOpenFailed = "no page | PATH: Open failed";
constexpr const char* kUnsupported = "no page | PATH: Unsupported TIFF format";

TEST(HostileFile, WhatIsNoTiffFileIsRefusedAndNeverWaitedFor)
{
    const ScratchDirectory scratch;
    ASSERT_EQ(mkfifo(scratch.File("fifo").c_str(), 0600), 0);
    std::filesystem::create_symlink(scratch.File("nowhere"), scratch.File("dangling"));
    std::filesystem::create_symlink(scratch.File("loop"), scratch.File("loop"));
    const std::string paths[] = {
        scratch.Write("empty.tif", ""),
        scratch.Write("text.tif", "II is how this text begins, and nothing else of it is a page.\n"),
        scratch.Write("head.tif", "II*"),
        scratch.Path(),
        scratch.File("fifo"),
        scratch.File("dangling"),
        scratch.File("loop"),
        scratch.File("missing"),
        scratch.File(std::string(300, 'n')),
        "/" + std::string(5000, 'p'),
        "/dev/zero",
        "/dev/null",
    };
    for (const std::string& path : paths)
        EXPECT_EQ(Describe(path), kOpenFailed) << path;
}

TEST(HostileFile, WithoutPermissionThereIsNoPage)
{
    constexpr uid_t kNobody = 65534;
    const ScratchDirectory scratch;
    const std::string path = scratch.Write("page.tif", HostileTiff{kWidth, kHeight, kStrip}.Bytes());
    std::filesystem::permissions(scratch.Path(), std::filesystem::perms::all);
    std::filesystem::permissions(path, std::filesystem::perms::none);
    const std::string text = InChild([&]() -> std::string {
        if (geteuid() == 0 && setuid(kNobody) != 0)
            return "no other user";
        TIFFImage page;
        return page.Open(path) ? "opened" : page.ErrorText.c_str();
    });
    EXPECT_EQ(text, "Open failed");
}

// One tag set, or left out where it has no values.
struct TagCase {
    const char* name;
    uint16_t tag;
    uint16_t type;
    std::vector<uint32_t> values;
    const char* want; // null: libtiff's to choose, among what a damaged page may show
};

TEST(HostileFile, EachBadTagIsRefusedOrShowsOnce)
{
    using Tiff = HostileTiff;
    const char* const unreadable = "200x64 z64 | error at line 0: TIFF read error";
    const char* const sound = "200x64 r64";
    const TagCase cases[] = {
        {"nothing wrong", tag::kSamples, Tiff::kShort, {1}, sound},
        {"no strips", tag::kStripOffsets, 0, {}, kOpenFailed},
        {"fewer strips than rows", tag::kStripOffsets, Tiff::kLong, {200, 200}, nullptr},
        {"rows per strip 0", tag::kRowsPerStrip, Tiff::kLong, {0}, kOpenFailed},
        {"all rows in the first strip", tag::kRowsPerStrip, Tiff::kLong, {0xffffffff}, nullptr},
        {"byte counts 0", tag::kStripByteCounts, Tiff::kLong, {0, 0, 0, 0}, unreadable},
        {"a byte count too large",
         tag::kStripByteCounts,
         Tiff::kLong,
         {400, 0x7fffffff, 400, 400},
         "200x64 r16 z48 | error at line 16: TIFF read error"},
        {"a byte count too small",
         tag::kStripByteCounts,
         Tiff::kLong,
         {400, 400, 250, 400},
         "200x64 r42 z22 | error at line 42: TIFF read error"},
        {"no byte counts", tag::kStripByteCounts, 0, {}, nullptr},
        {"planes", tag::kPlanar, Tiff::kShort, {2}, sound},
        {"a plane number of its own", tag::kPlanar, Tiff::kShort, {9}, nullptr},
        {"3 samples", tag::kSamples, Tiff::kShort, {3}, kUnsupported},
        {"no samples", tag::kSamples, Tiff::kShort, {0}, nullptr},
        {"0 bits", tag::kBits, Tiff::kShort, {0}, nullptr},
        {"4 bits", tag::kBits, Tiff::kShort, {4}, kUnsupported},
        {"16 bits", tag::kBits, Tiff::kShort, {16}, kUnsupported},
        {"colours", tag::kPhotometric, Tiff::kShort, {2}, kUnsupported},
        {"no photometric", tag::kPhotometric, 0, {}, kUnsupported},
        {"an unknown compression", tag::kCompression, Tiff::kShort, {60000}, unreadable},
        {"rows that are no LZW", tag::kCompression, Tiff::kShort, {5}, unreadable},
        {"no width", tag::kWidth, 0, {}, nullptr},
        {"width 0", tag::kWidth, Tiff::kLong, {0}, nullptr},
        {"width 0xffffffff", tag::kWidth, Tiff::kLong, {0xffffffff}, kUnsupported},
        {"a row larger than memory",
         tag::kWidth,
         Tiff::kLong,
         {0x7ffffff7},
         "no page | Unable to allocate bitmap"},
        {"height 0", tag::kHeight, Tiff::kLong, {0}, nullptr},
        {"height 0xffffffff", tag::kHeight, Tiff::kLong, {0xffffffff}, nullptr},
        {"the largest height", tag::kHeight, Tiff::kLong, {0x7ffffff7}, nullptr},
    };
    const ScratchDirectory scratch;
    for (const TagCase& c : cases) {
        HostileTiff file{kWidth, kHeight, kStrip};
        if (c.values.empty())
            file.Remove(c.tag);
        else
            file.Set(c.tag, c.type, c.values);
        const std::string text = Describe(scratch.Write("page.tif", file.Bytes()));
        EXPECT_TRUE(IsHonest(text)) << c.name << ": " << text;
        EXPECT_EQ(text, c.want ? c.want : text) << c.name;
    }
}

TEST(HostileFile, EachBadStructureIsRefusedOrShowsOnce)
{
    using Offsets = std::vector<uint32_t>;
    const auto moved = [](void (*move)(Offsets&)) {
        HostileTiff file{kWidth, kHeight, kStrip};
        file.MoveStrips(move);
        return file;
    };
    HostileTiff tiles{kWidth, kHeight, kStrip};
    tiles.SetLong(tag::kTileWidth, 208);
    tiles.SetLong(tag::kTileLength, 64);
    tiles.SetLong(tag::kTileOffsets, 8);
    tiles.SetLong(tag::kTileByteCounts, 1664);
    HostileTiff loop{kWidth, kHeight, kStrip};
    loop.SetNextDirectory(8);
    HostileTiff nowhere{kWidth, kHeight, kStrip};
    nowhere.SetNextDirectory(0xfffffff0);
    HostileTiff huge_strip{kWidth, kHeight, kStrip};
    huge_strip.SetLong(tag::kHeight, 0x7ffffff7);
    huge_strip.SetLong(tag::kRowsPerStrip, 0x7ffffff7);
    const struct {
        const char* name;
        HostileTiff file;
        const char* want;
    } cases[] = {
        {"past the end", moved([](Offsets& at) { at[2] += 1000000; }),
         "200x64 r32 z32 | error at line 32: TIFF read error"},
        {"at the end of the address range", moved([](Offsets& at) { at[1] = 0xffffffff; }),
         "200x64 r16 z48 | error at line 16: TIFF read error"},
        {"in descending order", moved([](Offsets& at) { std::reverse(at.begin(), at.end()); }), "200x64 x64"},
        {"one over the other", moved([](Offsets& at) { at[1] = at[2] = at[3] = at[0]; }), "200x64 r16 x48"},
        {"tiles", tiles, "200x64 z64 | error at line 0: TIFF read error"},
        {"a loop of directories", loop, "200x64 r64"},
        {"a directory nowhere", nowhere, "200x64 r64"},
        {"one strip of 53 GB", huge_strip, "200x2147483639 z64 z1 | error at line 0: TIFF read error"},
    };
    const ScratchDirectory scratch;
    for (const auto& c : cases)
        EXPECT_EQ(Describe(scratch.Write("page.tif", c.file.Bytes())), c.want) << c.name;
}

TEST(HostileFile, RowsThatAreNoneOfTheirCompressionShowOnce)
{
    const ScratchDirectory scratch;
    for (const uint32_t compression :
         {2,     3,     4,     6,     7,     8,     32766, 32771, 32773, 32809,
          32908, 32946, 34661, 34676, 34677, 34887, 34925, 50000, 50001, 50002}) {
        HostileTiff file{kWidth, kHeight, kStrip};
        file.Set(tag::kCompression, HostileTiff::kShort, {compression});
        for (const uint32_t bits : {1, 8}) {
            file.Set(tag::kBits, HostileTiff::kShort, {bits});
            const std::string text = Describe(scratch.Write("page.tif", file.Bytes()));
            EXPECT_TRUE(IsHonest(text)) << compression << ": " << text;
        }
    }
}

TEST(HostileFile, ACutFileKeepsTheStripsBeforeTheCut)
{
    const ScratchDirectory scratch;
    const std::string whole = HostileTiff{kWidth, kHeight, kStrip}.Bytes();
    const size_t rows_at = whole.size() - kHeight * kWidth / 8;
    for (size_t quarter = 0; quarter < 4; ++quarter) {
        const size_t size = rows_at + (whole.size() - rows_at) * quarter / 4 + (quarter ? 30 : 0);
        std::ostringstream want;
        want << "200x64" << (quarter ? " r" + std::to_string(quarter * kStrip) : "") << " z"
             << kHeight - quarter * kStrip << " | error at line " << quarter * kStrip << ": TIFF read error";
        EXPECT_EQ(Describe(scratch.Write("page.tif", whole.substr(0, size))), want.str());
    }
    for (const size_t size : {size_t{0}, size_t{7}, size_t{8}, size_t{9}, size_t{60}})
        EXPECT_EQ(Describe(scratch.Write("page.tif", whole.substr(0, size))), kOpenFailed) << size;
}

TEST(HostileFile, AFileThatShrinksWhileItIsOpenShowsOnce)
{
    const ScratchDirectory scratch;
    const std::string whole = HostileTiff{kWidth, kHeight, kStrip}.Bytes();
    const auto shrink = [&](size_t size) {
        const std::string path = scratch.Write("page.tif", whole);
        return Describe(path, [&] { EXPECT_EQ(truncate(path.c_str(), static_cast<off_t>(size)), 0); });
    };
    EXPECT_EQ(shrink(whole.size() - 500), "200x64 r32 z32 | error at line 32: TIFF read error");
    EXPECT_EQ(shrink(0), "200x64 r16 z48 | error at line 16: TIFF read error");
}
} // namespace
