// SPDX-License-Identifier: MIT
// The reduced picture: its values, which are compared with a count of every pixel, its batches, and failures.
#include "app/lumentadoc.h"
#include "app/scaleddib.h"
#include "platform/testing/testing.h"
#include "platform/view.h"
#include "tests/app/reduced_page.h"
#include "tests/support/fake_image.h"
#include "tests/support/recording_dc.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
using Texts = std::vector<std::string>;

// Returns the first wrong line of lines 0 to lines - 1, or -1 if all are right. Page rows from zero_from on
// count as zero.
int FirstWrongLine(const CScaledDIBitmap& bitmap, int lines, int zero_from = INT32_MAX)
{
    for (int line = 0; line < lines; ++line)
        for (int column = 0; column < bitmap.m_nWidth; ++column) {
            const uint8_t want = ReducedValue(column, line, bitmap.m_nScale, [&](int x, int y) {
                return y < zero_from && FakeImage::IsOne(x, y);
            });
            if (bitmap.m_pBits[size_t(bitmap.m_nHeight - 1 - line) * size_t(bitmap.m_nStride) +
                               size_t(column)] != want)
                return line;
        }
    return -1;
}

TEST(ScaledBitmap, EqualsACountOfEachCell)
{
    for (const int scale : {2, 4, 8, 16, 24, 32, 40, 48, 248})
        for (const int width : {1, 7, 500, 1001})
            for (const int store : {1, 13, 2000}) {
                SCOPED_TRACE(testing::Message()
                             << "1/" << scale << ", width " << width << ", store " << store);
                constexpr int kHeight = 509;
                CLumentaDoc document;
                FakeImage* const page =
                    PutPageOnHeap(document, std::make_unique<FakeImage>(width, kHeight), store);
                CScaledDIBitmap bitmap{width, kHeight, scale, 0};
                ASSERT_TRUE(bitmap.IsComplete());
                // Half of the lines first. Only the page rows that they need may be read.
                const int half = bitmap.m_nHeight / 2;
                EXPECT_TRUE(document.ScaleRows(&bitmap, half));
                EXPECT_EQ(bitmap.m_nRowsDone, half - 1);
                EXPECT_EQ(page->reads, int64_t{half} * scale);
                EXPECT_TRUE(document.ScaleRows(&bitmap, bitmap.m_nHeight));
                EXPECT_TRUE(document.ScaleRows(&bitmap, bitmap.m_nHeight + 5)) << "all lines are done";
                EXPECT_EQ(bitmap.m_nLastSource, bitmap.m_nHeight * scale - 1);
                EXPECT_EQ(page->rewinds, 0);
                EXPECT_FALSE(bitmap.IsGrowing());
                EXPECT_EQ(FirstWrongLine(bitmap, bitmap.m_nHeight), -1);
            }
}

TEST(ScaledBitmap, IsABottomUpBitmapWithTheGreysOfItsPolarity)
{
    for (const int polarity : {0, 1}) {
        const CScaledDIBitmap bitmap{1001, 1003, 8, polarity};
        ASSERT_TRUE(bitmap.IsComplete());
        EXPECT_EQ(bitmap.m_nWidth, 125);
        EXPECT_EQ(bitmap.m_pInfo->width, 128);
        EXPECT_EQ(bitmap.m_pInfo->height, 125);
        EXPECT_EQ(bitmap.m_pInfo->image_size, 128U * 125U);
        EXPECT_EQ(bitmap.m_pInfo->x_pixels_per_metre, 2835);
        EXPECT_EQ(bitmap.GetPalette()->GetPaletteEntries()[200], Grey(polarity ? 200 : 55));
        EXPECT_EQ(bitmap.m_pInfo->colors[200].green, polarity ? 200 : 55);
    }
}

TEST(ScaledBitmap, AddRowsSkipsRowsThatItHasSeen)
{
    CScaledDIBitmap bitmap{64, 64, 8, 0};
    std::vector<uint8_t> rows(64 * 8, 0xff);
    EXPECT_EQ(bitmap.AddRows(rows.data(), 1, 40, 8), 0) << "row 0 is missing";
    EXPECT_EQ(bitmap.AddRows(rows.data(), 0, 17, 8), 2);
    EXPECT_EQ(bitmap.AddRows(rows.data(), 0, 17, 8), 0) << "all rows were seen before";
    EXPECT_EQ(bitmap.AddRows(rows.data(), 10, 14, 8), 1) << "rows 17 to 23 are new";
    EXPECT_EQ(bitmap.m_nLastSource, 23);
    bitmap.FinishScaling();
    EXPECT_EQ(bitmap.AddRows(rows.data(), 24, 8, 8), -1);
    bitmap.FinishScaling();
}

TEST(ScaledBitmap, AnUnreadableRowIsReportedOnceAndTheRestIsBlank)
{
    BoxTexts boxes;
    CLumentaDoc document;
    FakeImage* const page = PutPageOnHeap(document, std::make_unique<FakeImage>(200, 160), 160);
    page->fail_at = 70;
    EXPECT_TRUE(document.MakeScaledBitmap(8));
    document.m_nLinesPerUpdate = 3;
    while (document.IsScaling())
        document.ScaleNextLines();
    EXPECT_EQ(boxes.Take(), Texts{"error at line 70: decoder lost"});
    EXPECT_EQ(document.m_pScaled->m_nRowsDone, 19);
    EXPECT_EQ(FirstWrongLine(*document.m_pScaled, 20, 70), -1);
}

