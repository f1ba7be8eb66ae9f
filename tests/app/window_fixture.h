// SPDX-License-Identifier: MIT
// Fixture for the application with its real windows, on Qt without a display. Settings are kept in a scratch
// directory.
#pragma once

#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "app/lumentavw.h"
#include "app/mainfrm.h"
#include "app/usermsg.h"
#include "pages.h"
#include "platform/testing/testing.h"
#include "tests/support/fake_image.h"
#include "tests/support/scratch.h"
#include "tiffout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <ostream>

inline void PrintTo(const CPoint& point, std::ostream* out)
{
    *out << point.x << "," << point.y;
}
inline void PrintTo(const CRect& rect, std::ostream* out)
{
    *out << rect.left << "," << rect.top << "," << rect.right << "," << rect.bottom;
}
inline void PrintTo(const CString& text, std::ostream* out)
{
    *out << '"' << text.c_str() << '"';
}

class AppWindowTest : public testing::Test
{
protected:
    using Texts = std::vector<std::string>;

    AppWindowTest() { SetSettingsFile(scratch.File("settings.ini")); }
    ~AppWindowTest() override
    {
        Stop();
        SetDialogHook({});
        SetFileDialogHook({});
        SetPrintDialogHook({});
        SetSettingsFile({});
    }

    void Start(const std::string& command_line = {})
    {
        Stop();
        app = std::make_unique<CLumentaApp>();
        StartApplication(*app, command_line);
        frame = DynamicDowncast<CMainFrame>(app->m_pMainWnd);
        ASSERT_NE(frame, nullptr);
        view = DynamicDowncast<CLumentaView>(frame->GetActiveView());
        ASSERT_NE(view, nullptr);
        document = view->GetPageDocument();
        ASSERT_NE(document, nullptr);
    }
    void Stop()
    {
        if (app)
            EndApplication(*app);
        app.reset();
    }

    // Opens a dialog by its keys and runs script while it is open.
    void ShowDialog(const char* keys, std::function<void(CDialog&)> script)
    {
        SetDialogHook(std::move(script));
        PressAccelerator(*frame, keys);
        ASSERT_TRUE(PumpUntilIdle());
    }

    // Writes a page of noise as a TIFF file and returns its path. `page` keeps the samples, so that the
    // screen can be compared with them.
    std::string WritePage(const std::string& name, int width, int height, int dpi_x = 300, int dpi_y = 300,
                          uint64_t seed = 1)
    {
        page = pages::draw_page({pages::Draw::Noise, width, height, 300, 300, seed});
        pages::TiffOptions options;
        options.compression = pages::Compression::Group4;
        options.rows_per_strip = 64;
        options.dpi_x = dpi_x;
        options.dpi_y = dpi_y;
        EXPECT_EQ(pages::write_tiff(scratch.File(name), page, options), "");
        return scratch.File(name);
    }
    void StartWithPage(int width, int height, CSize inside = {400, 300})
    {
        Start(WritePage("page.tif", width, height));
        ResizeFrame(*frame, inside);
    }

    bool IsOne(int x, int y) const { return (page.row(y)[x / 8] << x % 8 & 0x80) != 0; }

    // Pumps until idle. Returns the first differing pixel, or an empty text. Expects one device pixel per
    // page pixel, and the background grey beyond the page.
    std::string ScreenDiffersFromPage()
    {
        EXPECT_TRUE(PumpUntilIdle());
        const GrabbedPixels shown = GrabWindow(*view);
        const CRect client = view->GetClientRect();
        if (shown.width != client.Width() || shown.height != client.Height() || client.IsEmpty())
            return "the picture has another size";
        const CPoint position = view->GetScrollPosition();
        for (int y = 0; y < shown.height; ++y)
            for (int x = 0; x < shown.width; ++x) {
                const int page_x = position.x + x;
                const int page_y = position.y + y;
                COLORREF want = BackgroundOf(*view);
                if (page_x < page.width && page_y < page.height)
                    want = IsOne(page_x, page_y) ? kBlack : kWhite;
                if (shown.At(x, y) != want)
                    return "at " + std::to_string(x) + "," + std::to_string(y);
            }
        return {};
    }

    CPoint Range() const // the largest scroll position of each axis
    {
        int minimum;
        CPoint range;
        view->GetScrollRange(SB_HORZ, &minimum, &range.x);
        view->GetScrollRange(SB_VERT, &minimum, &range.y);
        return range;
    }
    std::string Pane(int index) const { return frame->m_wndStatusBar.GetPaneText(index).c_str(); }
    std::string Title() const { return frame->GetWindowText().c_str(); }
    bool MenuHas(const char* line) const
    {
        const Texts lines = DescribeMenu(*frame);
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    ScratchDirectory scratch;
    BoxTexts boxes;
    pages::Bitmap page;
    std::unique_ptr<CLumentaApp> app;
    CMainFrame* frame = nullptr;
    CLumentaView* view = nullptr;
    CLumentaDoc* document = nullptr;
};
