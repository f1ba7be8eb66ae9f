// SPDX-License-Identifier: MIT
// Time from the key of Next Page to the end of the paint that shows the top of the next page. On X the time
// includes the display's answer. Two pages of 600 million pixels are shown in turn, in a window that fits on
// a screen of 1920 x 1080. The pages are marked as viewed. The page files are in the system's cache in the
// first part, and are dropped from it before each page in the second.
#include "app/lumentaapp.h"
#include "app/lumentadoc.h"
#include "app/lumentavw.h"
#include "bench/benchsystem.h"
#include "bench/harness.h"
#include "pagefile.h"
#include "pages.h"
#include "platform/qt/qt_view.h"
#include "platform/testing/testing.h"
#include "platform/viewedmark.h"
#include "tiffout.h"

#include <QApplication>
#include <QTest>
#include <QWindow>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/xattr.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace
{
constexpr CSize kWindow{1920, 1050}; // px, including menu and bars
constexpr CSize kPage{20'000, 30'000};
constexpr double kGoalMs = 50;
constexpr int kPagesARound = 8, kDefaultRounds = 5;

struct Format {
    const char* name;
    std::optional<pages::Raster> raster; // empty: a TIFF file, Group 4 in one strip
    bool to_the_end = false;             // true: first scroll to the last row, so that the store has all rows
};
constexpr Format kFormats[] = {
    {"TIFF, Group 4", {}},
    {"TIFF, Group 4, the old page read to its end", {}, true},
    {"Squeeze", pages::Raster::Squeeze},
    {"JBIG, 128 lines per stripe", pages::Raster::Jbig},
    {"plain rows", pages::Raster::Plain},
};

struct Scratch {
    std::string directory = PagePathOf("nextpage-XXXXXX");
    bool made = mkdtemp(directory.data()) != nullptr;

    ~Scratch() { std::filesystem::remove_all(directory); }
};

struct Page {
    pages::Bitmap top;                      // as many rows as a window shows at most
    std::string paths[std::size(kFormats)]; // one file for each format
};

bool MakePage(const std::string& directory, uint64_t seed, Page* page)
{
    const pages::Bitmap whole =
        pages::draw_page({.draw = pages::Draw::Mixed, .width = kPage.cx, .height = kPage.cy, .seed = seed});
    page->top = pages::Bitmap(kPage.cx, kWindow.cy);
    std::memcpy(page->top.rows.data(), whole.rows.data(), page->top.rows.size());
    for (size_t i = 0; i < std::size(kFormats); ++i) {
        page->paths[i] = directory + "/" + std::to_string(seed) + "-" + std::to_string(i);
        pages::TiffOptions tiff;
        tiff.compression = pages::Compression::Group4;
        pages::PageFileOptions file;
        file.raster = kFormats[i].raster.value_or(file.raster);
        const std::string error = kFormats[i].raster ? pages::write_page_file(page->paths[i], whole, file)
                                                     : pages::write_tiff(page->paths[i], whole, tiff);
        if (!error.empty()) {
            std::fprintf(stderr, "%s: %s\n", page->paths[i].c_str(), error.c_str());
            return false;
        }
    }
    return true;
}

// Detects when Qt copies what a paint of the view has drawn since the last call of Watch.
class Watcher : public QObject
{
public:
    explicit Watcher(CLumentaView* view) : m_view(view) { ViewOf(view)->installEventFilter(this); }

    void Watch()
    {
        m_paints = PaintCount(*m_view);
        shown = false;
    }
    bool shown = false;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        shown = shown || (event->type() == QEvent::Paint && PaintCount(*m_view) != m_paints);
        return false;
    }

private:
    CLumentaView* m_view;
    uint64_t m_paints = 0;
};

bool ShowsTop(CLumentaView* view, const pages::Bitmap& top)
{
    const GrabbedPixels got = GrabWindow(*view);
    if (got.width > kWindow.cx || got.width < kWindow.cx * 9 / 10 || got.height > kWindow.cy ||
        got.height < kWindow.cy * 9 / 10)
        return false;
    for (int y = 0; y < got.height; ++y)
        for (int x = 0; x < got.width; ++x) {
            const bool black = (top.row(y)[x / 8] & 0x80 >> x % 8) != 0;
            if ((got.At(x, y) & 0xffffff) != (black ? 0U : 0xffffffU))
                return false;
        }
    return true;
}

struct Times {
    std::vector<double> shown;
    int marked = 0; // number of pages
};

// Waits until the display has handled all requests.
void Sync()
{
    if (auto* const x = qApp->nativeInterface<QNativeInterface::QX11Application>())
        std::free(xcb_get_input_focus_reply(x->connection(), xcb_get_input_focus(x->connection()), nullptr));
}

