// SPDX-License-Identifier: MIT
// Scroll ranges, moved pixels, and paints during which the window scrolls or changes its size.
#include "tests/platform/test_classes.h"

namespace
{
class ScrollTest : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        ResizeFrame(*frame, {401, 350});
    }
    CPoint End() const
    {
        int low = 0;
        CPoint end;
        view->GetScrollRange(SB_HORZ, &low, &end.x);
        view->GetScrollRange(SB_VERT, &low, &end.y);
        return end;
    }
    // Pumps until idle and returns the records of drawing.
    std::vector<std::string> Draws()
    {
        std::vector<std::string> lines = Settle();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("draw"); });
        return lines;
    }
    static std::string Draw(RegionKind kind, const CRect& box)
    {
        return "draw " + std::to_string(kind) + " at " + std::to_string(box.left) + "," +
               std::to_string(box.top) + " to " + std::to_string(box.right) + "," +
               std::to_string(box.bottom);
    }
};

TEST_F(ScrollTest, BarsShowWhenNeededAndRangesEndWithThePicture)
{
    view->ShowPage(TestPage{1, 1});
    const CSize full{view->GetClientRect().right, view->GetClientRect().bottom};
    view->ShowPage(TestPage{5000, 4000});
    const CSize both{view->GetClientRect().right, view->GetClientRect().bottom};
    ASSERT_LT(both.cx, full.cx);
    ASSERT_LT(both.cy, full.cy);
    struct {
        const char* name;
        CSize page, client;
    } const cases[] = {
        {"as large as the window", full, full},
        {"one too wide", {full.cx + 1, both.cy}, {full.cx, both.cy}},
        {"one too high", {both.cx, full.cy + 1}, {both.cx, full.cy}},
        {"too high, and then too wide", {both.cx + 1, full.cy + 1}, both},
        {"too wide, and then too high", {full.cx + 1, both.cy + 1}, both},
        {"larger than any screen", {2000000000, 2147483000}, both},
        {"an empty picture", {0, 0}, full},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        view->SetScrollSizes(MM_TEXT, c.page, {10, 10}, {1, 1});
        EXPECT_EQ(view->GetClientRect(), (CRect{0, 0, c.client.cx, c.client.cy}));
        EXPECT_EQ(End(),
                  (CPoint{std::max(0, c.page.cx - c.client.cx), std::max(0, c.page.cy - c.client.cy)}));
        view->ScrollToPosition({2147483647, 2147483647});
        EXPECT_EQ(view->GetScrollPosition(), End());
        TurnWheel(*view, -12000, -12000);
        EXPECT_EQ(view->GetScrollPosition(), End());
        view->ScrollToPosition({-5, -2147483647});
        EXPECT_EQ(view->GetScrollPosition(), (CPoint{0, 0}));
    }
}

TEST_F(ScrollTest, ThePositionIsClampedWhenSizesChange)
{
    view->ShowPage(TestPage::Random(1500, 1200));
    Settle();
    view->ScrollToPosition({1500, 1200});
    Settle();
    ResizeFrame(*frame, {537, 444}); // grows
    EXPECT_EQ(view->GetScrollPosition(), End());
    ExpectShown(view);
    view->page = TestPage::Random(701, 599, 2);
    view->Invalidate();
    view->SetScrollSizes(MM_TEXT, {701, 599}, {10, 10}, {1, 1}); // shrinks
    EXPECT_EQ(view->GetScrollPosition(), End());
    EXPECT_EQ(End().x, 701 - view->GetClientRect().right);
    ExpectShown(view);
    view->ShowPage(TestPage::Random(60, 50)); // hides the bars and leaves grey in place of the old page
    EXPECT_EQ(view->GetScrollPosition(), (CPoint{0, 0}));
    ExpectShown(view);
}

// A view fits its picture to the window in its WM_SIZE handler. Ranges and positions must be those of the new
// size there.
TEST_F(ScrollTest, TheSizeHandlerSeesTheNewRangesAndMaySetOthers)
{
    view->ShowPage(TestPage::Random(1500, 1200));
    view->ScrollToPosition({1500, 1200});
    int calls = 0;
    view->on_message[WM_SIZE] = [&] {
        ++calls;
        const CRect client = view->GetClientRect();
        EXPECT_EQ(End(), (CPoint{1500 - client.right, 1200 - client.bottom}));
        EXPECT_EQ(view->GetScrollPosition(), End());
    };
    ResizeFrame(*frame, {600, 500});
    EXPECT_EQ(calls, 1);
    view->on_message[WM_SIZE] = [&] {
        const CRect client = view->GetClientRect();
        view->SetScrollSizes(MM_TEXT, {client.right + 100, 1200}, {10, 10}, {1, 1});
        view->ScrollToPosition({7, 9});
        EXPECT_EQ(view->GetScrollPosition(), (CPoint{7, 9}));
    };
    ResizeFrame(*frame, {500, 450});
    EXPECT_EQ(End().x, 100);
    EXPECT_EQ(view->GetScrollPosition(), (CPoint{7, 9}));
    ExpectShown(view);
}

