// SPDX-License-Identifier: MIT
// TIFF files: the fields of an open page, and files with bad tags or structures. Each bad file is opened
// through the document, in a separate process whose peak memory is measured. Strips are tested in
// tiffdamage_test.cpp.
#include "app/lumentadoc.h"
#include "app/tifimage.h"
#include "tests/support/child.h"
#include "tests/support/fake_image.h"
#include "tests/support/hostile_tiff.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <sys/stat.h>

namespace
{
constexpr uint8_t kUntouched = 0xa5; // fills buffers, to detect bytes that were not written
constexpr uint16_t kFloat = 11;      // type of a tag

TEST(TIFFImage, ResolutionsAreWholeDotsPerInch)
{
    const auto bits = [](float value) { return std::bit_cast<uint32_t>(value); };
    const uint16_t kRational = HostileTiff::kRational;
    const struct {
        const char* name;
        uint32_t unit; // 0: no tag
        uint16_t type;
        std::vector<uint32_t> x, y; // empty: no tag
        int want_x, want_y;
    } cases[] = {
        {"inches", 2, kRational, {300, 1}, {150, 1}, 300, 150},
        {"centimetres", 3, kRational, {120, 1}, {1200, 10}, 304, 304},
        {"no unit counts as inches", 0, kRational, {204, 1}, {196, 1}, 204, 196},
        {"rounded down", 2, kRational, {29999, 100}, {1, 3}, 299, 0},
        {"one missing", 2, kRational, {300, 1}, {}, 300, 0},
        {"zero divided by zero", 2, kRational, {0, 0}, {5, 0}, 0, 0},
        {"not a number, negative", 2, kFloat, {bits(NAN)}, {bits(-300)}, 0, 0},
        {"huge", 2, kFloat, {bits(3e9F)}, {bits(INFINITY)}, 0x7fffffff, 0x7fffffff},
        {"huge in centimetres", 3, kFloat, {bits(1e9F)}, {bits(-INFINITY)}, 0x7fffffff, 0},
    };
    const ScratchDirectory scratch;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HostileTiff file{8, 1, 1};
        if (c.unit)
            file.Set(tag::kResolutionUnit, HostileTiff::kShort, {c.unit});
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

TEST(TIFFImage, TheLabelIsTheDocumentNameOrTheFileName)
{
    const std::pair<const char*, const char*> labels[] = {
        {"C:\\pages\\front.TIF", "front"},
        {"d:page.low", "page"},
        {"/a.b/page.LoW", "page"},
        {"page.tif.low", "page.tif"},
        {"a.tiff", "a.tiff"},
        {"/x/tif", "tif"},
        {"/x/.tif", ""},
        {"/dir.tif/x", "x"},
        {"a/b\\c:d", "d"},
        {"", ""},
    };
    for (const auto& [path, want] : labels)
        EXPECT_EQ(LabelFromPath(path), want) << path;

    const ScratchDirectory scratch;
    TIFFImage page;
    HostileTiff file{8, 1, 1};
    for (const auto& [name, want] : {std::pair{"Front page", "Front page"}, std::pair{"", "file"}}) {
        file.SetText(tag::kDocumentName, name);
        ASSERT_EQ(page.Open(scratch.Write("file.tif", file.Bytes())), 1);
        EXPECT_EQ(page.Name, want);
    }
}

TEST(TIFFImage, EachFailureHasItsMessage)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.Write("page.tif", HostileTiff{20, 3, 2}.Bytes());
    std::vector<uint8_t> row(8, kUntouched);
    TIFFImage page;
    EXPECT_EQ(page.ReadRow(row.data(), 8), 0);
    EXPECT_EQ(page.ErrorText, "Invalid TIFF object");
    ASSERT_EQ(page.Open(path), 1);
    EXPECT_EQ(page.ErrorText, "Invalid TIFF object") << "only a failure changes the text";
    EXPECT_EQ(page.ReadRow(nullptr, 4), 0);
    EXPECT_EQ(page.ErrorText, "Invalid Buffer");
    EXPECT_EQ(page.CurrentRow, -1);
    for (int y = 0; y < 3; ++y)
        ASSERT_EQ(page.ReadRow(row.data(), 8), 1);
    row[7] = kUntouched;
    EXPECT_EQ(page.ReadRow(row.data(), 8), 0);
    EXPECT_EQ(row[7], 0) << "cleared even if the row cannot be read";
    EXPECT_EQ(page.ErrorText, "TIFF read error");
    EXPECT_EQ(page.CurrentRow, 3);
    EXPECT_EQ(page.ReadRow(row.data(), 4), 0);
    EXPECT_EQ(page.ErrorText, "Past end of image");
    EXPECT_EQ(page.CurrentRow, 3);

    // Open closes the page that was open, even if it fails itself.
    EXPECT_EQ(page.Open(scratch.File("missing.tif")), 0);
    EXPECT_EQ(page.ErrorText, "Open failed");
    EXPECT_EQ(page.Width + page.Height + page.BytesPerRow + page.BitsPerPixel, 0);
    EXPECT_EQ(page.IsValid(), 0);
    ASSERT_EQ(page.Open(path), 1);
    EXPECT_EQ(page.Open(page.Path), 1) << "the argument is a field that Open empties";
    EXPECT_EQ(page.Path, path);
}

// --- Bad files, opened through the document ---

// Sides of the bad pages, and rows of a strip.
constexpr uint32_t kWidth = 200;
constexpr uint32_t kHeight = 64;
constexpr uint32_t kStrip = 16;

// In bytes: peak memory that a page may take in addition to its rows, free memory that the document finds,
// and largest temporary file.
constexpr int64_t kMemoryLimit = int64_t{64} << 20;
constexpr uint32_t kMemoryFigure = 16 << 20;
constexpr rlim_t kDiskLimit = 32 << 20;

// Returns one of the letters that DescribeRows documents.
char KindOf(const uint8_t* row, int32_t row_bytes, uint32_t y)
{
    if (std::all_of(row, row + row_bytes, [](uint8_t byte) { return byte == 0; }))
        return 'z';
    for (size_t i = 0; i < static_cast<size_t>(row_bytes); ++i)
        if (row[i] != (i < kWidth / 8 ? HostileTiff::RowByte(y, i) : 0))
            return 'x';
    return 'r';
}

// Appends a description of rows first to end - 1, as in " r32 z16": 32 right rows, then 16 zero rows. "x"
// means rows that are neither right nor zero.
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

// Opens a file and describes the result, as "200x64 r32 z32 | error at line 32: TIFF read error" or
// "no page | PATH: Open failed".
std::string Describe(const std::string& path)
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
                const int32_t described = std::min(document.m_nDepth, static_cast<int32_t>(kHeight));
                DescribeRows(document, 0, described, text);
                if (document.m_nDepth > described)
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

constexpr const char* kOpenFailed = "no page | PATH: Open failed";
constexpr const char* kUnsupported = "no page | PATH: Unsupported TIFF format";

// Returns the description of a page whose rows are missing from this one on.
std::string Damaged(uint32_t row)
{
    return "200x64 r" + std::to_string(row) + " z" + std::to_string(kHeight - row) + " | error at line " +
           std::to_string(row) + ": TIFF read error";
}

TEST(HostileFile, OtherFilesAreRefusedWithoutWaiting)
{
    const ScratchDirectory scratch;
    ASSERT_EQ(mkfifo(scratch.File("fifo").c_str(), 0600), 0);
    const std::string paths[] = {
        scratch.Write("empty.tif", ""),
        scratch.Write("text.tif", "II is how this text begins, and nothing else of it is a page.\n"),
        scratch.Write("head.tif", "II*"),
        scratch.Write("directory.tif", HostileTiff{8, 1, 1}.Bytes().substr(0, 60)),
        scratch.File("fifo"),
        scratch.File("missing"),
    };
    for (const std::string& path : paths)
        EXPECT_EQ(Describe(path), kOpenFailed) << path;
}

TEST(HostileFile, EachBadTagIsRefusedOrReportedOnce)
{
    using Tiff = HostileTiff;
    const char* const unreadable = "200x64 z64 | error at line 0: TIFF read error";
    const char* const sound = "200x64 r64";
    const struct {
        const char* name;
        uint16_t tag;
        uint16_t type;
        std::vector<uint32_t> values; // empty: removes the tag
        std::string want;
    } cases[] = {
        {"nothing wrong", tag::kSamples, Tiff::kShort, {1}, sound},
        {"no strips", tag::kStripOffsets, 0, {}, kOpenFailed},
        {"rows per strip 0", tag::kRowsPerStrip, Tiff::kLong, {0}, kOpenFailed},
        {"byte counts 0", tag::kStripByteCounts, Tiff::kLong, {0, 0, 0, 0}, unreadable},
        {"a byte count too large", tag::kStripByteCounts, Tiff::kLong, {400, 0x7fffffff, 400, 400}, sound},
        {"a byte count too small", tag::kStripByteCounts, Tiff::kLong, {400, 400, 250, 400}, Damaged(42)},
        {"one byte count", tag::kStripByteCounts, Tiff::kLong, {400}, Damaged(16)},
        {"too many byte counts", tag::kStripByteCounts, Tiff::kLong, {400, 400, 400, 400, 9, 9}, sound},
        {"one byte count 0", tag::kStripByteCounts, Tiff::kLong, {400, 0, 400, 400}, Damaged(16)},
        {"no byte counts", tag::kStripByteCounts, 0, {}, kOpenFailed},
        {"planes", tag::kPlanar, Tiff::kShort, {2}, sound},
        {"3 samples", tag::kSamples, Tiff::kShort, {3}, kUnsupported},
        {"4 bits", tag::kBits, Tiff::kShort, {4}, kUnsupported},
        {"colours", tag::kPhotometric, Tiff::kShort, {2}, kUnsupported},
        {"no photometric", tag::kPhotometric, 0, {}, kUnsupported},
        {"an unknown compression", tag::kCompression, Tiff::kShort, {60000}, kUnsupported},
        {"width 0xffffffff", tag::kWidth, Tiff::kLong, {0xffffffff}, kUnsupported},
        {"a row larger than memory",
         tag::kWidth,
         Tiff::kLong,
         {0x7ffffff7},
         "no page | Unable to allocate bitmap"},
    };
    const ScratchDirectory scratch;
    for (const auto& c : cases) {
        HostileTiff file{kWidth, kHeight, kStrip};
        if (c.values.empty())
            file.Remove(c.tag);
        else
            file.Set(c.tag, c.type, c.values);
        EXPECT_EQ(Describe(scratch.Write("page.tif", file.Bytes())), c.want) << c.name;
    }
}

TEST(HostileFile, EachBadStructureIsRefusedOrReportedOnce)
{
    using Offsets = std::vector<uint32_t>;
    const HostileTiff sound{kWidth, kHeight, kStrip};
    const auto moved = [&sound](void (*move)(Offsets&)) {
        HostileTiff file = sound;
        file.MoveStrips(move);
        return file;
    };
    HostileTiff tiles = sound;
    tiles.SetLong(tag::kTileWidth, 208);
    tiles.SetLong(tag::kTileLength, 64);
    tiles.SetLong(tag::kTileOffsets, 8);
    tiles.SetLong(tag::kTileByteCounts, 1664);
    HostileTiff loop = sound;
    loop.SetNextDirectory(8);
    HostileTiff nowhere = sound;
    nowhere.SetNextDirectory(0xfffffff0);
    const auto claiming = [&sound](uint32_t rows, uint32_t rows_per_strip) {
        HostileTiff file = sound;
        file.SetLong(tag::kHeight, rows);
        file.SetLong(tag::kRowsPerStrip, rows_per_strip);
        return file;
    };
    const struct {
        const char* name;
        HostileTiff file;
        std::string want;
    } cases[] = {
        {"2^31 strips", claiming(0x7ffffff7, 1), kOpenFailed},
        {"a million strips with four offsets", claiming(1000000, 1),
         "200x1000000 r1 x3 z60 z1 | error at line 4: TIFF read error"},
        {"two offsets", moved([](Offsets& at) { at.resize(2); }), Damaged(32)},
        {"too many offsets", moved([](Offsets& at) { at.resize(9, 8); }), "200x64 r64"},
        {"offset into the directory", moved([](Offsets& at) { at[1] = 8; }), "200x64 r16 x16 r32"},
        {"offset past the end", moved([](Offsets& at) { at[2] += 1000000; }), Damaged(32)},
        {"four equal offsets", moved([](Offsets& at) { at[1] = at[2] = at[3] = at[0]; }), "200x64 r16 x48"},
        {"tiles", tiles, kUnsupported},
        {"a loop of directories", loop, "200x64 r64"},
        {"next directory past the end", nowhere, "200x64 r64"},
        {"one strip of 53 GB", claiming(0x7ffffff7, 0x7ffffff7),
         "200x2147483639 r64 z1 | error at line 64: TIFF read error"},
    };
    const ScratchDirectory scratch;
    for (const auto& c : cases)
        EXPECT_EQ(Describe(scratch.Write("page.tif", c.file.Bytes())), c.want) << c.name;
}
} // namespace
