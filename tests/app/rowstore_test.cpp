// SPDX-License-Identifier: MIT
// The document's row store: the window on the heap, the temporary file, and rows that cannot be read. In the
// fake page each byte depends on its row.
#include "app/lumentadoc.h"
#include "tests/support/fake_image.h"
#include "tests/support/hostile_tiff.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace
{
using Texts = std::vector<std::string>;

constexpr int32_t kRows = 1000;
constexpr int32_t kWindow = 100;

struct Request {
    int32_t first, end; // rows first to end - 1
};

// Rows in the store: the number of right rows, then the number of zero rows after them.
struct Held {
    int32_t right = 0;
    int32_t zero = 0;
    friend bool operator==(const Held&, const Held&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Held& held)
    {
        return out << held.right << " right, " << held.zero << " zero";
    }
};

// Counts from row first on.
Held HeldFrom(const CLumentaDoc& document, int32_t first)
{
    Held held;
    int32_t row = first;
    for (; row <= document.m_nLastRow &&
           FakeImage::HoldsRow(document.RowAddress(row), row, document.m_nRowBytes);
         ++row)
        ++held.right;
    for (; row <= document.m_nLastRow; ++row) {
        const uint8_t* const bytes = document.RowAddress(row);
        if (std::any_of(bytes, bytes + document.m_nRowBytes, [](uint8_t byte) { return byte != 0; }))
            break;
        ++held.zero;
    }
    return held;
}

enum class Store { file, heap };

// Opens a fake page with a row store in the temporary file, or of `window` rows on the heap. Rows on the heap
// that are not written yet are neither right nor zero.
FakeImage* PutPageIn(Store store, CLumentaDoc& document, int32_t width, int32_t height,
                     int32_t window = kWindow)
{
    auto page = std::make_unique<FakeImage>(width, height);
    if (store == Store::file) {
        FakeImage* const image = PutPage(document, std::move(page));
        EXPECT_TRUE(document.CreateRowMapping(height));
        return image;
    }
    FakeImage* const image = PutPageOnHeap(document, std::move(page), window);
    memset(document.m_pRows, 0x77, static_cast<size_t>(window) * static_cast<size_t>(document.m_nRowBytes));
    return image;
}

TEST(RowWindow, SlidesOverThePage)
{
    const struct {
        const char* name;
        std::vector<Request> before;
        Request request;
        int32_t window_first, last_row;
        int64_t reads, rewinds; // of the request only
    } cases[] = {
        {"far ahead: the request is in the middle of the window", {{0, 50}}, {500, 510}, 455, 509, 460, 0},
        {"just ahead: rows in both windows are kept", {{0, 80}}, {80, 120}, 50, 119, 40, 0},
        {"the page's end", {{0, 50}}, {990, 1000}, 900, 999, 950, 0},
        {"back to the top", {{500, 510}}, {10, 11}, 0, 10, 11, 1},
        {"back to a middle", {{500, 510}}, {200, 210}, 110, 209, 210, 1},
        {"one row before the window", {{500, 510}}, {454, 455}, 355, 454, 455, 1},
        {"a whole window back", {{990, 1000}}, {300, 400}, 300, 399, 400, 1},
        {"after a step back the window is filled further", {{500, 510}, {10, 11}}, {0, 100}, 0, 99, 89, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        BoxTexts boxes;
        CLumentaDoc document;
        FakeImage* const page = PutPageOnHeap(document, std::make_unique<FakeImage>(200, kRows), kWindow);
        for (const Request& r : c.before)
            ASSERT_TRUE(document.GetRows(r.first, r.end - r.first));
        page->reads = page->rewinds = 0;
        EXPECT_TRUE(document.GetRows(c.request.first, c.request.end - c.request.first));
        EXPECT_EQ(document.m_nWindowFirst, c.window_first);
        EXPECT_EQ(document.m_nLastRow, c.last_row);
        EXPECT_EQ(page->CurrentRow, c.last_row);
        EXPECT_EQ(page->reads, c.reads);
        EXPECT_EQ(page->rewinds, c.rewinds);
        EXPECT_EQ(HeldFrom(document, c.window_first), (Held{c.last_row - c.window_first + 1, 0}));
        EXPECT_EQ(boxes.Take(), Texts{});
    }
}

TEST(RowWindow, KeepsItsInvariantsOnARandomWalk)
{
    std::mt19937 random{20};
    for (const int32_t window : {1, 2, 7, 100, 999, kRows}) {
        // The temporary file holds every row, so each row is decoded once.
        const Store store = window == kRows ? Store::file : Store::heap;
        CLumentaDoc document;
        FakeImage* const page = PutPageIn(store, document, 40, kRows, window);
        ASSERT_EQ(document.m_nWindowRows, window);
        int32_t near = 0;
        for (int step = 0; step < 300; ++step) {
            const int32_t count = 1 + static_cast<int32_t>(random() % static_cast<unsigned>(window));
            // Most steps are small, as in scrolling.
            near += random() % 5 ? static_cast<int32_t>(random() % 61) - 25
                                 : static_cast<int32_t>(random() % 2000) - 1000;
            near = std::clamp(near, 0, kRows - count);
            SCOPED_TRACE(testing::Message()
                         << "window " << window << ", step " << step << ": " << near << ", " << count);
            const int32_t end = near + count;
            const bool back = near < document.m_nWindowFirst;
            const int64_t wanted_reads = back ? end : std::max(0, end - 1 - document.m_nLastRow);
            page->reads = page->rewinds = 0;
            ASSERT_TRUE(document.GetRows(near, count));
            ASSERT_EQ(page->reads, wanted_reads);
            ASSERT_EQ(page->rewinds, back ? 1 : 0);
            ASSERT_EQ(page->CurrentRow, document.m_nLastRow);
            const int32_t held = document.m_nLastRow - document.m_nWindowFirst + 1;
            ASSERT_LE(document.m_nWindowFirst, near);
            ASSERT_GE(document.m_nLastRow, end - 1);
            ASSERT_LE(held, window);
            ASSERT_EQ(HeldFrom(document, document.m_nWindowFirst), (Held{held, 0}));
        }
        EXPECT_EQ(document.ReleaseRowBuffer(), store == Store::heap);
        EXPECT_EQ(document.ReleaseRowMapping(), store == Store::file);
    }
}

TEST(RowWindow, AFailedRowIsReportedOnceAndLaterRowsAreZero)
{
    const struct {
        const char* name;
        int32_t fail_at;
        std::vector<Request> requests;
        int32_t from;  // first row to check after the requests
        Held held;     // rows found from there on
        int64_t reads; // of all requests
    } cases[] = {
        {"a kept row", 7, {{0, 50}}, 0, {7, 43}, 8},
        {"the first row", 0, {{0, 50}, {40, 60}}, 0, {0, 60}, 1},
        {"later requests report nothing", 7, {{0, 50}, {50, 100}, {0, 10}}, 0, {7, 93}, 8},
        {"rows read earlier are kept", 90, {{0, 80}, {80, 120}}, 50, {40, 30}, 91},
        {"a skipped row", 200, {{0, 50}, {500, 510}}, 455, {0, 55}, 201},
        {"the last skipped row", 454, {{0, 50}, {500, 510}}, 455, {0, 55}, 455},
        {"nothing is read after a rewind", 505, {{500, 510}, {10, 11}}, 0, {0, 11}, 506},
        {"the page's last row", 999, {{990, 1000}}, 900, {99, 1}, 1000},
    };
    for (const Store store : {Store::file, Store::heap})
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << c.name << (store == Store::heap ? ", on the heap" : ""));
            BoxTexts boxes;
            CLumentaDoc document;
            FakeImage* const page = PutPageIn(store, document, 200, kRows);
            page->fail_at = c.fail_at;
            for (const Request& r : c.requests)
                EXPECT_TRUE(document.GetRows(r.first, r.end - r.first));
            EXPECT_EQ(boxes.Take(), Texts{"error at line " + std::to_string(c.fail_at) + ": decoder lost"});
            EXPECT_EQ(page->reads, c.reads);
            if (store == Store::heap) {
                EXPECT_EQ(HeldFrom(document, c.from), c.held);
                continue;
            }
            int32_t last = 0; // the file holds all rows up to the last row requested
            for (const Request& r : c.requests)
                last = std::max(last, r.end);
            EXPECT_EQ(HeldFrom(document, 0), (Held{c.fail_at, last - c.fail_at}));
        }
}