TEST_F(ScrollTest, TheWheelMoves48PixelsANotchAndKeepsTheRest)
{
    view->ShowPage(TestPage{3000, 3000});
    view->ScrollToPosition({100, 100});
    struct {
        int angle_x, angle_y, turns;
        bool shift;
        CPoint move;
        CPoint pixels = {}; // used only on Wayland
    } const cases[] = {
        {0, -120, 1, false, {0, 48}}, {0, 120, 2, false, {0, -96}},  {-120, 0, 1, false, {48, 0}},
        {0, -120, 1, true, {48, 0}},  {0, -15, 8, false, {0, 48}},   {0, -1, 120, false, {0, 48}},
        {0, -7, 120, true, {336, 0}}, {7, 0, 120, false, {-336, 0}}, {0, -120, 1, false, {0, 48}, {0, -5}},
    };
    for (const auto& c : cases) {
        const CPoint before = view->GetScrollPosition();
        for (int i = 0; i < c.turns; ++i)
            TurnWheel(*view, c.angle_x, c.angle_y, c.shift, c.pixels);
        EXPECT_EQ(view->GetScrollPosition(), (CPoint{before.x + c.move.x, before.y + c.move.y})) << c.angle_y;
    }
}

TEST_F(ScrollTest, OnlyTheUncoveredPartIsPainted)
{
    view->ShowPage(TestPage::Random(1500, 1200));
    Settle();
    view->ScrollToPosition({100, 200});
    Settle();
    const int w = view->GetClientRect().right;
    const int h = view->GetClientRect().bottom;
    struct {
        CPoint move;
        RegionKind kind;
        CRect box; // of the window
    } const cases[] = {
        {{3, 0}, SIMPLEREGION, {w - 3, 0, w, h}}, {{-7, 0}, SIMPLEREGION, {0, 0, 7, h}},
        {{0, 5}, SIMPLEREGION, {0, h - 5, w, h}}, {{0, -1}, SIMPLEREGION, {0, 0, w, 1}},
        {{2, 9}, COMPLEXREGION, {0, 0, w, h}},    {{-9, -11}, COMPLEXREGION, {0, 0, w, h}},
        {{w, 0}, SIMPLEREGION, {0, 0, w, h}},     {{0, h - 1}, SIMPLEREGION, {0, 1, w, h}},
    };
    for (const auto& c : cases) {
        const CPoint at{view->GetScrollPosition().x + c.move.x, view->GetScrollPosition().y + c.move.y};
        view->ScrollToPosition(at);
        ASSERT_EQ(view->GetScrollPosition(), at);
        const CRect page_box{c.box.left + at.x, c.box.top + at.y, c.box.right + at.x, c.box.bottom + at.y};
        EXPECT_EQ(Draws(), std::vector<std::string>{Draw(c.kind, page_box)});
        ExpectShown(view);
    }
    // An invalid part moves with the pixels.
    view->ScrollToPosition({100, 200});
    Settle();
    view->InvalidateRect({10, 10, 20, 20});
    view->ScrollWindow(0, -4);
    view->SetScrollPos(SB_VERT, 204);
    EXPECT_EQ(Draws(), std::vector<std::string>{Draw(COMPLEXREGION, {100, 210, 100 + w, 204 + h})});
    ExpectShown(view);
    // If nothing moves and nothing is invalid, there is no paint.
    const uint64_t paints = PaintCount(*view);
    view->ScrollToPosition({100, 204});
    view->ScrollWindow(0, 0);
    view->SetScrollSizes(MM_TEXT, {1500, 1200}, {10, 10}, {1, 1});
    view->InvalidateRect({-50, -50, 0, 0});
    view->InvalidateRect({w, 0, w + 9, h});
    view->UpdateWindow();
    Settle();
    EXPECT_EQ(PaintCount(*view), paints);
}

