// SPDX-License-Identifier: MIT
// A chain of steps: each paint posts a message, whose handler invalidates a strip of 640 x 16 pixels, which
// causes the next paint. The paints draw nothing. Measures the steps per second. Then presses keys while the
// chain runs. Measures the time from each key press to the paint that it causes, and to the moment when the
// painted pixels are on the screen. Needs a display.
#include "bench/harness.h"
#include "platform/qt/qt_view.h"
#include "platform/testing/testing.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <unistd.h>
#include <xcb/xcb.h>

namespace
{
constexpr UINT kStepMessage = WM_USER + 1;
constexpr CRect kKeyRect{700, 300, 764, 364};
constexpr int kStripWidth = 640, kStripHeight = 16, kStrips = 50;
constexpr double kKeyLimitMs = 10'000;

class ChainView : public CView
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    void OnDraw(CDC* dc) override
    {
        ++steps;
        if (m_key_pressed) {
            m_key_pressed = false;
            DrawKeyMark(dc);
            key_painted_ms = NowMs();
        }
        if (running)
            PostMessage(kStepMessage);
    }

    bool running = false;
    int64_t steps = 0;
    std::atomic<double> key_painted_ms = 0; // time of the last paint that a key caused

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    LRESULT OnStep(WPARAM, LPARAM)
    {
        const int top = static_cast<int>(steps % kStrips) * kStripHeight;
        InvalidateRect({0, top, kStripWidth, top + kStripHeight});
        return 0;
    }

    void OnKeyDown(UINT, UINT, UINT)
    {
        m_key_pressed = true;
        m_black = !m_black;
        InvalidateRect(kKeyRect);
    }

private:
    static const MessageEntry entries[];

    // Draws a square. Each key press changes its colour from black to white, or from white to black.
    void DrawKeyMark(CDC* dc)
    {
        static constexpr uint8_t kRows[64 * 8] = {};
        CBitmap bitmap;
        CDC memory;
        if (!bitmap.CreateBitmap(kKeyRect.Width(), kKeyRect.Height(), kRows, 8) ||
            !memory.CreateCompatibleDC(dc))
            return;
        memory.SelectObject(&bitmap);
        dc->BitBlt(kKeyRect.left, kKeyRect.top, kKeyRect.Width(), kKeyRect.Height(), memory, 0, 0,
                   m_black ? SRCCOPY : NOTSRCCOPY);
    }

    bool m_key_pressed = false;
    bool m_black = false;
};
const CRuntimeClass ChainView::classRecord{"ChainView", &CView::classRecord, CreateObjectOf<ChainView>};
const MessageEntry ChainView::entries[] = {
    On<kStepMessage, &ChainView::OnStep>(),
    On<WM_KEYDOWN, &ChainView::OnKeyDown>(),
};
const MessageMap ChainView::messages{&CView::messages, entries};

constexpr ApplicationResources kResources{1, {}, {}, {}, {}, nullptr};

class ChainApp : public CWinApp
{
public:
    ChainApp() : CWinApp(kResources) {}
    bool InitInstance() override
    {
        CCreateContext context;
        context.m_pNewViewClass = &ChainView::classRecord;
        auto* frame = new CFrameWnd;
        if (!frame->Create("Chain", WS_OVERLAPPEDWINDOW, {0, 0, 1280, 960}, &context))
            return false;
        m_pMainWnd = frame;
        view = DynamicDowncast<ChainView>(frame->GetDescendantWindow(AFX_IDW_PANE_FIRST));
        frame->ShowWindow(SW_SHOW);
        return view != nullptr;
    }
    ChainView* view = nullptr;
};

// Runs the event loop as the program does. Ends the loop with exit(), because quit() would close the windows.
void RunFor(int milliseconds)
{
    QTimer::singleShot(milliseconds, qApp, [] { QCoreApplication::exit(); });
    QCoreApplication::exec();
}

// Reads one pixel of the screen over its own connection to the display, like another program.
class Eye
{
public:
    explicit Eye(CPoint point) : m_point(point), m_connection(xcb_connect(nullptr, nullptr)) {}
    Eye(const Eye&) = delete;
    Eye& operator=(const Eye&) = delete;
    ~Eye() { xcb_disconnect(m_connection); }