TEST(RowWindow, APaintDuringTheMessageMayMoveTheWindow)
{
    for (const int32_t fail_at : {200, 505}) { // a skipped row, a kept row
        SCOPED_TRACE(fail_at);
        CLumentaDoc document;
        FakeImage* const page = PutPageOnHeap(document, std::make_unique<FakeImage>(200, kRows), kWindow);
        page->fail_at = fail_at;
        SetMessageBoxHook([&](const CString&) { EXPECT_TRUE(document.GetRows(10, 1)); });
        EXPECT_TRUE(document.GetRows(500, 10));
        SetMessageBoxHook({});
        EXPECT_EQ(document.m_nWindowFirst, 455);
        EXPECT_EQ(document.m_nLastRow, 509);
        EXPECT_EQ(HeldFrom(document, 455), (Held{0, 55}));
    }
}

TEST(RowWindow, DamageInAPageOfTheLargestHeightTakesNoTime)
{
    BoxTexts boxes;
    CLumentaDoc document;
    FakeImage* const page = PutPageOnHeap(document, std::make_unique<FakeImage>(8, INT32_MAX), kWindow);
    page->fail_at = 3;
    for (const Request& r :
         {Request{INT32_MAX - 10, INT32_MAX}, Request{0, 1}, Request{INT32_MAX - 1, INT32_MAX}}) {
        EXPECT_TRUE(document.GetRows(r.first, r.end - r.first));
        EXPECT_EQ(document.m_nLastRow, r.end - 1);
        EXPECT_EQ(HeldFrom(document, r.first), (Held{0, r.end - r.first}));
    }
    EXPECT_EQ(page->reads, 4);
    EXPECT_EQ(boxes.Take(), Texts{"error at line 3: decoder lost"});

    // If the window is large, only a part of its rows is set to zero.
    FakeImage* const wide = PutPageOnHeap(document, std::make_unique<FakeImage>(8 << 20, kRows), 200);
    wide->fail_at = 0;
    EXPECT_TRUE(document.GetRows(500, 1));
    EXPECT_EQ(document.m_nWindowFirst, 500 - 64) << "64 MB before the request";
    EXPECT_EQ(HeldFrom(document, 500), (Held{0, 1}));
    EXPECT_TRUE(document.GetRows(100, 1));
    EXPECT_EQ(HeldFrom(document, 100), (Held{0, 1}));
    EXPECT_EQ(boxes.Take(), Texts{"error at line 0: decoder lost"});
}

