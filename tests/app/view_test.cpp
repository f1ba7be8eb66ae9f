// SPDX-License-Identifier: MIT
// The page view: the screen after every way of moving the page, and the cost of a move.
#include "tests/app/window_fixture.h"

#include "app/scrollvw.h"
#include "app/units.h"

#include <fstream>

namespace
{
TEST(ScrollArithmetic, StaysWithinItsLimits)
{
    EXPECT_EQ(PageStep(0, 1000), 1);
    EXPECT_EQ(PageStep(1, 1000), 1);
    EXPECT_EQ(PageStep(1, 0), 0);
    EXPECT_EQ(ClampToRange(int64_t{1} << 40, INT32_MAX, 0), INT32_MAX);
    EXPECT_EQ(KeyDistance(INT32_MAX, INT32_MAX, UINT32_MAX), INT32_MAX);
}

class View : public AppWindowTest
{
protected:
    CPoint Position() const { return view->GetScrollPosition(); }
    void PutAt(CPoint position)
    {
        view->ScrollToPosition(position);
        ASSERT_TRUE(PumpUntilIdle());
        ASSERT_EQ(Position(), position);
    }
    std::string Message()
    {
        EXPECT_TRUE(PumpUntilIdle());
        return Pane(0);
    }
    void ExpectAt(CPoint want)
    {
        EXPECT_EQ(ScreenDiffersFromPage(), "");
        EXPECT_EQ(Position(), want);
        EXPECT_EQ(Pane(1), "left=" + std::to_string(want.x) + " top=" + std::to_string(want.y));
    }
};

// How a key moves one axis.
struct Move {
    enum { kStay, kLines, kPages, kStart, kEnd } by = kStay;
    int times = 0;

    int From(int position, int client, int end) const
    {
        switch (by) {
        case kStay: return position;
        case kLines: return std::clamp(position + times, 0, end);
        case kPages: return std::clamp(position + times * (client - 1), 0, end);
        case kStart: return 0;
        case kEnd: return end;
        }
        return -1;
    }
};

TEST_F(View, KeysMoveByLinesByPagesAndToTheEnds)
{
    const struct {
        TestKey key;
        bool control;
        int repeat;
        Move x, y;
    } cases[] = {
        {TestKey::left, false, 1, {Move::kLines, -1}, {}},
        {TestKey::left, false, 7, {Move::kLines, -7}, {}},
        {TestKey::left, true, 1, {Move::kPages, -1}, {}},
        {TestKey::right, false, 3, {Move::kLines, 3}, {}},
        {TestKey::right, true, 2, {Move::kPages, 2}, {}},
        {TestKey::up, false, 2, {}, {Move::kLines, -2}},
        {TestKey::up, true, 1, {}, {Move::kPages, -1}},
        {TestKey::down, false, 5, {}, {Move::kLines, 5}},
        {TestKey::down, true, 2, {}, {Move::kPages, 2}},
        {TestKey::pageUp, false, 1, {}, {Move::kPages, -1}},
        {TestKey::pageUp, true, 2, {}, {Move::kPages, -2}},
        {TestKey::pageDown, false, 1, {}, {Move::kPages, 1}},
        {TestKey::pageDown, true, 2, {}, {Move::kPages, 2}},
        {TestKey::pageDown, false, 1000, {}, {Move::kEnd, 0}},
        {TestKey::home, false, 1, {Move::kStart, 0}, {}},
        {TestKey::home, true, 1, {}, {Move::kStart, 0}},
        {TestKey::end, false, 1, {Move::kEnd, 0}, {}},
        {TestKey::end, true, 1, {}, {Move::kEnd, 0}},
        {TestKey::escape, false, 1, {}, {}},
    };
    StartWithPage(2003, 1503);
    const CRect client = view->GetClientRect();
    const CPoint end = Range();
    EXPECT_EQ(end, (CPoint{2003 - client.Width(), 1503 - client.Height()}));
    // Starts in the middle, a few pixels from each end, and at the ends.
    for (const CPoint start :
         {CPoint{701, 503}, CPoint{3, 2}, CPoint{end.x - 2, end.y - 3}, CPoint{0, 0}, end})
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message()
                         << "key " << static_cast<int>(c.key) << (c.control ? " with Ctrl" : "") << ", "
                         << c.repeat << " times, from " << start.x << "," << start.y);
            const CPoint want{c.x.From(start.x, client.Width(), end.x),
                              c.y.From(start.y, client.Height(), end.y)};
            PutAt(start);
            const uint64_t paints = PaintCount(*view);
            PressKey(*view, c.key, c.control, c.repeat);
            ExpectAt(want);
            EXPECT_EQ(PaintCount(*view) - paints, want == start ? 0U : 1U);
        }
}

