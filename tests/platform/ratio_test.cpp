// One page pixel is one pixel of the screen, at whatever ratio the environment asks for.
#include "tests/platform/qt_support.h"
#include "tests/platform/test_classes.h"

#include <cstdlib>

namespace
{
class RatioTest : public WindowTest
{
};

TEST_F(RatioTest, AChequeredPageShowsBitForBit)
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

// The view, and the bars, which repaint only a part of themselves.
TEST_F(RatioTest, ScrolledWindowsHoldWhatAFullRepaintDraws)
{
    ResizeFrame(*frame, {401, 350});
    view->ShowPage(TestPage::Random(1501, 1203, 3));
    Settle();
    ASSERT_EQ(DifferenceFromRepaint(), "");
    constexpr CSize kMoves[] = {{0, 1},    {0, 16},  {0, 100}, {64, 0},   {-3, 7},    {1, 0},    {0, -90},
                                {-7, -13}, {500, 0}, {0, 700}, {-61, 80}, {9999, -1}, {-2, 9999}};
    for (int i = 0; i < 60; ++i) {
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