TEST(ScaledBitmap, ARefusedLineEndsTheReduction)
{
    BoxTexts boxes;
    CLumentaDoc document;
    PutPageOnHeap(document, std::make_unique<FakeImage>(200, 160), 160);
    EXPECT_TRUE(document.MakeScaledBitmap(8));
    CScaledDIBitmap& bitmap = *document.m_pScaled;
    bitmap.m_nHeight = 5; // the engine makes more lines than the picture has
    bitmap.m_nRowsDone = -9;
    const std::vector<uint8_t> rows(size_t{64} * 28);
    EXPECT_EQ(bitmap.AddRows(rows.data(), 8, 64, 28), 4) << "only lines 1 to 4 are accepted";
    EXPECT_EQ(boxes.Take(), Texts{"Scaling failed"});
    document.ScaleNextLines();
    EXPECT_EQ(boxes.Take(), Texts{"Scaling failed"});
    EXPECT_FALSE(document.IsScaling());
    EXPECT_EQ(bitmap.m_pEngine, nullptr);
}

TEST(ScaledBitmap, IsDeletedWithItsPageEvenWhileABoxIsOpen)
{
    CLumentaDoc document;
    FakeImage* const page = PutPageOnHeap(document, std::make_unique<FakeImage>(200, 160), 160);
    page->fail_at = 40;
    EXPECT_TRUE(document.MakeScaledBitmap(8));
    document.m_nLinesPerUpdate = 100;
    int boxes_shown = 0;
    SetMessageBoxHook([&](const CString&) {
        ++boxes_shown;
        document.DeleteContents();
    });
    document.ScaleNextLines();
    SetMessageBoxHook({});
    EXPECT_EQ(boxes_shown, 1);
    EXPECT_EQ(document.m_pScaled, nullptr);
    EXPECT_FALSE(document.BlitScaled(nullptr, {0, 0, 10, 10}));
}

TEST(ScaledBitmap, IsReusedForTheSameScaleAndReplacedForAnother)
{
    CLumentaDoc document;
    EXPECT_EQ(document.GetPagePalette(true), nullptr);
    PutPageOnHeap(document, std::make_unique<FakeImage>(640, 480, 1, 1), 480);
    document.m_nLinesPerUpdate = 2;
    EXPECT_TRUE(document.MakeScaledBitmap(16));
    const CScaledDIBitmap* const first = document.m_pScaled.get();
    EXPECT_TRUE(document.MakeScaledBitmap(16));
    EXPECT_EQ(document.m_pScaled.get(), first);
    EXPECT_EQ(first->m_nRowsDone, 3);
    EXPECT_EQ(document.GetPagePalette(true), first->GetPalette());
    document.m_nLinesPerUpdate = INT32_MAX;
    EXPECT_TRUE(document.MakeScaledBitmap(8));
    EXPECT_EQ(document.m_pScaled->m_nRowsDone, 59) << "one batch can make the whole picture";
    // BlitScaled paints as much of the picture as fits into the rectangle.
    DeviceRecord record;
    CDC dc{std::make_unique<RecordingTarget>(&record, false)};
    EXPECT_TRUE(document.BlitScaled(&dc, {0, 0, 80, 60}));
    EXPECT_TRUE(document.BlitScaled(&dc, {0, 0, 500, 9}));
    EXPECT_EQ(record.calls, (Texts{"indexed 0,0 80x60 from 0,0 80x60", "indexed 0,0 80x9 from 0,0 80x9"}));
    EXPECT_EQ(record.pixels[7], Grey(ReducedValue(7, 0, 8, FakeImage::IsOne)));
    document.DeleteContents();
    EXPECT_EQ(document.m_pScaled, nullptr);
}

TEST(ScaledBitmap, IsNotMadeWithoutMemory)
{
    BoxTexts boxes;
    CLumentaDoc document;
    PutPageOnHeap(document, std::make_unique<FakeImage>(1000, 1000), 1000);
    {
        const MemoryFigures memory{20000, 11999}; // half of this is one byte too few
        EXPECT_FALSE(document.MakeScaledBitmap(8));
    }
    EXPECT_EQ(document.m_pScaled, nullptr);
    EXPECT_EQ(boxes.Take(), (Texts{"Insufficient memory to scale image", "Unable to create scaled bitmap"}));
    const MemoryFigures memory{20000, 12000};
    EXPECT_TRUE(document.MakeScaledBitmap(8));
    EXPECT_EQ(boxes.Take(), Texts{});
    // The product of these sides needs more than 32 bits.
    const CScaledDIBitmap huge{0x7ffffff7, 0x7ffffff7, 8, 0};
    EXPECT_FALSE(huge.IsComplete());
    EXPECT_EQ(huge.GetPalette(), nullptr);
    EXPECT_EQ(boxes.Take(), Texts{"Insufficient memory to scale image"});
}
} // namespace