TEST_F(View, TheLeftButtonDragsThePictureToThePagesEdges)
{
    StartWithPage(1000, 900);
    const CPoint end = Range();
    PutAt({100, 80});
    const struct {
        CPoint to, want;
    } moves[] = {
        {{50, 60}, {100, 80}},
        {{20, 37}, {130, 103}},
        {{250, 60}, {0, 80}},
        {{150, 140}, {0, 0}},
        {{149, 139}, {1, 1}},
        {{-5000, 60}, {end.x, 80}},
        {{50 + 100 - end.x, -9000}, end},
        {{51 + 100 - end.x, 61 + 80 - end.y}, {end.x - 1, end.y - 1}},
    };
    MoveMouse(*view, {10, 10}); // not pressed
    PressMouse(*view, {50, 60});
    for (const auto& c : moves) {
        MoveMouse(*view, c.to);
        ExpectAt(c.want);
    }
    ReleaseMouse(*view, {0, 0});
    const CPoint left_at = Position();
    MoveMouse(*view, {200, 200});
    ExpectAt(left_at);

    ASSERT_NE(app->OpenDocumentFile(WritePage("small.tif", 37, 29)), nullptr);
    PressMouse(*view, {20, 20});
    MoveMouse(*view, {-50, 300});
    ExpectAt({0, 0});
    ReleaseMouse(*view, {20, 20});
}

TEST_F(View, TheMessageFieldShowsThePointersPlaceOnThePage)
{
    Start(WritePage("page.tif", 1000, 900, 300, 600));
    ResizeFrame(*frame, {400, 300});
    EXPECT_EQ(Message(), "Ready");
    MoveMouse(*view, {50, 60});
    EXPECT_EQ(Message(), "x=50 y=60");
    PutAt({600, 240});
    EXPECT_EQ(Message(), "x=650 y=300") << "the page has moved under the pointer";
    frame->SendMessage(WM_COMMAND, kInchesCommand);
    EXPECT_EQ(Message(), "x=2.17 y=0.50");
    frame->SendMessage(WM_COMMAND, kPixelsCommand);
    const CRect client = view->GetClientRect();
    for (const CPoint outside : {CPoint{-1, 5}, CPoint{5, -1}, CPoint{client.right, 5}, CPoint{5, 30000}}) {
        MoveMouse(*view, outside);
        EXPECT_EQ(Message(), "Ready") << outside.x << "," << outside.y;
    }
    MoveMouse(*view, {client.right - 1, client.bottom - 1});
    EXPECT_NE(Message(), "Ready");
    LeaveWithMouse(*view);
    EXPECT_EQ(Message(), "Ready");

    app->OpenDocumentFile(WritePage("small.tif", 37, 29, 0, 0));
    for (const auto& [pointer, want] : {std::pair{CPoint{36, 28}, "x=36 y=28"},
                                        {CPoint{37, 28}, "Ready"},
                                        {CPoint{36, 29}, "Ready"},
                                        {CPoint{0, 0}, "x=0 y=0"}}) {
        MoveMouse(*view, pointer);
        EXPECT_EQ(Message(), want);
    }
    FakeImage* const image = PutPageOnHeap(*document, std::make_unique<FakeImage>(800, 5000), 5000);
    image->fail_at = 100;
    document->UpdateAllViews(nullptr, kHintPage);
    EXPECT_EQ(Message(), "damaged from line 100, x=0 y=0");
    EXPECT_EQ(boxes.Take().size(), 1U);
}

