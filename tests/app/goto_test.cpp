// SPDX-License-Identifier: MIT
// Conversion of lengths between the units of the read-outs, and the Go To dialog.
#include "app/dialogids.h"
#include "app/gotodialog.h"
#include "tests/app/window_fixture.h"

#include <limits>

namespace
{
constexpr double kInfinite = std::numeric_limits<double>::infinity();

TEST(Units, ConvertToPixelsAndBack)
{
    const struct {
        double value;
        int units, dpi;
        int32_t want;
    } cases[] = {
        {25.4, kMillimeters, 600, 600},
        {72.27, kPoints, 300, 300},
        {12.4, kPixels, 300, 12},
        {12.5, kPixels, 0, 13},
        {7, 9, 300, 7}, // this unit does not exist
        {3, kInches, 0, 3},
        {0.4, kPixels, 0, 0},
        {-5, kMillimeters, 300, 0},
        {2147483646.6, kPixels, 0, INT32_MAX},
        {kInfinite, kPoints, 300, INT32_MAX},
        {-kInfinite, kPoints, 300, 0},
        {std::numeric_limits<double>::quiet_NaN(), kInches, 300, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(UnitsToPixels(c.value, c.units, c.dpi), c.want) << c.value << " " << c.units;
    for (const int units : {kInches, kMillimeters, kPixels, kPoints})
        for (const int dpi : {1, 72, 1270, 2540, 4000, INT32_MAX})
            for (const int32_t pixels : {0, 1, 7, 29999, INT32_MAX}) {
                const CString text = FormatExact(pixels, units, dpi);
                const std::optional<double> value = ParseDecimal(text);
                ASSERT_TRUE(value) << text.c_str();
                if (dpi <= 4000) {
                    EXPECT_EQ(UnitsToPixels(*value, units, dpi), pixels) << text.c_str() << " " << units;
                }
            }
    EXPECT_EQ(UnitsFor(kInches, 300, 600), kInches);
    EXPECT_EQ(UnitsFor(kInches, 0, 600), kPixels);
    EXPECT_EQ(UnitsFor(kPoints, 300, -1), kPixels);
    EXPECT_EQ(UnitsFor(17, 300, 300), kPixels);
}

TEST(Units, DecimalNumbersAreReadInEveryLanguage)
{
    const struct {
        const char* text;
        std::optional<double> want;
    } cases[] = {
        {"12.25", 12.25}, {" 12,25\t", 12.25}, {"+3", 3},       {"-0.5", -0.5}, {".5", 0.5},
        {"1e3", 1000},    {"1e308", 1e308},    {"1e309", {}},   {"nan", {}},    {"inf", {}},
        {"", {}},         {"  ", {}},          {"1.234,5", {}}, {"1,2,3", {}},  {"0x10", {}},
        {"12 mm", {}},    {"+-1", {}},         {"--1", {}},     {"\xff", {}},   {"1\n", {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ParseDecimal(c.text), c.want) << c.text;
}

class GoTo : public AppWindowTest
{
protected:
    void Show(std::function<void(CDialog&)> script) { ShowDialog("Ctrl+G", std::move(script)); }
    // Replaces the text of both fields and presses Return.
    void Type(const char* x, const char* y)
    {
        Show([=](CDialog& dialog) {
            for (const char* const text : {x, y}) {
                PressDialogKeys(dialog, {"Ctrl+A", "Delete"});
                TypeText(dialog, text);
                PressDialogKeys(dialog, {"Tab"});
            }
            PressDialogKeys(dialog, {"Return"});
        });
    }
};

TEST_F(GoTo, CentresTheGivenPointWithinThePage)
{
    Start(WritePage("page.tif", 1200, 900, 300, 150));
    ResizeFrame(*frame, {400, 300});
    const CSize client{view->GetClientRect().Width(), view->GetClientRect().Height()};
    const CPoint end = Range();
    const struct {
        UINT unit;
        const char *x, *y;
        CPoint want; // page pixel in the middle of the window
    } cases[] = {
        {kPixelsCommand, "600", "400", {600, 400}},        {kInchesCommand, "2.5", "3", {750, 450}},
        {kMillimetersCommand, "50,8", "76.2", {600, 450}}, {kPointsCommand, "144.54", "216.81", {600, 450}},
        {kPixelsCommand, "-7", "1e308", {0, INT32_MAX}},   {kPixelsCommand, "1e300", "0", {INT32_MAX, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.x << " " << c.y);
        frame->SendMessage(WM_COMMAND, c.unit);
        Type(c.x, c.y);
        const CPoint want{ClampToRange(int64_t{c.want.x} - client.cx / 2, 1200, client.cx),
                          ClampToRange(int64_t{c.want.y} - client.cy / 2, 900, client.cy)};
        EXPECT_EQ(view->GetScrollPosition(), want);
        EXPECT_EQ(ScreenDiffersFromPage(), "");
    }
    for (const UINT unit : {kInchesCommand, kMillimetersCommand, kPointsCommand, kPixelsCommand})
        for (const CPoint place : {CPoint{end.x / 2 + 1, end.y / 2}, CPoint{0, 0}, end}) {
            frame->SendMessage(WM_COMMAND, unit);
            view->ScrollToPosition(place);
            Show([](CDialog& dialog) { PressDialogKeys(dialog, {"Return"}); });
            EXPECT_EQ(view->GetScrollPosition(), place) << "unchanged fields do not move the page";
        }
    EXPECT_EQ(boxes.Take(), Texts{});
}

TEST_F(GoTo, RefusesTextThatIsNoNumber)
{
    StartWithPage(1000, 900);
    view->ScrollToPosition({100, 80});
    for (const char* const text : {"", "nan", "12x", "1e999"}) {
        Type("5", text);
        EXPECT_EQ(boxes.Take(), Texts{"Enter a number."}) << text;
        EXPECT_EQ(view->GetScrollPosition(), (CPoint{100, 80})) << "the dialog was then cancelled";
    }
}

TEST_F(GoTo, NamesItsUnitAndFields)
{
    Texts lines;
    const auto describe = [&](CDialog& dialog) { lines = DescribeDialog(dialog); };
    StartWithPage(1000, 900);
    frame->SendMessage(WM_COMMAND, kInchesCommand);
    Show(describe);
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[1], "141 Middle of the window, in inches:");
    app->OpenDocumentFile(WritePage("none.tif", 30, 20, 0, 0));
    Show(describe);
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[1], "141 Middle of the window, in pixels:") << "the page has no resolution";
    EXPECT_EQ(lines[2], "142 number \"X, from the left edge\" [keys] 15");
    EXPECT_EQ(lines[3], "143 number \"Y, from the top edge\" 10");
}
} // namespace
