// SPDX-License-Identifier: MIT
// The scaled window: its size, its growth between paints and input, picking, and every way to close it.
#include "app/overview.h"
#include "app/scalefrm.h"
#include "app/scalevw.h"
#include "tests/app/reduced_page.h"
#include "tests/app/window_fixture.h"

#include <fstream>
#include <random>

namespace
{
TEST(ChooseScale, FitsThePageIntoHalfTheScreensWidthAndItsHeight)
{
    const struct {
        CSize page, screen;
        int32_t want;
    } cases[] = {
        {{9000, 12000}, {1024, 768}, 24},   {{4096, 100}, {1024, 768}, 8},     {{4097, 100}, {1024, 768}, 16},
        {{10, 10}, {1024, 768}, 8},         {{100, 6144}, {1024, 768}, 8},     {{100, 6145}, {1024, 768}, 16},
        {{20000, 30000}, {1280, 960}, 32},  {{7, 100000}, {1280, 960}, 112},   {{100, 100}, {0, 0}, 104},
        {{INT32_MAX, 1}, {1280, 960}, 248}, {{300, INT32_MAX}, {1, 960}, 248},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ChooseScale(c.page, c.screen), c.want) << c.page.cx << "x" << c.page.cy;
}

TEST(FrameInOverview, CoversTheVisiblePartAndStaysInThePicture)
{
    constexpr int kMost = INT32_MAX;
    const struct {
        CPoint position;
        CSize client, page;
        int scale;
        CRect want;
    } cases[] = {
        {{0, 0}, {400, 300}, {3200, 2400}, 8, {0, 0, 50, 38}}, // rounded outwards
        {{15, 16}, {400, 300}, {3200, 2400}, 8, {1, 2, 52, 40}},
        {{2800, 2100}, {400, 300}, {3200, 2400}, 8, {350, 262, 400, 300}},
        {{2807, 2107}, {400, 300}, {3207, 2407}, 8, {350, 263, 400, 300}}, // the last cells are incomplete
        {{0, 0}, {400, 300}, {100, 80}, 8, {0, 0, 12, 10}},
        {{0, 0}, {400, 300}, {100, 2400}, 8, {0, 0, 12, 38}},
        {{600, 0}, {1, 1}, {3200, 2400}, 8, {73, 0, 76, 3}}, // at least 3 x 3
        {{0, 40}, {1, 1}, {3200, 2400}, 8, {0, 3, 3, 6}},
        {{3199, 2399}, {1, 1}, {3200, 2400}, 8, {397, 297, 400, 300}},
        {{0, 0}, {400, 300}, {1, 1}, 8, {0, 0, 3, 3}}, // no complete cell
        {{0, 0}, {400, 300}, {17, 17}, 8, {0, 0, 3, 3}},
        {{kMost - 400, kMost - 300}, {400, 300}, {kMost, kMost}, 248, {8659205, 8659205, 8659208, 8659208}},
        {{kMost - 1, 0}, {kMost, kMost}, {kMost, 1}, 8, {268435452, 0, 268435455, 3}},
        {{0, 0}, {kMost, kMost}, {kMost, kMost}, 8, {0, 0, 268435455, 268435455}},
        {{0, 0}, {0, 300}, {3200, 2400}, 8, {}}, // nothing is visible
        {{0, 0}, {400, 300}, {0, 0}, 8, {}},
        {{50, 90}, {400, 300}, {50, 90}, 8, {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FrameInOverview(c.position, c.client, c.page, c.scale), c.want)
            << c.position.x << "," << c.position.y << " of " << c.page.cx << "x" << c.page.cy;
}

class ScaledWindow : public AppWindowTest
{
protected:
    CScaleView* Open()
    {
        frame->SendMessage(WM_COMMAND, kScaledPageCommand);
        return Scaled();
    }
    CScaleView* Scaled() const
    {
        return view->m_pScaleFrame ? DynamicDowncast<CScaleView>(view->m_pScaleFrame->GetActiveView())
                                   : nullptr;
    }

    // Shows a page and opens the window with its whole picture. Returns null if that fails.
    CScaleView* StartComplete(int width, int height)
    {
        StartWithPage(width, height);
        CScaleView* const scaled = Open();
        EXPECT_TRUE(PumpUntilIdle());
        return scaled;
    }

    // Opens the window and presses Escape after the first lines.
    CScaleView* OpenStopped()
    {
        CScaleView* const scaled = Open();
        document->m_nLinesPerUpdate = 1;
        EXPECT_TRUE(PumpUntil([&] { return Lines() >= 5; }));
        PressKey(*scaled, TestKey::escape);
        EXPECT_TRUE(PumpUntilIdle());
        return scaled;
    }
    int Lines() const { return document->m_pScaled->m_nRowsDone + 1; }

    // Returns the colour of the frame at a pixel of the picture, or 0 if the frame does not cover it. The
    // frame surrounds the part that the page view shows.
    COLORREF FramePixel(const CScaleView& scaled, int column, int line) const
    {
        const CRect client = view->GetClientRect();
        const CRect place = FrameInOverview(view->GetScrollPosition(), {client.Width(), client.Height()},
                                            {page.width, page.height}, scaled.m_nScale);
        const int inside = std::min(
            {column - place.left, place.right - 1 - column, line - place.top, place.bottom - 1 - line});
        return inside == 0 ? kBlack : inside == 1 ? kWhite : 0;
    }

    // Returns the scroll position of the page view with this pixel of a picture of 1/8 in its middle, as far
    // as the page allows.
    CPoint PositionOver(CPoint spot) const
    {
        const CRect client = view->GetClientRect();
        return {std::clamp(spot.x * 8 - client.Width() / 2, 0, Range().x),
                std::clamp(spot.y * 8 - client.Height() / 2, 0, Range().y)};
    }

    // Pumps until idle, and compares the picture with a count of the page's pixels, without the frame and
    // with it. Returns the first difference, or an empty text. Lines not yet made are white.
    std::string PictureDiffers(CScaleView& scaled, int lines = INT32_MAX) const
    {
        EXPECT_TRUE(PumpUntilIdle());
        const GrabbedPixels shown = GrabWindow(scaled);
        const GrabbedPixels own = CopyBuffer(scaled);
        const CPoint position = scaled.GetScrollPosition();
        const int scale = scaled.m_nScale;
        if (shown.width != own.width || shown.height != own.height)
            return "the picture has another size";
        for (int y = 0; y < shown.height; ++y)
            for (int x = 0; x < shown.width; ++x) {
                const int column = position.x + x;
                const int line = position.y + y;
                COLORREF want = BackgroundOf(scaled);
                if (column < page.width / scale && line < page.height / scale)
                    want = line < lines
                               ? Grey(255U -
                                      ReducedValue(column, line, scale,
                                                   [this](int at_x, int at_y) { return IsOne(at_x, at_y); }))
                               : kWhite;
                if (own.At(x, y) != want)
                    return "at " + std::to_string(x) + "," + std::to_string(y);
                if (const COLORREF over = FramePixel(scaled, column, line))
                    want = over;
                if (shown.At(x, y) != want)
                    return "frame at " + std::to_string(x) + "," + std::to_string(y);
            }
        return {};
    }
};

TEST_F(ScaledWindow, ShowsTheWholePageAtItsOwnSize)
{
    CScaleView* const scaled = StartComplete(2003, 1507);
    ASSERT_NE(scaled, nullptr);
    EXPECT_EQ(scaled->m_nScale, 8);
    EXPECT_EQ(view->m_pScaleFrame->GetWindowText(), "page  (1/8)");
    EXPECT_EQ(scaled->GetClientRect(), (CRect{0, 0, 250, 188}));
    EXPECT_EQ(document->m_pScaled->m_nRowsDone, 187);
    EXPECT_EQ(PictureDiffers(*scaled), "");
    EXPECT_EQ(ScreenDiffersFromPage(), "") << "the page view is unchanged";
    EXPECT_EQ(document->GetViews().size(), 2U);
    EXPECT_EQ(Open(), scaled) << "the command brings the same window forward";
    EXPECT_EQ(document->GetViews().size(), 2U);

    // The picture outlives the window.
    const CScaledDIBitmap* const picture = document->m_pScaled.get();
    view->m_pScaleFrame->SendMessage(WM_CLOSE);
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(view->m_pScaleFrame, nullptr);
    EXPECT_EQ(document->GetViews().size(), 1U);
    EXPECT_EQ(document->m_pScaled.get(), picture);
    CScaleView* const again = Open();
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(document->m_pScaled.get(), picture);
    EXPECT_EQ(PictureDiffers(*again), "");

    // Larger and smaller than the picture.
    for (const CSize size : {CSize{400, 300}, CSize{100, 90}}) {
        ResizeFrame(*view->m_pScaleFrame, size);
        again->ScrollToPosition({60, 33});
        EXPECT_EQ(PictureDiffers(*again), "");
    }
}

TEST_F(ScaledWindow, StaysOpenWhileItsPageIsReadAgain)
{
    StartWithPage(2003, 1507);
    CScaleView* const scaled = Open();
    ResizeFrame(*view->m_pScaleFrame, {100, 90});
    scaled->ScrollToPosition({60, 33});
    document->m_nLinesPerUpdate = 7;
    for (const uint64_t seed : {2, 3}) {
        WritePage("page.tif", 2003, 1507, 300, 300, seed);
        PressAccelerator(*view->m_pScaleFrame, "F5");
        ASSERT_EQ(Scaled(), scaled);
        ASSERT_TRUE(PumpUntil([&] { return Lines() >= 20; }));
        scaled->Invalidate();
        scaled->UpdateWindow(); // asks for the next lines
    }
    EXPECT_EQ(scaled->GetScrollPosition(), (CPoint{60, 33}));
    ASSERT_TRUE(PumpUntil([&] { return Lines() >= 50; }));
    scaled->m_bStop = true;
    const int stopped = Lines();
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_LE(Lines(), stopped + 2 * 7) << "there is only one chain of batches";
    scaled->Invalidate();
    EXPECT_EQ(PictureDiffers(*scaled), "");

    // A page of another size has a new picture.
    WritePage("page.tif", 1603, 3507);
    PressAccelerator(*view->m_pScaleFrame, "F5");
    CScaleView* const other = Scaled();
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(PictureDiffers(*other), "");
    EXPECT_EQ(view->m_pScaleFrame->GetWindowText(), "page  (1/8)");
    EXPECT_EQ(boxes.Take(), Texts{});
}

TEST_F(ScaledWindow, GrowsInBatchesAndStopsOnEscape)
{
    StartWithPage(1600, 2400);
    CScaleView* const scaled = Open();
    document->m_nLinesPerUpdate = 7;
    EXPECT_LE(Lines(), 1) << "one batch before the first paint";
    ASSERT_TRUE(PumpUntil([&] { return Lines() >= 50; }));
    ASSERT_LT(Lines(), 300);
    EXPECT_EQ((Lines() - 1) % 7, 0);

    PressKey(*scaled, TestKey::escape);
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_LT(Lines(), 300);
    EXPECT_FALSE(scaled->m_bStop) << "the paint has cleared it";
    EXPECT_EQ(PictureDiffers(*scaled, Lines()), "");

    // Other paints while a batch is pending start no second chain of batches, which Escape would not stop.
    const int stopped = Lines();
    for (int i = 0; i < 3; ++i) {
        scaled->Invalidate();
        scaled->UpdateWindow();
    }
    scaled->m_bStop = true;
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_LE(Lines(), stopped + 2 * 7);
}

TEST_F(ScaledWindow, EveryWayOfShowingItContinuesItAfterEscape)
{
    StartWithPage(1600, 2400);
    const struct {
        const char* what;
        std::function<void(CScaleFrame&)> prepare, act;
    } cases[] = {
        {"a paint", {}, [](CScaleFrame& overview) { overview.GetActiveView()->Invalidate(); }},
        {"uncovered", {}, [](CScaleFrame& overview) { UncoverFrame(overview); }},
        {"clicked",
         {},
         [](CScaleFrame& overview) {
             PressMouse(*overview.GetActiveView(), {9, 9});
             ReleaseMouse(*overview.GetActiveView(), {9, 9});
         }},
        {"activated", [this](CScaleFrame&) { ActivateByUser(*frame); },
         [](CScaleFrame& overview) { ActivateByUser(overview); }},
        {"restored", [](CScaleFrame& overview) { overview.ShowWindow(SW_SHOWMINIMIZED); },
         [](CScaleFrame& overview) { overview.ShowWindow(SW_SHOWNORMAL); }},
        {"Scaled Page again", {}, [this](CScaleFrame&) { Open(); }},
    };
    for (const auto& c : cases) {
        app->OpenDocumentFile(scratch.File("page.tif"));
        CScaleView* const scaled = OpenStopped();
        if (c.prepare)
            c.prepare(*view->m_pScaleFrame);
        ASSERT_TRUE(PumpUntilIdle());
        // Hiding the window may have caused a paint.
        scaled->m_bStop = document->IsScaling();
        scaled->Invalidate();
        ASSERT_TRUE(PumpUntilIdle());
        ASSERT_LT(Lines(), 300) << c.what;
        EXPECT_FALSE(scaled->m_bStop);
        c.act(*view->m_pScaleFrame);
        ASSERT_TRUE(PumpUntilIdle());
        EXPECT_EQ(Lines(), 300) << c.what;
        EXPECT_EQ(PictureDiffers(*scaled), "") << c.what;
    }
}

// Windows smaller than their picture, scrolled to several positions, or minimized.
TEST_F(ScaledWindow, BecomesCompleteInEveryWindow)
{
    StartWithPage(1600, 2400);
    const struct {
        CSize size;
        int scrolled;
        bool minimized;
    } cases[] = {{{640, 120}, 0, false},
                 {{220, 120}, 180, false},
                 {{220, 90}, 100, false},
                 {{150, 100}, 40, true},
                 {{1, 1}, 0, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.size.cx << " x " << c.size.cy << " at " << c.scrolled);
        app->OpenDocumentFile(scratch.File("page.tif"));
        CScaleView* const scaled = Open();
        view->m_pScaleFrame->MoveWindow({0, 0, c.size.cx, c.size.cy});
        scaled->ScrollToPosition({0, c.scrolled});
        EXPECT_EQ(scaled->GetScrollPosition().y, c.scrolled);
        if (c.minimized)
            view->m_pScaleFrame->ShowWindow(SW_SHOWMINIMIZED);
        ASSERT_LT(Lines(), 10);
        ASSERT_TRUE(PumpUntilIdle());
        EXPECT_EQ(Lines(), 300);
        EXPECT_EQ(PictureDiffers(*scaled), "");
    }
    // Escape also stops lines below the visible part, and a single paint continues them.
    app->OpenDocumentFile(scratch.File("page.tif"));
    CScaleView* const scaled = Open();
    view->m_pScaleFrame->MoveWindow({0, 0, 220, 60});
    ASSERT_TRUE(PumpUntil([&] { return Lines() >= 100; }));
    PressKey(*scaled, TestKey::escape);
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_LT(Lines(), 110);
    UncoverFrame(*view->m_pScaleFrame);
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(Lines(), 300);
}

TEST_F(ScaledWindow, EachBatchPaintsOnceAndNeverThePageView)
{
    StartWithPage(1600, 1600);
    CScaleView* const scaled = OpenStopped();
    const uint64_t page_paints = PaintCount(*view);
    const uint64_t paints = PaintCount(*scaled);
    const int lines = Lines();
    ASSERT_LT(lines, 100);
    scaled->Invalidate();
    ASSERT_TRUE(PumpUntilIdle());
    ASSERT_EQ(Lines(), 200);
    EXPECT_EQ(PaintCount(*scaled) - paints, static_cast<uint64_t>(1 + 200 - lines))
        << "one paint per batch of one line";
    EXPECT_EQ(PaintCount(*view), page_paints);
}

TEST_F(ScaledWindow, AClickMovesThePageViewWhileTheButtonIsDown)
{
    CScaleView* const scaled = StartComplete(3200, 2400);
    for (const CPoint spot : {CPoint{250, 180}, CPoint{0, 0}, CPoint{399, 299}, CPoint{60, 280}}) {
        PressMouse(*scaled, spot);
        ASSERT_TRUE(PumpUntilIdle());
        const CPoint want = PositionOver(spot);
        EXPECT_EQ(view->GetScrollPosition(), want);
        EXPECT_EQ(Pane(1), "left=" + std::to_string(want.x) + " top=" + std::to_string(want.y));
        EXPECT_EQ(ScreenDiffersFromPage(), "");
        ReleaseMouse(*scaled, spot);
        view->ScrollToPosition({want.x / 2 + 300, want.y / 2 + 300});
        scaled->SendMessage(WM_LBUTTONDBLCLK, MK_LBUTTON, PackPoint(spot.x, spot.y));
        EXPECT_EQ(view->GetScrollPosition(), want) << "a quick second press";
        ReleaseMouse(*scaled, spot);
    }
    // If the window shows a part of the picture, the scroll position is added to the place of a click. Keys
    // and drags scroll the picture.
    ResizeFrame(*view->m_pScaleFrame, {200, 150});
    PressKey(*scaled, TestKey::down, false, 40);
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(scaled->GetScrollPosition(), (CPoint{0, 40}));
    PressMouse(*scaled, {100, 100});
    EXPECT_EQ(scaled->GetPickedPoint(), (CPoint{800, 1120}));
    MoveMouse(*scaled, {90, 80});
    ReleaseMouse(*scaled, {90, 80});
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(scaled->GetScrollPosition(), (CPoint{10, 60}));
    EXPECT_EQ(PictureDiffers(*scaled), "");
}

TEST_F(ScaledWindow, TheFrameFollowsThePageViewAndCopiesOnlyItsEdges)
{
    CScaleView* const scaled = StartComplete(3200, 2400);
    EXPECT_EQ(PictureDiffers(*scaled), "");
    const uint64_t paints = PaintCount(*scaled);
    static constexpr CSize kSmaller{300, 200};
    static constexpr CSize kLarger{600, 440};
    const struct {
        const char* name;
        std::function<void()> move;
    } moves[] = {
        {"keys", [this] { PressKey(*view, TestKey::pageDown, false, 2); }},
        {"a bar", [this] { view->SendMessage(WM_HSCROLL, 0, 800); }},
        {"the wheel", [this] { TurnWheel(*view, 0, 240); }},
        {"a drag",
         [this] {
             PressMouse(*view, {200, 200});
             MoveMouse(*view, {100, 20});
             ReleaseMouse(*view, {100, 20});
         }},
        {"a smaller window", [this] { ResizeFrame(*frame, kSmaller); }},
        {"the end",
         [this] {
             PressKey(*view, TestKey::end);
             PressKey(*view, TestKey::end, true);
         }},
        {"a window that pulls the page along", [this] { ResizeFrame(*frame, kLarger); }},
    };
    for (const auto& c : moves) {
        SCOPED_TRACE(c.name);
        const CPoint before = view->GetScrollPosition();
        const CRect client = view->GetClientRect();
        c.move();
        ASSERT_TRUE(PumpUntilIdle());
        EXPECT_TRUE(view->GetScrollPosition() != before || view->GetClientRect() != client);
        EXPECT_EQ(PictureDiffers(*scaled), "");
    }
    EXPECT_EQ(PaintCount(*scaled), paints);

    const uint64_t copied = CopiedPixels(*scaled);
    PressKey(*view, TestKey::left, false, 8); // one pixel of the picture
    EXPECT_EQ(PictureDiffers(*scaled), "");
    const CRect client = view->GetClientRect();
    const auto edges = static_cast<uint64_t>(2 * (client.Width() / 8 + client.Height() / 8 + 4));
    EXPECT_GT(CopiedPixels(*scaled), copied);
    EXPECT_LE(CopiedPixels(*scaled) - copied, edges * 3) << "the picture has 120000 pixels";
}

TEST_F(ScaledWindow, ADragInAFullyVisiblePictureMovesThePage)
{
    CScaleView* const scaled = StartComplete(3200, 2400);
    MoveMouse(*scaled, {300, 200}); // not pressed
    EXPECT_EQ(view->GetScrollPosition(), CPoint{});
    PressMouse(*scaled, {100, 90});
    for (const CPoint spot : {CPoint{100, 90}, CPoint{101, 90}, CPoint{250, 180}, CPoint{-3000, 200},
                              CPoint{399, 299}, CPoint{120, 9000}, CPoint{200, 150}}) {
        MoveMouse(*scaled, spot);
        ASSERT_TRUE(PumpUntilIdle());
        EXPECT_EQ(view->GetScrollPosition(), PositionOver(spot)) << spot.x << "," << spot.y;
        EXPECT_EQ(scaled->GetScrollPosition(), CPoint{});
        EXPECT_EQ(PictureDiffers(*scaled), "");
    }
    const CPoint left_at = view->GetScrollPosition();
    scaled->SendMessage(WM_MOUSEMOVE, 0, PackPoint(30, 20)); // the button was released over a message box
    EXPECT_EQ(view->GetScrollPosition(), left_at);
    ReleaseMouse(*scaled, {200, 150});
    MoveMouse(*scaled, {30, 20});
    EXPECT_EQ(view->GetScrollPosition(), left_at);
}

TEST_F(ScaledWindow, ClosesWithItsPageAndWithTheProgram)
{
    const std::string first = WritePage("first.tif", 900, 700);
    const std::string second = WritePage("second.tif", 1100, 800);
    Start(first);
    PressAccelerator(*frame, "Ctrl+Alt+S");
    ASSERT_NE(Scaled(), nullptr);
    app->OpenDocumentFile(second); // while the picture grows
    EXPECT_EQ(view->m_pScaleFrame, nullptr);
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(document->m_pScaled, nullptr);
    CScaleView* const scaled = Open();
    EXPECT_EQ(PictureDiffers(*scaled), "");
    app->OpenDocumentFile(scratch.File("nowhere.tif"));
    EXPECT_EQ(view->m_pScaleFrame, nullptr) << "without a page there is no window";
    EXPECT_EQ(boxes.Take().size(), 1U);
    app->OpenDocumentFile(second);
    Open();
    frame->SendMessage(WM_CLOSE); // closing the main window closes the scaled window
    Stop();

    Start();
    PutPageOnHeap(*document, std::make_unique<FakeImage>(300, 200, 8), 200);
    EXPECT_TRUE(MenuHas("&View/&Scaled Page\tCtrl+Alt+S [disabled]")) << "the page has 8 bits per pixel";
}

TEST_F(ScaledWindow, APageWithoutACompleteCellHasAnEmptyPicture)
{
    for (const CSize size : {CSize{1, 1}, CSize{7, 5000}, CSize{5000, 7}}) {
        Start(WritePage("thin.tif", size.cx, size.cy));
        CScaleView* const scaled = Open();
        ASSERT_NE(scaled, nullptr);
        ASSERT_TRUE(PumpUntilIdle());
        scaled->SendMessage(WM_LBUTTONDOWN, 0, PackPoint(0, 0));
        scaled->SendMessage(WM_LBUTTONUP, 0, PackPoint(0, 0));
        EXPECT_EQ(PictureDiffers(*scaled), "");
    }
    EXPECT_EQ(boxes.Take(), Texts{});
}

// The header of a small file can claim any size.
TEST_F(ScaledWindow, AHugePageTakesNoMemoryForLinesNotYetMade)
{
    Start();
    const auto anonymous_kb = [] {
        std::ifstream status("/proc/self/status");
        std::string word;
        long kb = 0;
        while (status >> word)
            if (word == "RssAnon:")
                status >> kb;
        return kb;
    };
    PutPageOnHeap(*document, std::make_unique<FakeImage>(20'000, 400'000'000), 500);
    const long before = anonymous_kb();
    CScaleView* const scaled = Open();
    ASSERT_NE(scaled, nullptr);
    ASSERT_TRUE(PumpUntil([&] { return Lines() >= 3; }));
    EXPECT_EQ(document->m_pScaled->m_nHeight, 400'000'000 / 248);
    CDC screen;
    screen.CreateDisplayInformation();
    EXPECT_LE(scaled->GetClientRect().Height(), screen.GetDeviceCaps(VERTRES));
    EXPECT_LT(anonymous_kb() - before, 50'000) << "all lines take 129 MB, a window of their size 516 MB";

    // A window cannot become larger than the screen.
    PressKey(*scaled, TestKey::escape);
    ResizeFrame(*view->m_pScaleFrame, {9000, 9000});
    EXPECT_LE(scaled->GetClientRect().Width(), screen.GetDeviceCaps(HORZRES));
    EXPECT_LE(scaled->GetClientRect().Height(), screen.GetDeviceCaps(VERTRES));
    EXPECT_EQ(boxes.Take(), Texts{});
}

TEST_F(ScaledWindow, LinesPerUpdateIsAskedForAndKept)
{
    StartWithPage(1600, 2400);
    const auto answer = [&](const char* text, const char* key) {
        SetDialogHook([=](CDialog& dialog) {
            PressDialogKeys(dialog, {"Ctrl+A"});
            TypeText(dialog, text);
            PressDialogKeys(dialog, {key});
        });
        frame->SendMessage(WM_COMMAND, kLinesPerUpdateCommand);
    };
    answer("12", "Escape");
    EXPECT_EQ(document->m_nLinesPerUpdate, 1);
    answer("40", "Return");
    EXPECT_EQ(document->m_nLinesPerUpdate, 40);
    answer("0", "Return"); // a box reports it, and the hook ends the dialog
    EXPECT_EQ(boxes.Take().size(), 1U);
    EXPECT_EQ(document->m_nLinesPerUpdate, 40);
    Open();
    EXPECT_EQ(document->m_pScaled->m_nRowsDone, 39);
    Start();
    EXPECT_EQ(document->m_nLinesPerUpdate, 40);
    app->WriteProfileInt("App", "Lines Per Update", -3);
    Start();
    EXPECT_EQ(document->m_nLinesPerUpdate, 1);
    EXPECT_EQ(app->GetProfileInt("App", "Lines Per Update", -1), 1) << "the stored number is corrected";
}

// Random actions at random stages of the growth. There is never more than one window, and no pointer to a
// deleted one. The final picture is complete and right.
TEST_F(ScaledWindow, SurvivesARandomWalk)
{
    const std::string other = WritePage("other.tif", 333, 444);
    const std::string path = WritePage("page.tif", 777, 1234);
    Start(path);
    std::mt19937 random{20261125}; // a fixed seed
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int step = 0; step < 2000; ++step) {
        CScaleFrame* const scale_frame = view->m_pScaleFrame;
        CScaleView* const scaled = Scaled();
        switch (below(scaled ? 14 : 8)) { // from 8 on, the actions need the window
        case 0:
        case 1:
        case 2: Open(); break;
        case 3: app->OpenDocumentFile(below(3) ? path : other); break;
        case 4: PressKey(*view, TestKey::pageDown); break;
        case 5: document->m_nLinesPerUpdate = 1 + below(9); break;
        case 6: document->OnNewDocument(); break;
        case 7: PumpUntil([] { return false; }, below(3)); break;
        case 8:
            if (below(3) == 0)
                scale_frame->SendMessage(WM_CLOSE);
            break;
        case 9: PressKey(*scaled, TestKey::escape); break;
        case 10: ResizeFrame(*scale_frame, {1 + below(200), 1 + below(200)}); break;
        case 11: scaled->ScrollToPosition({below(100), below(160)}); break;
        case 12: PressMouse(*scaled, {below(100), below(160)}); break;
        default: ReleaseMouse(*scaled, {below(100), below(160)}); break;
        }
        ASSERT_LE(document->GetViews().size(), 2U);
        ASSERT_EQ(document->GetViews().size() == 2, view->m_pScaleFrame != nullptr);
    }
    app->OpenDocumentFile(path);
    CScaleView* const scaled = Open();
    scaled->Invalidate();
    EXPECT_EQ(PictureDiffers(*scaled), "");
    EXPECT_EQ(boxes.Take(), Texts{});
}
} // namespace
