// SPDX-License-Identifier: MIT
// Work that takes long: what interrupts it, and when other input is handled. The test's own clock advances by
// ten milliseconds for each row of the page.
#include "app/scalefrm.h"
#include "tests/app/window_fixture.h"
#include "tests/support/recorder.h"

#include <map>

namespace
{
constexpr int64_t kRowMs = 10; // time for a row
constexpr int32_t kRows = 3000;
constexpr int32_t kRowsOfASecond = 1000 / kRowMs;
constexpr int32_t kRowsPerCheck = 50 / kRowMs; // rows between two checks for input

class LongWorkTest : public AppWindowTest
{
public:
    LongWorkTest()
    {
        SetWorkClock([this] { return now; });
        SetPrintDialogHook([this](CPrintInfo&) { return CString{scratch.File("page.pdf")}; });
    }
    ~LongWorkTest() override { SetWorkClock({}); }

    // Opens a slow page and paints its first rows at normal speed.
    void StartWithSlowPage()
    {
        Start();
        ResizeFrame(*frame, {400, 300});
        image = PutPageOnHeap(*document, std::make_unique<FakeImage>(640, kRows), kRows);
        document->UpdateAllViews(nullptr, kHintPage);
        ASSERT_TRUE(PumpUntilIdle());
        at_top = static_cast<int32_t>(image->reads);
        image->on_read = [this](int32_t row) {
            now += kRowMs;
            rows_read = row + 1;
            if (const auto found = input.find(row - at_top); found != input.end())
                CallFromLoop(found->second);
            if (while_reading)
                while_reading();
        };
    }
    void Jump()
    {
        view->ScrollToPosition({0, kRows});
        EXPECT_TRUE(PumpUntilIdle());
    }
    void MakeOverview()
    {
        document->m_nLinesPerUpdate = kRows;
        frame->SendMessage(WM_COMMAND, kScaledPageCommand);
        EXPECT_TRUE(PumpUntilIdle());
    }
    void Print()
    {
        view->SendMessage(WM_COMMAND, ID_FILE_PRINT);
        EXPECT_TRUE(PumpUntilIdle());
    }
    // Calls function from the event loop once that many rows after the first screen have been read.
    void When(int32_t rows, std::function<void()> function) { input[rows] = std::move(function); }
    void PressEscape() { PressKey(*view, TestKey::escape); }

    // Returns the row that the only box names, counted from the first row read slowly. -1 if there is no such
    // box.
    int32_t InterruptedAfter()
    {
        const Texts texts = boxes.Take();
        int row = -1;
        EXPECT_EQ(texts.size(), 1U);
        if (texts.empty() || sscanf(texts[0].c_str(), "error at line %d: interrupted", &row) != 1)
            return -1;
        EXPECT_EQ(texts[0], "error at line " + std::to_string(row) + ": interrupted");
        return row - at_top;
    }

    int64_t now = 0;
    FakeImage* image = nullptr;
    int32_t at_top = 0;                             // rows read before the work starts
    int32_t rows_read = 0;                          // all rows read so far
    std::map<int32_t, std::function<void()>> input; // see When
    std::function<void()> while_reading;