TEST_F(View, TheRightButtonMeasuresAndLeavesNoTrace)
{
    Start(WritePage("page.tif", 1000, 900, 300, 600));
    ResizeFrame(*frame, {400, 300});
    PutAt({100, 80});
    // Returns true if the screen shows the page with a line between these two page pixels. If they are equal,
    // the screen must show the page without a line.
    const auto shows_line = [this](CPoint from, CPoint to) {
        EXPECT_TRUE(PumpUntilIdle());
        GrabbedPixels want = CopyBuffer(*view);
        if (from != to)
            for (const auto& [rect, color] :
                 OverlayParts({{OverlayShape::Kind::line, from, to}}, Position(), {want.width, want.height}))
                for (int y = rect.top; y < rect.bottom; ++y)
                    for (int x = rect.left; x < rect.right; ++x)
                        want.pixels[static_cast<size_t>(y * want.width + x)] = color;
        return GrabWindow(*view).pixels == want.pixels && (from == to) == ScreenDiffersFromPage().empty();
    };
    const uint64_t paints = PaintCount(*view);
    const int32_t rows = document->m_nLastRow;
    PressMouse(*view, {50, 60}, true);
    EXPECT_TRUE(shows_line({}, {})) << "the pointer has not moved";
    EXPECT_EQ(Message(), "x=150 y=140");
    MoveMouse(*view, {80, 20});
    EXPECT_TRUE(shows_line({150, 140}, {180, 100}));
    EXPECT_EQ(Message(), "dx=30 dy=-40 d=50");
    frame->SendMessage(WM_COMMAND, kInchesCommand);
    EXPECT_EQ(Message(), "dx=0.10 dy=-0.07 d=0.12") << "each axis by its own resolution";
    frame->SendMessage(WM_COMMAND, kPixelsCommand);
    EXPECT_EQ(PaintCount(*view), paints);
    EXPECT_EQ(document->m_nLastRow, rows) << "no row was decoded";
    PutAt({140, 90}); // the start moves with the page
    EXPECT_TRUE(shows_line({150, 140}, {220, 110}));
    EXPECT_EQ(Message(), "dx=70 dy=-30 d=76");
    MoveMouse(*view, {-9000, 30000}); // the line ends at the nearest pixel of the page
    EXPECT_TRUE(shows_line({150, 140}, {0, 899}));
    EXPECT_EQ(Message(), "dx=-150 dy=759 d=774");
    ReleaseMouse(*view, {80, 20}, true);
    EXPECT_TRUE(shows_line({}, {}));
    MoveMouse(*view, {80, 20});
    EXPECT_TRUE(shows_line({}, {}));
    EXPECT_EQ(Message(), "x=220 y=110");

    const struct {
        const char* name;
        std::function<void()> end;
    } ends[] = {
        {"Escape", [this] { PressKey(*view, TestKey::escape); }},
        {"a move without the button", [this] { view->SendMessage(WM_MOUSEMOVE, 0, PackPoint(90, 20)); }},
        {"another page", [this] { app->OpenDocumentFile(scratch.File("page.tif")); }},
        {"the pointer leaves", [this] { LeaveWithMouse(*view); }},
    };
    for (const auto& c : ends) {
        SCOPED_TRACE(c.name);
        MoveMouse(*view, {50, 60});
        PressMouse(*view, {50, 60}, true);
        MoveMouse(*view, {80, 20});
        EXPECT_EQ(Message().substr(0, 2), "dx");
        c.end();
        EXPECT_TRUE(shows_line({}, {}));
        EXPECT_NE(Message().substr(0, 2), "dx");
        ReleaseMouse(*view, {80, 20}, true);
    }

    // The second press of a double click starts no measurement. Neither does a press outside the page.
    app->m_PageList.push_back(WritePage("small.tif", 37, 29));
    DoubleClick(*view, {20, 20}, true);
    PressMouse(*view, {200, 200}, true);
    MoveMouse(*view, {10, 10});
    EXPECT_TRUE(shows_line({}, {}));
    EXPECT_EQ(Message(), "page 1 of 1, x=10 y=10");
    ReleaseMouse(*view, {10, 10}, true);
    PressMouse(*view, {10, 10}, true);
    MoveMouse(*view, {13, 14});
    EXPECT_EQ(Message(), "dx=3 dy=4 d=5") << "the distance replaces the number of the page";
    ReleaseMouse(*view, {13, 14}, true);
}