TEST_F(ScrollTest, TheWindowMayScrollAndResizeDuringAPaint)
{
    struct {
        const char* name;
        std::vector<CSize> frames;     // sizes set during the paint, in this order
        std::vector<CPoint> positions; // then positions set
        CSize picture{2000, 2000};
    } const cases[] = {
        // These move one axis. If both axes move, the paint of the uncovered strips covers the whole window.
        {"left", {}, {{293, 400}}},
        {"down", {}, {{300, 409}}},
        {"down right", {}, {{305, 407}}},
        {"far away", {}, {{1100, 20}}},
        {"there and back", {}, {{340, 450}, {300, 400}}},
        {"wider", {{555, 350}}, {}},
        {"larger and away", {{555, 477}}, {{311, 380}}},
        {"smaller", {{300, 222}}, {}},
        {"smaller and larger", {{300, 222}, {555, 477}}, {}},
        {"smaller picture", {}, {}, {500, 450}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ResizeFrame(*frame, {401, 350});
        view->ShowPage(TestPage{2000, 2000}); // black, so that unpainted pixels show
        Settle();
        view->ScrollToPosition({300, 400});
        Settle();
        view->page = TestPage::Random(2000, 2000, 7);
        view->draw = [&](CDC* dc, const CRect& box) {
            view->draw = nullptr;
            for (int y = box.top; y < box.bottom; y += 8) {
                if (y == box.top + 104) {
                    for (const CSize& size : c.frames)
                        frame->MoveWindow({0, 0, size.cx, size.cy});
                    for (const CPoint& position : c.positions)
                        view->ScrollToPosition(position);
                    view->SetScrollSizes(MM_TEXT, c.picture, {1, 1}, {1, 1});
                }
                view->page.Draw(dc, {box.left, y, box.right, std::min(y + 8, box.bottom)});
            }
        };
        view->Invalidate();
        ExpectShown(view);
    }
}

TEST_F(ScrollTest, UndrawnPixelsAreWhiteInsideThePictureAndGreyOutside)
{
    view->ShowPage(TestPage{3000, 3000}); // black
    Settle();
    view->page = TestPage{37, 21};
    view->Invalidate();
    ExpectShown(view);
    view->SetScrollSizes(MM_TEXT, {0, 0}, {1, 1}, {1, 1}); // no picture
    view->page = TestPage{};
    view->Invalidate();
    ExpectShown(view);
    // A larger window adds pixels. They are filled before the next paint, which a message box delays here.
    view->SetScrollSizes(MM_TEXT, {450, 3000}, {1, 1}, {1, 1});
    ResizeFrame(*frame, {300, 250});
    Settle();
    view->draw = [&](CDC*, const CRect&) {
        view->draw = nullptr;
        InNextBox([&] {
            frame->MoveWindow({0, 0, 700, 400});
            ASSERT_TRUE(PumpUntil([&] { return view->GetClientRect().right > 500; }));
            PumpRounds();
            const GrabbedPixels shown = GrabWindow(*view);
            for (int x = 300; x < 500; ++x)
                ASSERT_EQ(shown.At(x, 10), x < 450 ? kWhite : BackgroundOf(*view)) << x;
        });
        AfxMessageBox("text");
    };
    view->Invalidate();
    ASSERT_TRUE(PumpUntil([&] { return !view->draw; }));
    ExpectShown(view);
}

TEST_F(ScrollTest, TheBackgroundFollowsThePaletteAndDiffersFromThePage)
{
    const struct {
        unsigned mid, dark, midlight, light, want;
    } cases[] = {
        {0xb8, 0x80, 0xd0, 0xff, 0xb8}, {0xf8, 0x80, 0xfb, 0xff, 0x80}, // Mid is nearly white
        {0x08, 0x50, 0x20, 0x40, 0x50},                                 // Mid is nearly black
        {0x23, 0x1a, 0x42, 0x50, 0x42},                                 // a dark desktop
        {0x00, 0x00, 0x00, 0xff, 0x80},                                 // high contrast
    };
    view->ShowPage(TestPage::Random(60, 50));
    Settle();
    for (const auto& c : cases) {
        const PaletteForTest palette{c.mid, c.dark, c.midlight, c.light};
        ASSERT_TRUE(PumpUntil([&] { return BackgroundOf(*view) == Grey(c.want); })) << std::hex << c.want;
        ExpectShown(view);
    }
}

TEST_F(ScrollTest, DrawingOutsideAPaintReachesTheScreen)
{
    view->ShowPage(TestPage{3000, 3000});
    Settle();
    view->page = TestPage::Random(3000, 3000);
    {
        CClientDC dc{view};
        view->page.Draw(&dc, view->GetClientRect());
    }
    ExpectShown(view);
}
} // namespace