    bool SeesBlack() const
    {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const auto cookie =
            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root, static_cast<int16_t>(m_point.x),
                          static_cast<int16_t>(m_point.y), 1, 1, ~0U);
        xcb_get_image_reply_t* const reply = xcb_get_image_reply(m_connection, cookie, nullptr);
        const bool black = reply && xcb_get_image_data(reply)[0] == 0;
        std::free(reply);
        return black;
    }

private:
    CPoint m_point;
    xcb_connection_t* m_connection;
};

struct KeyTimes {
    std::vector<double> painted;
    std::vector<double> seen;
};

// Runs in a thread of its own while the chain runs. Repeatedly presses a key and waits until its pixels are
// on the screen.
void PressKeys(ChainView* view, ViewWidget* widget, CPoint on_screen, int keys, KeyTimes* times)
{
    const Eye eye(on_screen);
    bool black = eye.SeesBlack();
    for (int i = 0; i < keys; ++i) {
        // Each pause has another length, so that the keys arrive at different times between two copies to the
        // screen.
        usleep(static_cast<useconds_t>(15'000 + i * 1'777 % 10'000));
        view->key_painted_ms = 0;
        const double start = NowMs();
        QCoreApplication::postEvent(widget, new QKeyEvent(QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier));
        while (eye.SeesBlack() == black) {
            Require(NowMs() - start < kKeyLimitMs, "a key had no effect on the screen");
            usleep(50);
        }
        times->seen.push_back(NowMs() - start);
        times->painted.push_back(view->key_painted_ms - start);
        black = !black;
    }
    QMetaObject::invokeMethod(
        qApp, [] { QCoreApplication::exit(); }, Qt::QueuedConnection);
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(
        argc, argv,
        {.purpose = "measures empty paints per second, and how long a key waits meanwhile", .rounds = 9});
    const int rounds = bench.Rounds();
    Require(std::getenv("DISPLAY") != nullptr, "chain_bench needs a display");
    bench.SetWhere(kOnX);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    TestApplication application(argc, argv);
    SetSettingsFile("/dev/null");
    ChainApp app;
    StartApplication(app, {});
    Require(app.view != nullptr, "there is no view");
    ChainView* const view = app.view;
    ViewWidget* const widget = ViewOf(view);
    RunFor(500); // enough time for the window to appear

    view->running = true;
    view->PostMessage(kStepMessage);
    RunFor(500); // the first half second is not measured
    std::vector<double> rates;
    for (int round = 0; round < rounds; ++round) {
        const int64_t before = view->steps;
        const double start = NowMs();
        RunFor(500);
        rates.push_back(static_cast<double>(view->steps - before) / bench.Ours(NowMs() - start) * 1000);
    }

    const QPoint origin = widget->mapToGlobal(QPoint(0, 0));
    KeyTimes times;
    std::thread presser(PressKeys, view, widget,
                        CPoint{origin.x() + kKeyRect.left + 8, origin.y() + kKeyRect.top + 8}, rounds * 30,
                        &times);
    QCoreApplication::exec();
    presser.join();
    view->running = false;
    PumpUntilIdle();

    times.painted = bench.Ours(times.painted);
    times.seen = bench.Ours(times.seen);
    std::printf("a strip of %d x %d per step, %d rounds of half a second, %d keys\n", kStripWidth,
                kStripHeight, rounds, rounds * 30);
    bench.Report("chain, steps per second", rates, "1/s", AtLeast(100'000));
    bench.Report("chain, key to its paint", times.painted, "ms", AtMost(1));
    bench.Report("chain, key to its paint, longest", Percentile(times.painted, 1), "ms", AtMost(5));
    bench.Report("chain, key to its pixels on the screen", times.seen, "ms", AtMost(5));
    bench.Report("chain, key to its pixels on the screen, longest", Percentile(times.seen, 1), "ms");
    EndApplication(app);
    return bench.Finish();
}
