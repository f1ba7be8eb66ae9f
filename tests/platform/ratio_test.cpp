// SPDX-License-Identifier: MIT
// One page pixel is one pixel of the screen at every ratio. The environment sets the ratio.
#include "tests/platform/qt_support.h"
#include "tests/platform/test_classes.h"

#include <cstdlib>
#include <optional>

namespace
{
using RatioTest = WindowTest;

TEST_F(RatioTest, AChequeredPageIsShownBitForBit)
{
    const char* wanted = std::getenv("QT_SCALE_FACTOR");
    ASSERT_EQ(ScreenRatio(), wanted ? std::strtod(wanted, nullptr) : 1.0);
    for (const bool small : {false, true})
        for (const CSize& size : {CSize{401, 350}, CSize{402, 351}, CSize{535, 413}, CSize{617, 509}}) {
            SCOPED_TRACE(testing::Message() << size.cx << " x " << size.cy << (small ? ", small page" : ""));
            ResizeFrame(*frame, size);
            view->ShowPage(small ? TestPage::Chequered(205, 133) : TestPage::Chequered(1501, 1203));
            Settle();
            const CRect client = view->GetClientRect();
            EXPECT_GT(client.right, size.cx - 60);
            EXPECT_GT(client.bottom, size.cy - 120);
            // Single steps, both axes at once, and several steps before anything is copied to the screen.
            for (const CPoint& position : {CPoint{0, 0}, CPoint{1, 0}, CPoint{2, 1}, CPoint{1, 8},
                                           CPoint{333, 517}, CPoint{330, 520}, CPoint{1501, 1203}}) {
                view->ScrollToPosition(position);
                ExpectShown(view);
                if (HasFatalFailure())
                    return;
            }
            for (int step = 1; step <= 9; ++step)
                view->ScrollToPosition({step * 3, step * 7 % 5});
            view->InvalidateRect({13, 7, 30, 9});
            ExpectShown(view);
            if (HasFatalFailure())
                return;
        }
}

// Checks the view and the scroll bars, because the bars repaint only a part of themselves. A part that is
// missing may not show in every style.
TEST_F(RatioTest, AScrolledWindowEqualsAFullRepaint)
{
    ResizeFrame(*frame, {401, 350});
    view->ShowPage(TestPage::Random(1501, 1203, 3));
    Settle();
    ASSERT_EQ(DifferenceFromRepaint(), "");
    constexpr CSize kMoves[] = {{0, 1},    {0, 16},  {0, 100}, {64, 0},   {-3, 7},    {1, 0},    {0, -90},
                                {-7, -13}, {500, 0}, {0, 700}, {-61, 80}, {9999, -1}, {-2, 9999}};
    std::optional<BarStyleForTest> style;
    for (int i = 0; i < 60; ++i) {
        if (i == 21) { // before the large moves
            view->ScrollToPosition({200, 150});
            ExpectShown(view);
            style.emplace(); // moves the sliders to the other side
            ExpectShown(view);
        }
        const CSize move = kMoves[static_cast<size_t>(i) % std::size(kMoves)];
        const int direction = i % 7 < 5 ? 1 : -1;
        const CPoint at = view->GetScrollPosition();
        SCOPED_TRACE(testing::Message() << "move " << i << " from " << at.x << "," << at.y);
        view->ScrollToPosition({at.x + direction * move.cx, at.y + direction * move.cy});
        ExpectShown(view);
        EXPECT_EQ(BarValues(), view->GetScrollPosition());
        ASSERT_EQ(DifferenceFromRepaint(), "");
    }
}

// Expects that the view's own pixels are the page's, and that the screen shows the shapes over them.
void ExpectOverlay(TestView* view, const std::vector<OverlayShape>& shapes)
{
    ASSERT_TRUE(PumpUntilIdle());
    const CRect client = view->GetClientRect();
    const CPoint position = view->GetScrollPosition();
    GrabbedPixels want = CopyBuffer(*view);
    ASSERT_EQ(want.width, client.right);
    ASSERT_EQ(want.height, client.bottom);
    for (int y = 0; y < want.height; ++y)
        for (int x = 0; x < want.width; ++x)
            ASSERT_EQ(want.At(x, y), view->page.White(position.x + x, position.y + y) ? kWhite : kBlack);
    for (const OverlayPart& part : OverlayParts(shapes, position, {client.right, client.bottom}))
        for (int y = part.rect.top; y < part.rect.bottom; ++y)
            for (int x = part.rect.left; x < part.rect.right; ++x)
                want.pixels[static_cast<size_t>(y * want.width + x)] = part.color;
    const GrabbedPixels shown = GrabWindow(*view);
    for (int y = 0; y < std::min(shown.height, want.height); ++y)
        for (int x = 0; x < std::min(shown.width, want.width); ++x)
            ASSERT_EQ(shown.At(x, y), want.At(x, y)) << x << "," << y;
}

TEST_F(RatioTest, AnOverlayIsOnlyOnTheScreenAndLeavesNoTrace)
{
    ResizeFrame(*frame, {401, 350});
    view->ShowPage(TestPage::Random(1501, 1203));
    Settle();
    using enum OverlayShape::Kind;
    const std::vector<OverlayShape> steps[] = {
        {{frame, {40, 30}, {141, 111}}},
        {{frame, {41, 30}, {142, 111}}},
        {{frame, {41, 31}, {142, 112}}, {line, {300, 20}, {71, 288}}},
        {{line, {300, 20}, {72, 289}}},
        {{line, {-70, 90}, {1400, 131}}, {frame, {380, 0}, {1000, 1000}}},
        {},
    };
    const auto show = [&](const std::vector<OverlayShape>& shapes) {
        view->SetOverlay(shapes);
        ExpectOverlay(view, shapes);
    };
    for (const CPoint& position : {CPoint{0, 0}, CPoint{7, 13}})
        for (const auto& shapes : steps) {
            view->ScrollToPosition(position);
            show(shapes);
            view->ScrollToPosition({position.x + 5, position.y + 3}); // the overlay scrolls with the picture
            ExpectOverlay(view, shapes);
            if (HasFatalFailure())
                return;
        }

    // A step of a frame copies only its old and new edges, and causes no paint.
    view->ScrollToPosition({0, 0});
    show(steps[0]);
    const uint64_t paints = PaintCount(*view);
    const uint64_t before = CopiedPixels(*view);
    show(steps[1]);
    EXPECT_EQ(PaintCount(*view), paints);
    const double ratio = ScreenRatio();
    const uint64_t copied = CopiedPixels(*view) - before;
    RecordProperty("copied", std::to_string(copied));
    // Both edges are two pixels wide. In the units of Qt an edge may cover one more unit.
    const uint64_t edges = 2 * (102 + 81);
    EXPECT_GE(copied, edges * 2);
    EXPECT_LE(copied, static_cast<uint64_t>(static_cast<double>(edges) * (3 + (ratio > 1 ? 3 * ratio : 0))));
    show({});
    view->SetOverlay({});
    const uint64_t cleared = CopiedPixels(*view);
    view->SetOverlay({});
    Settle();
    EXPECT_EQ(CopiedPixels(*view), cleared) << "nothing has changed";
}

TEST_F(RatioTest, ThePointerHitsEveryPixel)
{
    for (const CSize& size : {CSize{401, 350}, CSize{535, 413}}) {
        ResizeFrame(*frame, size);
        Settle();
        for (int i = -20; i < 700; ++i) {
            const CPoint point{i, i * 37 % 401 - 11};
            MoveMouse(*view, point);
            ASSERT_EQ(g_recorder.Take(), std::vector<std::string>{"move 0 " + std::to_string(point.x) + "," +
                                                                  std::to_string(point.y)});
        }
    }
}
} // namespace
