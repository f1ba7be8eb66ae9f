// SPDX-License-Identifier: MIT
// The main window: read-outs in four units, notes, title, disabled commands, and invalid placements.
#include "app/placement.h"
#include "app/scalefrm.h"
#include "app/statustext.h"
#include "app/units.h"
#include "tests/app/window_fixture.h"

namespace
{
TEST(ReadOut, ConvertsByTheUnitAndTheResolution)
{
    const struct {
        int units;
        const char *position, *size, *pointer, *distance;
    } cases[] = {
        {kInches, "left=1.50 top=0.30", "width=7.50 depth=18.50", "x=1.50 y=0.30", "dx=-0.25 dy=0.60 d=0.65"},
        {kMillimeters, "left=38.1 top=7.6", "width=190.5 depth=469.9", "x=38.1 y=7.6",
         "dx=-6.3 dy=15.2 d=16.5"},
        {kPixels, "left=1800 top=180", "width=9000 depth=11100", "x=1800 y=180", "dx=-300 dy=360 d=469"},
        {kPoints, "left=108 top=22", "width=542 depth=1337", "x=108 y=22", "dx=-18 dy=43 d=47"},
        {-1, "left=1800 top=180", "width=9000 depth=11100", "x=1800 y=180", "dx=-300 dy=360 d=469"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(FormatPosition(c.units, 1800, 180, 1200, 600), c.position);
        EXPECT_EQ(FormatSize(c.units, 9000, 11100, 1200, 600), c.size);
        EXPECT_EQ(FormatPointer(c.units, {1800, 180}, 1200, 600), c.pointer);
        EXPECT_EQ(FormatDistance(c.units, {-300, 360}, 1200, 600), c.distance)
            << "d is the distance on paper";
    }
    EXPECT_EQ(FormatPointer(kInches, {INT32_MAX, 0}, 1, 1), "x=2147483647.00 y=0.00");
    EXPECT_EQ(FormatPointer(kInches, {300, 400}, 300, 0), "x=300 y=400") << "in pixels";
    EXPECT_EQ(FormatDistance(kMillimeters, {-1, -2}, 1200, 1200), "dx=0.0 dy=0.0 d=0.0")
        << "no minus sign at zero";
    EXPECT_EQ(FormatDistance(kPoints, {-3, 4}, 0, -1), "dx=-3 dy=4 d=5");
    EXPECT_EQ(FormatDistance(kPixels, {-INT32_MAX, INT32_MAX}, 0, 0),
              "dx=-2147483647 dy=2147483647 d=3037000499");
    EXPECT_EQ(FormatSize(kInches, 9000, 600, 0, 600), "width=0.00 depth=1.00");
    EXPECT_EQ(FormatSize(kMillimeters, 300, 9000, 300, -1), "width=25.4 depth=0.0");
}

TEST(Placement, IsReadFromFourNumbers)
{
    const std::optional<CRect> none;
    const struct {
        const char* text;
        std::optional<CRect> want;
    } cases[] = {
        {" -5\t+6  7 8 and more", CRect{-5, 6, 7, 8}},
        {"-10-20 30 40", CRect{-10, -20, 30, 40}},
        {"-2147483648 0 -1 1", CRect{INT32_MIN, 0, -1, 1}},
        {"", none},
        {"10 20 300", none},
        {"10,20,300,400", none},
        {"+-1 0 5 5", none},
        {"10 20 10 400", none},
        {"10 20 5 400", none},
        {"0 0 2147483648 5", none},
        {"-2147483648 0 2147483647 5", none},
        {"99999999999 0 5 5", none},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ParsePlacement(c.text), c.want) << c.text;
}

class MainFrame : public AppWindowTest
{
protected:
    Texts Panes() const { return {Pane(0), Pane(1), Pane(2), Pane(3)}; }
    const Texts no_page{"No page", "left=0 top=0", "width=0 depth=0", "Res  X=0 Y=0"};
};

TEST_F(MainFrame, ShowsZerosThenThePageAndZerosAgain)
{
    Start();
    EXPECT_EQ(Panes(), no_page);
    EXPECT_EQ(Title(), "LUMENTA");

    ASSERT_NE(app->OpenDocumentFile(WritePage("front.TIF", 900, 700, 204, 98)), nullptr);
    EXPECT_EQ(Pane(2), "width=900 depth=700") << "reported before anything is painted";
    EXPECT_EQ(Title(), "front - LUMENTA");
    ResizeFrame(*frame, {400, 300});
    view->ScrollToPosition({30, 20});
    EXPECT_EQ(Pane(1), "left=0 top=0") << "only a paint reports it";
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(Panes(), (Texts{"Ready", "left=30 top=20", "width=900 depth=700", "Res  X=204 Y=98"}));

    EXPECT_EQ(app->OpenDocumentFile(scratch.File("missing.tif")), nullptr);
    EXPECT_EQ(Title(), "front - LUMENTA") << "a failed open keeps the title";
    ASSERT_TRUE(PumpUntilIdle());
    EXPECT_EQ(Panes(), no_page);
    page = {};
    EXPECT_EQ(ScreenDiffersFromPage(), "") << "the old page is no longer shown";
    app->OnFileNew();
    EXPECT_EQ(Title(), "LUMENTA");
}

TEST_F(MainFrame, ALabelFromTheFileMayBeAnyText)
{
    Start();
    pages::TiffOptions options;
    options.document_name = "12.C\n[*] " + std::string(20U << 20, 'x');
    ASSERT_EQ(pages::write_tiff(scratch.File("page.tif"),
                                pages::draw_page({pages::Draw::Noise, 900, 700, 300, 300, 1}), options),
              "");
    ASSERT_NE(app->OpenDocumentFile(scratch.File("page.tif")), nullptr);
    EXPECT_EQ(Title(), "12.C [*] " + std::string(236, 'x') + " - LUMENTA");
    EXPECT_LE(document->GetTitle().GetLength(), 255) << "the title also names the print job";
    frame->SendMessage(WM_COMMAND, kScaledPageCommand);
    ASSERT_NE(view->m_pScaleFrame, nullptr);
    EXPECT_TRUE(view->m_pScaleFrame->GetWindowText().View().ends_with("xx  (1/8)"));
    EXPECT_EQ(view->m_pScaleFrame->GetWindowText().GetLength(), 255);
}

TEST_F(MainFrame, AUnitAppliesAtOnceAndInTheNextRun)
{
    Start(WritePage("page.tif", 1200, 900, 1200, 600));
    ResizeFrame(*frame, {400, 300});
    view->ScrollToPosition({600, 300});
    ASSERT_TRUE(PumpUntilIdle());
    const struct {
        UINT command;
        const char* menu;
        const char* position;
        const char* size;
    } cases[] = {
        {kInchesCommand, "&View/&Inches [checked]", "left=0.50 top=0.50", "width=1.00 depth=1.50"},
        {kMillimetersCommand, "&View/&Millimeters [checked]", "left=12.7 top=12.7", "width=25.4 depth=38.1"},
        {kPointsCommand, "&View/P&oints [checked]", "left=36 top=36", "width=72 depth=108"},
        {kPixelsCommand, "&View/&Pixels [checked]", "left=600 top=300", "width=1200 depth=900"},
    };
    for (const auto& c : cases) {
        frame->SendMessage(WM_COMMAND, c.command);
        EXPECT_EQ(Pane(1), c.position);
        EXPECT_EQ(Pane(2), c.size);
        EXPECT_TRUE(MenuHas(c.menu)) << c.menu;
    }
    frame->SendMessage(WM_COMMAND, kInchesCommand);
    Start(scratch.File("page.tif"));
    EXPECT_EQ(Pane(2), "width=1.00 depth=1.50");

    app->WriteProfileInt("App", "Units", 7);
    Start(scratch.File("page.tif"));
    EXPECT_EQ(Pane(2), "width=1200 depth=900");
    for (const auto& c : cases)
        EXPECT_FALSE(MenuHas(c.menu)) << c.menu;
}

TEST_F(MainFrame, WithoutAPageTheseCommandsAreDisabled)
{
    Start();
    Texts disabled = DescribeMenu(*frame);
    std::erase_if(disabled, [](const std::string& item) { return !item.ends_with(" [disabled]"); });
    const Texts want{
        "&File/&Print...\tCtrl+P [disabled]",
        "&File/Print Pre&view... [disabled]",
        "&View/&Scaled Page\tCtrl+Alt+S [disabled]",
        "&View/&Next Page\tCtrl+Alt+N [disabled]",
        "&View/P&revious Page\tCtrl+Alt+P [disabled]",
        "&View/&Clear List [disabled]",
        "&View/&Go To...\tCtrl+G [disabled]",
        "&View/Page In&formation...\tCtrl+I [disabled]",
        "&View/Re&load\tF5 [disabled]",
        "&View/Close O&verview\tCtrl+W [disabled]",
    };
    EXPECT_EQ(disabled, want);
}

TEST_F(MainFrame, ABadPlacementIsIgnored)
{
    CDC screen;
    screen.CreateDisplayInformation();
    const CRect whole{0, 0, screen.GetDeviceCaps(HORZRES), screen.GetDeviceCaps(VERTRES)};
    for (const char* const bad :
         {"", "30 40 530", "nonsense", "9000 9000 9500 9400", "50 50 50 50", "-90000 0 500 400"}) {
        Stop();
        app = std::make_unique<CLumentaApp>();
        app->WriteProfileString("window", "MainFrame", bad);
        Start();
        EXPECT_EQ(frame->GetWindowPlacement().normal_position, whole) << bad;
    }
}
} // namespace
