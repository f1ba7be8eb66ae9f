// SPDX-License-Identifier: MIT
// Page drawing: the calls on a recording device, and each pixel that is drawn into memory.
#include "app/lumentadoc.h"
#include "app/pagedraw.h"
#include "platform/raster.h"
#include "tests/app/reduced_page.h"
#include "tests/support/child.h"
#include "tests/support/fake_image.h"
#include "tests/support/recording_dc.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string_view>

void PrintTo(const CSize& size, std::ostream* out)
{
    *out << size.cx << "x" << size.cy;
}

namespace
{
using Texts = std::vector<std::string>;

constexpr COLORREF kNotDrawn = 0xff123456;

struct Kind {
    int bits;
    int min_is_black;
};
constexpr Kind kKinds[] = {{1, 0}, {1, 1}, {8, 0}, {8, 1}};

// Returns the colour of a pixel of a fake page.
COLORREF PageColor(const Kind& kind, int x, int y)
{
    if (kind.bits == 1) {
        const bool one = FakeImage::IsOne(x, y);
        return one == (kind.min_is_black != 0) ? kWhite : kBlack;
    }
    const uint8_t value = FakeImage::RowByte(y, x);
    return Grey(kind.min_is_black ? value : 255U - value);
}

DeviceRecord Draw(CLumentaDoc& document, const CRect& rect, bool printing)
{
    DeviceRecord record;
    CDC dc{std::make_unique<RecordingTarget>(&record, printing)};
    document.DrawPage(&dc, rect);
    return record;
}

TEST(DrawPage, FetchesAndDrawsOnlyTheClip)
{
    const struct {
        const char* name;
        CRect clip;
        CRect bilevel, grey; // drawn on the screen; empty: there is no drawing call
    } cases[] = {
        {"from pixel 13", {13, 5, 113, 25}, {8, 5, 113, 25}, {13, 5, 113, 25}},
        {"from pixel 8 to the edge", {8, 0, 1000, 50}, {8, 0, 1000, 50}, {8, 0, 1000, 50}},
        {"wider and higher", {990, 50, 3000, 400}, {984, 50, 1000, 60}, {990, 50, 1000, 60}},
        {"one pixel", {999, 59, 1000, 60}, {992, 59, 1000, 60}, {999, 59, 1000, 60}},
        {"beyond the right edge", {1000, 0, 1100, 10}, {}, {}},
        {"beyond the lower edge", {0, 60, 100, 70}, {}, {}},
        {"far beyond both", {2000000000, 2000000000, 2000000010, 2000000010}, {}, {}},
        {"empty", {10, 10, 10, 20}, {}, {}},
    };
    for (const Kind& kind : kKinds)
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << c.name << ", " << kind.bits << " bits, " << kind.min_is_black);
            CLumentaDoc document;
            FakeImage* const page = PutPageOnHeap(
                document, std::make_unique<FakeImage>(1000, 60, kind.bits, kind.min_is_black), 60);
            const DeviceRecord record = Draw(document, c.clip, false);
            const CRect& drawn = kind.bits == 1 ? c.bilevel : c.grey;
            const std::string size = std::to_string(drawn.Width()) + "x" + std::to_string(drawn.Height());
            CString call;
            call.Format("%s %d,%d %s from 0,0 %s", kind.bits == 1 ? "bilevel" : "indexed", drawn.left,
                        drawn.top, size.c_str(), size.c_str());
            EXPECT_EQ(record.calls, drawn.Width() > 0 ? Texts{call.c_str()} : Texts{});
            EXPECT_EQ(page->reads, drawn.Width() > 0 ? std::min(c.clip.bottom, 60) : 0);
        }
}

TEST(DrawPage, ScreenPixelsEqualThePagesPixels)
{
    constexpr CSize kBuffer{80, 30}; // larger than each page
    const CRect clips[] = {{0, 0, 80, 30}, {13, 3, 50, 17}, {0, 5, 9, 6}, {-4, -4, 30, 20}, {31, 0, 33, 30}};
    for (const Kind& kind : kKinds)
        for (const int width : {1, 31, 33, 71})
            for (const CRect& clip : clips) {
                SCOPED_TRACE(testing::Message() << kind.bits << " bits, " << kind.min_is_black << ", width "
                                                << width << ", clip " << clip.left << "," << clip.top);
                CLumentaDoc document;
                constexpr int kHeight = 20;
                PutPageOnHeap(document,
                              std::make_unique<FakeImage>(width, kHeight, kind.bits, kind.min_is_black),
                              kHeight);
                std::vector<uint32_t> pixels(size_t{kBuffer.cx} * size_t{kBuffer.cy}, kNotDrawn);
                PixelBuffer buffer{pixels.data(), kBuffer.cx, kBuffer.cx, kBuffer.cy};
                CDC dc;
                dc.CreateOnPixels(&buffer);
                document.DrawPage(&dc, clip);
                for (int y = 0; y < kBuffer.cy; ++y)
                    for (int x = 0; x < kBuffer.cx; ++x) {
                        const bool on_page = x < width && y < kHeight;
                        const bool in_clip =
                            x >= clip.left && x < clip.right && y >= clip.top && y < clip.bottom;
                        const COLORREF got = buffer.Row(y)[x];
                        // A bilevel row is drawn from a whole byte on. It may cover pixels before the
                        // clip, which must be right too.
                        const bool drawn = on_page && (in_clip || got != kNotDrawn);
                        ASSERT_EQ(got, drawn ? PageColor(kind, x, y) : kNotDrawn) << x << "," << y;
                    }
            }
}