    const std::pair<const char*, std::function<void()>> works[3] = {
        {"a jump", [this] { Jump(); }},
        {"an overview", [this] { MakeOverview(); }},
        {"a print", [this] { Print(); }},
    };
};

TEST_F(LongWorkTest, EscapeEndsWorkThatHasLastedASecond)
{
    for (const auto& [name, work] : works)
        for (const int32_t pressed : {20, 250}) {
            SCOPED_TRACE(testing::Message() << name << ", " << pressed);
            StartWithSlowPage();
            input.clear();
            When(pressed, [this] { PressEscape(); });
            work();
            const int32_t after = InterruptedAfter();
            EXPECT_GE(after, std::max(pressed, kRowsOfASecond - 1));
            EXPECT_LE(after, std::max(pressed, kRowsOfASecond) + kRowsPerCheck);
            EXPECT_EQ(rows_read, at_top + after) << "no further row was read";
            EXPECT_TRUE(document->m_bReadError);
            // While the page is open, the rows before that one are right, and the rows from it on are zero.
            Jump();
            EXPECT_EQ(rows_read, at_top + after);
            EXPECT_EQ(boxes.Take(), Texts{});
            EXPECT_TRUE(FakeImage::HoldsRow(document->RowAddress(rows_read - 1), rows_read - 1, 80));
            EXPECT_EQ(document->RowAddress(rows_read)[0] | document->RowAddress(kRows - 1)[79], 0);
        }
}

TEST_F(LongWorkTest, ThePointerIsAnHourglassWhileTheUserWaits)
{
    for (const auto& [name, work] : works) {
        SCOPED_TRACE(name);
        StartWithSlowPage();
        while_reading = [this] {
            EXPECT_EQ(IsWaitCursorShown(), rows_read - at_top > 100 / kRowMs) << rows_read - at_top;
        };
        work();
        EXPECT_FALSE(IsWaitCursorShown());
    }
    bool shown = false;
    SetMessageBoxHook([&](const CString&) { shown = IsWaitCursorShown(); });
    app->OpenDocumentFile(scratch.File("none"));
    EXPECT_TRUE(shown) << "opening a page shows it at once";
    EXPECT_FALSE(IsWaitCursorShown());
}

TEST_F(LongWorkTest, OtherInputWaitsForTheEndOfTheWork)
{
    StartWithSlowPage();
    When(150, [this] {
        PressKey(*view, TestKey::up, false, 3);
        PressMouse(*view, {50, 50});
        MoveMouse(*view, {50, 55});
        MoveMouse(*view, {50, 60});
        ReleaseMouse(*view, {50, 60});
        TurnWheel(*view, 0, 120);
        PressAccelerator(*frame, "Ctrl+Alt+S");
        MoveMouse(*view, {50, 65});
        LeaveWithMouse(*view);
    });
    // The work itself handles no paint and no posted message.
    When(180, [this] {
        view->Invalidate();
        view->PostMessage(WM_KEYDOWN, VK_LEFT, PackPoint(1, 0));
    });
    const uint64_t paints = PaintCount(*view);
    while_reading = [&] {
        EXPECT_EQ(view->GetScrollPosition().y, kRows - view->GetClientRect().Height());
        EXPECT_EQ(view->m_pScaleFrame, nullptr);
        EXPECT_LE(PaintCount(*view), paints + 1);
    };
    Jump();
    EXPECT_EQ(rows_read, kRows);
    // Three keys, a drag of ten pixels and a wheel notch of 48, in this order.
    EXPECT_EQ(view->GetScrollPosition().y, kRows - view->GetClientRect().Height() - 3 - 10 - 48);
    EXPECT_NE(view->m_pScaleFrame, nullptr);
    EXPECT_FALSE(view->GetPointedPixel()) << "the pointer has left after the moves";

    StartWithSlowPage();
    const std::string other = WritePage("other.tif", 640, 500);
    When(150, [&] { DropFiles(*frame, {other}); });
    while_reading = [&] { EXPECT_EQ(document->m_nDepth, kRows); };
    Jump();
    EXPECT_EQ(rows_read, kRows);
    EXPECT_EQ(document->m_nDepth, 500);
    EXPECT_EQ(boxes.Take(), Texts{});
}

TEST_F(LongWorkTest, ADialogOpenedByHeldInputBlocksTheRestOfIt)
{
    StartWithSlowPage();
    int opened = 0;
    SetFileDialogHook([&](CFileDialog&) { ++opened; });
    When(150, [this] {
        MoveMouse(*view, {50, 50});
        PressAccelerator(*frame, "Ctrl+O");
        PressAccelerator(*frame, "Ctrl+O");
        LeaveWithMouse(*view);
    });
    Jump();
    EXPECT_TRUE(PumpUntil([&] { return opened > 0; }));
    EXPECT_TRUE(PumpUntilIdle());
    EXPECT_EQ(opened, 1);
    EXPECT_FALSE(view->GetPointedPixel()) << "the dialog does not block the event that the pointer has left";
}

TEST_F(LongWorkTest, ClosingTheMainWindowEndsTheProgramWithoutABox)
{
    StartWithSlowPage();
    When(150, [this] {
        CloseFrame(*frame);
        CloseFrame(*frame);
    });
    view->ScrollToPosition({0, kRows});
    ASSERT_TRUE(PumpUntil([this] { return app->m_pMainWnd == nullptr; }));
    EXPECT_LE(rows_read, at_top + 150 + kRowsPerCheck);
    EXPECT_EQ(boxes.Take(), Texts{});
    Start();
    AfxMessageBox("of the next");
    EXPECT_EQ(boxes.Take(), Texts{"of the next"});
}

TEST_F(LongWorkTest, ClosingTheOverviewEndsItsWorkAndReportsIt)
{
    StartWithSlowPage();
    When(150, [this] { CloseFrame(*view->m_pScaleFrame); });
    MakeOverview();
    ASSERT_TRUE(PumpUntil([this] { return view->m_pScaleFrame == nullptr; }));
    EXPECT_LE(InterruptedAfter(), 150 + kRowsPerCheck);
}
} // namespace