TEST(RowStore, RowsAfterTheDataAreNotRead)
{
    constexpr int32_t kHeight = 1 << 20;
    constexpr int32_t kZeroFrom = 70;
    for (const Store store : {Store::file, Store::heap}) {
        SCOPED_TRACE(store == Store::file ? "in a file" : "on the heap");
        CLumentaDoc document;
        FakeImage* const page = PutPageIn(store, document, 8, kHeight);
        page->zero_from = kZeroFrom;
        EXPECT_TRUE(document.GetRows(kHeight - 10, 10));
        EXPECT_LE(page->reads, kZeroFrom + kWindow) << "only the rows kept on the heap are read";
        EXPECT_EQ(page->CurrentRow, kHeight - 1);
        EXPECT_EQ(document.m_nLastRow, kHeight - 1);
        EXPECT_EQ(HeldFrom(document, kHeight - 10), (Held{0, 10}));
        EXPECT_TRUE(document.GetRows(0, 100));
        EXPECT_EQ(HeldFrom(document, 0), (Held{kZeroFrom, document.m_nLastRow + 1 - kZeroFrom}));
    }
}

TEST(RowStore, TheHeapTakesHalfOfTheFreeMemory)
{
    constexpr uint32_t kMost = 0x7fffffff;
    struct {
        uint32_t physical, page_file;
        int32_t rows, want; // 0: no store
    } const cases[] = {
        {12801, 12800, 1000, 100}, {25599, 0, 1000, 99}, {256, 0, 1000, 1}, {255, 0, 1000, 0},
        {kMost, kMost, 10, 10},    {25600, 0, 99, 99},   {25600, 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.physical << ", " << c.page_file << ", " << c.rows);
        const MemoryFigures memory{c.physical, c.page_file};
        CLumentaDoc document;
        document.m_nRowBytes = 128;
        EXPECT_EQ(document.AllocateRowBuffer(c.rows), c.want > 0);
        EXPECT_EQ(document.m_nWindowRows, c.want);
        EXPECT_EQ(document.ReleaseRowBuffer(), c.want > 0);
    }
}