TEST(DrawPage, ThePrinterGetsTheWholePage)
{
    const struct {
        const char* name;
        Kind kind;
        int width, height;
        CSize paper;
        const char* call; // null: nothing is drawn
    } cases[] = {
        {"bilevel that fits", {1, 0}, 100, 50, {500, 500}, "bilevel 0,0 100x50 from 0,0 100x50"},
        {"bilevel that just fits", {1, 1}, 500, 400, {500, 400}, "bilevel 0,0 500x400 from 0,0 500x400"},
        {"a pixel too wide", {1, 0}, 501, 400, {500, 400}, "indexed 0,0 500x400 from 0,0 250x200"},
        {"a pixel too high", {1, 1}, 500, 401, {500, 400}, "indexed 0,0 500x400 from 0,0 250x200"},
        {"far too high", {1, 0}, 1000, 4000, {500, 1000}, "indexed 0,0 250x1000 from 0,0 125x500"},
        {"bilevel, smaller than a cell", {1, 0}, 3, 4000, {500, 20}, nullptr},
        {"bilevel on no paper", {1, 0}, 30, 30, {0, 500}, nullptr},
        {"grey, as high as the paper", {8, 0}, 100, 200, {500, 500}, "indexed 0,0 250x500 from 0,0 100x200"},
        {"grey, as wide as the paper", {8, 1}, 200, 100, {500, 500}, "indexed 0,0 500x250 from 0,0 200x100"},
        {"grey, made smaller", {8, 0}, 1000, 400, {500, 1000}, "indexed 0,0 500x200 from 0,0 1000x400"},
        {"grey, padded to 104", {8, 1}, 101, 200, {500, 500}, "indexed 0,0 253x500 from 0,0 101x200"},
        {"grey on no paper", {8, 0}, 100, 100, {0, 500}, nullptr},
        {"grey, too flat for the paper", {8, 0}, 1000, 1, {4, 500}, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        BoxTexts boxes;
        CLumentaDoc document;
        PutPageOnHeap(document,
                      std::make_unique<FakeImage>(c.width, c.height, c.kind.bits, c.kind.min_is_black),
                      c.height);
        const DeviceRecord record = Draw(document, {0, 0, c.paper.cx, c.paper.cy}, true);
        EXPECT_EQ(record.calls, c.call ? Texts{c.call} : Texts{});
        EXPECT_EQ(boxes.Take(), Texts{});
        const bool reduced = c.call && c.kind.bits == 1 && std::string_view{c.call}.starts_with("indexed");
        if (!c.call)
            continue;
        const int columns = reduced ? std::atoi(strstr(c.call, "from 0,0 ") + 9) : c.width;
        const int factor = c.width / columns;
        for (size_t i = 0; i < record.pixels.size(); ++i) {
            const int x = static_cast<int>(i) % columns;
            const int y = static_cast<int>(i) / columns;
            if (reduced) {
                const uint8_t value = ReducedValue(x, y, factor, FakeImage::IsOne);
                ASSERT_EQ(record.pixels[i], Grey(c.kind.min_is_black ? value : 255U - value)) << i;
            } else {
                ASSERT_EQ(record.pixels[i], PageColor(c.kind, x, y)) << i;
            }
        }
    }
}

TEST(DrawPage, AStoreWithTooFewRowsIsReportedAtEveryPaint)
{
    const Texts memory_error{"Insufficient memory to display page"};
    struct {
        Kind kind;
        bool printing;
        int lines;
        bool fits;
    } const cases[] = {
        {{1, 0}, false, 10, true},  {{1, 0}, false, 11, false}, {{8, 0}, false, 10, true},
        {{8, 0}, false, 11, false}, {{8, 0}, true, 10, false},  {{1, 0}, true, 50, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.kind.bits << " bits, " << c.lines << (c.printing ? ", printed" : ""));
        BoxTexts boxes;
        CLumentaDoc document;
        PutPageOnHeap(document, std::make_unique<FakeImage>(100, 50, c.kind.bits), 10);
        for (int paint = 0; paint < 2; ++paint) {
            const Texts calls = Draw(document, {0, 0, 100, c.lines}, c.printing).calls;
            EXPECT_EQ(calls.size(), c.fits || c.printing ? 1U : 0U);
            if (c.printing) {
                EXPECT_EQ(calls.front(), "abort, shown") << "the print is aborted without a sheet";
            }
            EXPECT_EQ(boxes.Take(), c.fits ? Texts{} : memory_error);
        }
    }
}

// There is less memory than one block of the page or of its reduction takes.
TEST(DrawPage, WithLittleMemoryAGreyPageIsPrintedAndAReductionFails)
{
    BoxTexts boxes;
    CLumentaDoc document;
    PutPageOnHeap(document, std::make_unique<FakeImage>(1000, 400, 8), 400);
    const MemoryFigures memory{1000, 0};
    EXPECT_EQ(Draw(document, {0, 0, 500, 1000}, true).calls, Texts{"indexed 0,0 500x200 from 0,0 1000x400"});
    EXPECT_EQ(boxes.Take(), Texts{});
    document.DeleteContents();
    PutPage(document, std::make_unique<FakeImage>(1000, 400));
    ASSERT_TRUE(document.CreateRowMapping(400));
    EXPECT_EQ(Draw(document, {0, 0, 500, 1000}, true).calls, Texts{"abort"});
    EXPECT_EQ(boxes.Take(), Texts{"Insufficient memory to scale image"});
}

TEST(DrawPage, AReductionForThePrinterLeavesTheRowsInTheFile)
{
    static constexpr int kWidth = 40'000, kHeight = 16'000; // 80 MB of rows
    const std::string grown = InChild([] {
        CLumentaDoc document;
        PutPage(document, std::make_unique<FakeImage>(kWidth, kHeight));
        const int64_t before = PeakMemory();
        const bool mapped = document.CreateRowMapping(kHeight);
        const DeviceRecord record = Draw(document, {0, 0, 500, 500}, true);
        const bool right = FakeImage::HoldsRow(document.RowAddress(9), 9, document.m_nRowBytes) &&
                           FakeImage::HoldsRow(document.RowAddress(15'999), 15'999, document.m_nRowBytes);
        return mapped && right && record.calls.size() == 1 ? std::to_string(PeakMemory() - before) : "";
    });
    ASSERT_NE(grown, "");
    EXPECT_LT(std::stoll(grown), 40'000'000);
}

TEST(DrawPage, WithoutAPageNothingIsDrawnOrReported)
{
    BoxTexts boxes;
    CLumentaDoc document;
    EXPECT_EQ(Draw(document, {0, 0, 10, 10}, false).calls, Texts{});
    PutPage(document, std::make_unique<FakeImage>(100, 50)); // has no row store
    EXPECT_EQ(Draw(document, {0, 0, 10, 10}, false).calls, Texts{});
    PutPageOnHeap(document, std::make_unique<FakeImage>(100, 50, 4), 50);
    EXPECT_EQ(Draw(document, {0, 0, 10, 10}, false).calls, Texts{});
    EXPECT_EQ(boxes.Take(), Texts{});
}

TEST(PageArithmetic, ReductionIsTwoFourOrAMultipleOfEight)
{
    struct {
        int size, room, want;
    } const cases[] = {
        {100, 50, 2},   {0, 10, 2},     {149, 50, 2},    {150, 50, 4},    {249, 50, 4},
        {250, 50, 8},   {449, 50, 8},   {450, 50, 16},   {800, 50, 16},   {850, 50, 24},
        {1000, 250, 4}, {4000, 500, 8}, {1000, 1, 1000}, {1001, 1, 1008}, {INT32_MAX, 1, INT32_MAX - 7},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ChooseReduction(c.size, c.room), c.want) << c.size << " into " << c.room;
}

TEST(PageArithmetic, FittingKeepsThePagesProportions)
{
    struct {
        CSize page, room, want;
    } const cases[] = {
        {{125, 500}, {500, 1000}, {250, 1000}},
        {{500, 125}, {1000, 1000}, {1000, 250}},
        {{10, 10}, {70, 70}, {70, 70}},
        {{1, INT32_MAX}, {INT32_MAX, 100}, {0, 100}},
        {{0, 5}, {10, 10}, {0, 0}},
        {{5, 5}, {10, 0}, {0, 0}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FitInto(c.page, c.room), c.want) << c.page.cx << "x" << c.page.cy;
}
} // namespace