// Shows the next page of the list. Returns false if its top is not on the screen when the time is taken.
bool TurnPage(CLumentaView* view, Watcher* watcher, const Format& format, const std::string& path,
              const pages::Bitmap& top, bool cold, Times* times)
{
    CLumentaDoc* const document = view->GetPageDocument();
    if (format.to_the_end)
        view->ScrollToPosition({0, document->m_nDepth - view->GetClientRect().Height()});
    if (!PumpUntilIdle() || (format.to_the_end && document->m_nLastRow != document->m_nDepth - 1))
        return false;
    removexattr(path.c_str(), kViewedMarkName); // makes the page count as not viewed
    if (cold && !DropFromCache(path))
        return false;

    watcher->Watch();
    const double start = NowMs();
    QTest::keyPress(ViewOf(view)->window()->windowHandle(), Qt::Key_N, Qt::ControlModifier | Qt::AltModifier);
    while (!watcher->shown && NowMs() - start < 2000)
        QCoreApplication::processEvents();
    Sync();
    times->shown.push_back(NowMs() - start);

    times->marked += ViewedMarks().IsViewed(path.c_str(), FileStatusOf(path)) ? 1 : 0;
    return watcher->shown && document->GetPathName() == path && ShowsTop(view, top);
}

void Measure(Harness& bench, CLumentaApp& app, CLumentaView* view, size_t format, const Page (&two)[2],
             bool cold)
{
    const std::string name = std::string{"Next Page, "} + kFormats[format].name;
    Watcher watcher(view);
    const int count = 1 + bench.Rounds() * kPagesARound; // the first is not counted
    for (int i = 0; i < count; ++i)
        app.m_PageList.push_back(two[i % 2].paths[format]);
    Times times;
    for (int i = 0; i < count; ++i) {
        const Page& page = two[i % 2];
        Require(TurnPage(view, &watcher, kFormats[format], page.paths[format], page.top, cold, &times),
                name + ": the top of the new page was not shown");
        if (i == 0)
            times = {};
    }
    times.shown = bench.Ours(times.shown);
    std::printf("%s: %zu pages, %d of them marked\n", kFormats[format].name, times.shown.size(),
                times.marked);
    const std::string where = std::string{QGuiApplication::platformName() == u"xcb" ? kOnX : kInMemory} +
                              (cold ? ", cold" : ", cached");
    bench.Report(name, times.shown, "ms", {}, where);
    bench.Report(name + ", 90th percentile", Percentile(times.shown, 0.9), "ms", {}, where);
    // A cold file waits for the disk.
    bench.Report(name + ", longest", Percentile(times.shown, 1), "ms", cold ? Goal{} : AtMost(kGoalMs),
                 where);
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv,
                  {.purpose = "measures the time from the key of Next Page to the page on the screen",
                   .rounds = kDefaultRounds});
    const bool is_x = ChooseDisplay();
    Require(is_x || ChooseScreen(kWindow.cx, kWindow.cy), "no screen");
    const Scratch scratch;
    Page two[2];
    if (!scratch.made || !MakePage(scratch.directory, 1, &two[0]) || !MakePage(scratch.directory, 2, &two[1]))
        return 1; // MakePage has printed the reason
    TestApplication application(argc, argv);
    SetSettingsFile(scratch.directory + "/settings");
    SetMessageBoxHook([](const CString& text) { std::fprintf(stderr, "%s\n", text.c_str()); });
    CLumentaApp app;
    StartApplication(app, {});
    auto* const frame = DynamicDowncast<CFrameWnd>(app.m_pMainWnd);
    auto* const view = frame ? DynamicDowncast<CLumentaView>(frame->GetActiveView()) : nullptr;
    Require(view != nullptr, "there is no view");
    ResizeFrame(*frame, kWindow);
    if (is_x) // shortcuts reach the active window only
        Require(QTest::qWaitForWindowActive(ViewOf(view)->window()), "the window does not become active");
    Require(PumpUntilIdle() && !ShowsTop(view, two[0].top) && two[0].top.rows != two[1].top.rows,
            "the two pages look alike");
    app.m_bMarkViewed = true;

    const CRect client = view->GetClientRect();
    std::printf("pages of %d x %d pixels, a view of %d x %d\n", kPage.cx, kPage.cy, client.Width(),
                client.Height());
    const bool can_be_cold = DropFromCache(two[0].paths[0]);
    if (!can_be_cold)
        std::printf("cold: not measured, the file system keeps the pages in memory\n");
    for (size_t i = 0; i < std::size(kFormats); ++i)
        for (const bool cold : {false, true})
            if (!cold || can_be_cold)
                Measure(bench, app, view, i, two, cold);
    EndApplication(app);
    return bench.Finish();
}