TEST(RowStore, UsesTheHeapIfTheDiskIsFullAndFailsWithoutMemory)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.Write("page.tif", HostileTiff{1000, kRows, 50}.Bytes());
    BoxTexts boxes;
    CLumentaDoc document;
    EXPECT_TRUE(document.OnOpenDocument(path));
    EXPECT_NE(document.m_hTempFile, kInvalidFile);
    {
        const FileSizeLimit full{4096};
        EXPECT_TRUE(document.OnOpenDocument(path));
        EXPECT_EQ(document.m_hTempFile, kInvalidFile);
        EXPECT_EQ(document.m_nWindowRows, kRows);
        EXPECT_TRUE(document.GetRows(900, 100));
        EXPECT_EQ(document.RowAddress(950)[5], HostileTiff::RowByte(950, 5));
        EXPECT_EQ(boxes.Take(), Texts{});

        const MemoryFigures memory{100, 100};
        EXPECT_FALSE(document.OnOpenDocument(path));
    }
    EXPECT_EQ(boxes.Take(), Texts{"Unable to allocate bitmap"});
    EXPECT_EQ(document.m_nWidth + document.m_nDepth, 0);
    EXPECT_FALSE(document.GetRows(0, 1));
    EXPECT_EQ(boxes.Take(), Texts{"Image file is not open"});
    PutPage(document, std::make_unique<FakeImage>(8, 1));
    EXPECT_FALSE(document.GetRows(0, 1));
    EXPECT_EQ(boxes.Take(), Texts{"No memory buffer for bitmap"});
}

TEST(RowMapping, AFailedWriteKeepsTheWholeRowsBeforeIt)
{
    // A row has 1000 bytes. The limit ends the second block of rows between two rows or inside a row.
    for (const rlim_t limit : {rlim_t{300'000}, rlim_t{300'999}, rlim_t{300'001}}) {
        SCOPED_TRACE(limit);
        BoxTexts boxes;
        CLumentaDoc document;
        PutPageIn(Store::file, document, 8000, kRows);
        ASSERT_TRUE(document.GetRows(0, 10));
        {
            const FileSizeLimit full{limit};
            EXPECT_TRUE(document.GetRows(500, 10));
        }
        EXPECT_EQ(boxes.Take(), Texts{"error at line 300: File too large"});
        EXPECT_EQ(document.m_nLastRow, 509);
        EXPECT_EQ(HeldFrom(document, 0), (Held{300, 210}));
    }
}

// While the box of a failed row is open, the user may open another page or close this one.
TEST(Document, APageOpenedDuringABoxIsUntouchedByTheOldRequest)
{
    const ScratchDirectory scratch;
    const std::string whole = HostileTiff{100, 40, 20}.Bytes();
    const std::string damaged = scratch.Write("damaged.tif", whole.substr(0, whole.size() - 10));
    const std::string sound = scratch.Write("sound.tif", whole);
    for (const bool mapped : {false, true})
        for (const bool opens : {false, true}) {
            SCOPED_TRACE(testing::Message()
                         << (mapped ? "in a file" : "on the heap") << (opens ? ", opens" : ""));
            const FileSizeLimit disk{mapped ? RLIM_INFINITY : 0};
            CLumentaDoc document;
            ASSERT_TRUE(document.OnOpenDocument(damaged));
            ASSERT_EQ(document.m_hTempFile != kInvalidFile, mapped);
            int boxes_shown = 0;
            SetMessageBoxHook([&](const CString&) {
                if (++boxes_shown > 1) // "Image file is not open"
                    return;
                if (opens)
                    document.OnOpenDocument(sound);
                else
                    document.DeleteContents();
            });
            EXPECT_FALSE(document.GetRows(0, 40));
            EXPECT_EQ(boxes_shown, 1);
            EXPECT_EQ(document.GetRows(30, 10), opens);
            if (opens) {
                EXPECT_EQ(document.RowAddress(39)[7], HostileTiff::RowByte(39, 7));
            }
            SetMessageBoxHook({});
        }
}

TEST(Document, APathEndsAtATabOrSemicolonAndAFailureLeavesNoPage)
{
    const ScratchDirectory scratch;
    const std::string path = scratch.Write("front.tif", HostileTiff{100, 20, 20}.Bytes());
    BoxTexts boxes;
    CLumentaDoc document;
    for (const char* const suffix : {";extra", "\t1;2", ""}) {
        EXPECT_TRUE(document.OnOpenDocument(path + suffix));
        EXPECT_EQ(document.GetPathName(), path);
    }
    document.SetTitle("anything");
    EXPECT_EQ(document.GetTitle(), "front");

    EXPECT_FALSE(document.OnOpenDocument(scratch.File("page.fax;extra")));
    EXPECT_EQ(boxes.Take(), Texts{scratch.File("page.fax") + ": Open failed"});
    EXPECT_EQ(document.GetTitle(), "front") << "the window keeps its title";
    EXPECT_EQ(document.GetPathName(), path);
    EXPECT_FALSE(document.IsBilevelPage());
    EXPECT_TRUE(document.OnNewDocument());
    document.SetTitle("anything");
    EXPECT_EQ(document.GetTitle(), "");
}
} // namespace