TEST_F(View, ADamagedPageShowsOneBoxHoweverItIsMoved)
{
    Start();
    ResizeFrame(*frame, {400, 300});
    FakeImage* const image = PutPageOnHeap(*document, std::make_unique<FakeImage>(800, 5000), 5000);
    image->fail_at = 100;
    document->UpdateAllViews(nullptr, kHintPage);
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(boxes.Take(), Texts{"error at line 100: decoder lost"});
    for (const CPoint position : {CPoint{0, 50}, CPoint{300, 4000}, CPoint{0, 0}}) {
        PutAt(position);
        const GrabbedPixels shown = GrabWindow(*view);
        const CRect client = view->GetClientRect();
        for (int y = std::max(0, 100 - position.y); y < client.Height(); ++y)
            for (int x = 0; x < client.Width(); ++x)
                ASSERT_EQ(shown.At(x, y), kWhite) << x << "," << y;
    }
    EXPECT_EQ(image->reads, 101);
    EXPECT_EQ(boxes.Take(), Texts{});
    EXPECT_EQ(Pane(0), "damaged from line 100") << "the note stays until the next page opens";
    app->OpenDocumentFile(WritePage("good.tif", 100, 100));
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(Pane(0), "Ready");
}

TEST_F(View, KeepPlaceRestoresThePositionOnAPageOfTheSameSize)
{
    static constexpr const char* kOff = "&View/&Keep Place";
    static constexpr const char* kOn = "&View/&Keep Place [checked]";
    StartWithPage(900, 800);
    const CPoint place{33, 44};
    const CPoint end{900 - view->GetClientRect().Width(), 800 - view->GetClientRect().Height()};
    enum Kind { good, damaged, missing };
    const struct {
        bool keep;
        CPoint before;
        Kind kind;
        CSize size;
        CPoint want;
    } cases[] = {
        {false, place, good, {900, 800}, {0, 0}},  {true, place, good, {900, 800}, place},
        {true, place, damaged, {900, 800}, place}, {true, place, good, {900, 800}, place},
        {true, place, missing, {}, {0, 0}},        {true, {0, 0}, good, {900, 800}, place},
        {true, place, good, {901, 800}, {0, 0}},   {true, place, good, {900, 800}, {0, 0}},
        {true, place, good, {900, 801}, {0, 0}},   {true, {0, 0}, good, {900, 800}, {0, 0}},
        {true, end, good, {900, 800}, end},
    };
    uint64_t seed = 1;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "page " << seed);
        PutAt(c.before);
        if (MenuHas(kOn) != c.keep)
            frame->SendMessage(WM_COMMAND, kKeepPlaceCommand);
        EXPECT_TRUE(MenuHas(c.keep ? kOn : kOff));
        EXPECT_EQ(app->GetProfileInt("Defaults", "Keep Place", 0), c.keep ? 1 : 0);
        CString path = scratch.File("missing.tif");
        if (c.kind != missing)
            path = WritePage("page.tif", c.size.cx, c.size.cy, 300, 300, ++seed);
        if (c.kind == damaged) {
            std::fstream file{path.c_str(), std::ios::in | std::ios::out | std::ios::binary};
            file.seekp(static_cast<int64_t>(std::filesystem::file_size(path.c_str())) / 4);
            file << std::string(1000, '\0');
        }
        EXPECT_EQ(app->OpenDocumentFile(path) == nullptr, c.kind == missing);
        ASSERT_TRUE(PumpUntilIdle());
        EXPECT_EQ(boxes.Take().size(), c.kind == good ? 0U : 1U);
        EXPECT_EQ(Position(), c.want);
        if (c.kind == good)
            ExpectAt(c.want);
    }
    StartWithPage(900, 800);
    EXPECT_TRUE(MenuHas(kOn)) << "kept for the next run";
}
} // namespace
