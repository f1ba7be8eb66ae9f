// SPDX-License-Identifier: MIT
// Times a full repaint of the view, from the decoded rows to the display's answer, and steps of scrolling.
// Both are compared with three images that Qt draws in the same window: one of 32 bits per pixel, one of 1
// bit, and one of 1 bit that is converted first, which is faster. Needs a display.
#include "app/lumentaapp.h"
#include "app/lumentavw.h"
#include "bench/benchsystem.h"
#include "bench/harness.h"
#include "platform/qt/qt_view.h"
#include "platform/testing/testing.h"

#include <QApplication>
#include <QPainter>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <xcb/xcb.h>

namespace
{
constexpr int kLargeWidth = 3840;
constexpr double kOfReady = 1.35, kSmallOfReady = 1.5, kOfMono = 0.55,
                 kOfConverted = 1; // limits, relative to the times of Qt
constexpr double kScrollOfRepaint = 0.6;
// The X server of the benchmarks moves pixels sideways row by row, and other costs are small at this size.
constexpr double kSmallSidewaysOfRepaint = 0.85;
constexpr int kInARow = 5; // repaints, or steps like those of a held key

class PaintCounter : public QObject
{
public:
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        paints += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

class ImageWidget : public QWidget
{
public:
    ImageWidget(QImage image, QWidget* parent, bool convert = false)
        : QWidget(parent), m_image(std::move(image)), m_convert(convert)
    {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter(this).drawImage(QPointF(0, 0),
                                 m_convert ? m_image.convertToFormat(QImage::Format_RGB32) : m_image);
    }

private:
    const QImage m_image;
    const bool m_convert;
};

// Waits until the display has handled all requests.
void Sync()
{
    xcb_connection_t* const connection =
        qApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

void Settle()
{
    for (int i = 0; i < 20; ++i) {
        PumpUntilIdle();
        Sync();
    }
}

class Scene
{
public:
    Scene(CFrameWnd* frame, CLumentaView* view, CSize client) : m_view(view), m_widget(ViewOf(view))
    {
        // Resizes the frame until the view has the wanted size.
        CSize size = client;
        for (int attempt = 0; attempt < 4; ++attempt) {
            ResizeFrame(*frame, size);
            Settle();
            const CRect got = view->GetClientRect();
            size.cx += client.cx - got.Width();
            size.cy += client.cy - got.Height();
        }
        m_widget->installEventFilter(&m_counter);
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;
    ~Scene() { m_widget->removeEventFilter(&m_counter); }

    // Both return the time of one repaint or step, as the mean of kInARow.
    double Repaint()
    {
        const double start = NowMs();
        for (int i = 0; i < kInARow; ++i) {
            m_view->Invalidate();
            m_view->UpdateWindow();
            UntilShown();
        }
        return (NowMs() - start) / kInARow;
    }

    double ScrollBy(CSize step)
    {
        const CPoint first = m_view->GetScrollPosition();
        const double start = NowMs();
        for (int i = 1; i <= kInARow; ++i) {
            m_view->ScrollToPosition({first.x + i * step.cx, first.y + i * step.cy});
            UntilShown();
        }
        const double time = (NowMs() - start) / kInARow;
        const CPoint last = m_view->GetScrollPosition();
        Require(last.x == first.x + kInARow * step.cx && last.y == first.y + kInARow * step.cy,
                "the view did not scroll");
        return time;
    }

private:
    void UntilShown()
    {
        const int before = m_counter.paints;
        while (m_counter.paints == before)
            QCoreApplication::processEvents();
        Sync();
    }

    CLumentaView* m_view;
    ViewWidget* m_widget;
    PaintCounter m_counter;
};

// Times a repaint of peer, which is shown over the view in the same window and backing store.
double RepaintOver(ViewWidget* view, ImageWidget* peer)
{
    peer->setGeometry(QRect(view->mapTo(view->window(), QPoint(0, 0)), view->size()));
    peer->show();
    peer->raise();
    Settle();
    const double start = NowMs();
    for (int i = 0; i < kInARow; ++i) {
        peer->repaint();
        Sync();
    }
    const double time = (NowMs() - start) / kInARow;
    peer->hide();
    Settle();
    return time;
}

struct Step {
    const char* name;
    CSize size;
};
constexpr Step kSteps[] = {
    {"1 line", {0, 1}}, {"16 lines", {0, 16}}, {"100 lines", {0, 100}}, {"64 pixels sideways", {64, 0}}};

double Mean(const std::vector<double>& values)
{
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

// Decodes the rows that the steps of all rounds will show, and scrolls back to the first one.
void PrepareSteps(const Harness& bench, CLumentaView* view)
{
    CSize sum;
    for (const Step& step : kSteps) {
        sum.cx += step.size.cx * kInARow * (bench.Rounds() + 1); // and the round that is not counted
        sum.cy += step.size.cy * kInARow * (bench.Rounds() + 1);
    }
    view->ScrollToPosition({sum.cx, sum.cy});
    Settle();
    const CPoint end = view->GetScrollPosition();
    Require(end.x == sum.cx && end.y == sum.cy, "the page is too small for so many rounds");
    view->ScrollToPosition({0, 0});
    Settle();
}

void Measure(Harness& bench, CFrameWnd* frame, CLumentaView* view, CSize size)
{
    Scene scene(frame, view, size);
    PrepareSteps(bench, view);
    const CRect client = view->GetClientRect();
    Require(client.Width() == size.cx && client.Height() == size.cy, "the display is too small");
    const std::string at = ", " + std::to_string(size.cx) + " x " + std::to_string(size.cy);

    // The peers draw the same picture as the view.
    ViewWidget* const widget = ViewOf(view);
    const QImage picture = widget->Buffer().copy();
    const QImage bits = picture.convertToFormat(QImage::Format_Mono);
    Require(bits.convertToFormat(QImage::Format_RGB32) == picture.convertToFormat(QImage::Format_RGB32),
            "the picture of 1 bit differs from the view");
    ImageWidget ready(picture, widget->window());
    ImageWidget mono(bits, widget->window());
    ImageWidget converted(bits, widget->window(), true);

    std::vector<Harness::Contender> contenders{
        {true, [&] { return scene.Repaint(); }},
        {false, [&] { return RepaintOver(widget, &ready); }},
        {false, [&] { return RepaintOver(widget, &mono); }},
        {false, [&] { return RepaintOver(widget, &converted); }},
    };
    // All steps have the same direction, like those of an operator. So the times include the moves that copy
    // the buffer.
    for (const Step& step : kSteps)
        contenders.push_back({true, [&] { return scene.ScrollBy(step.size); }});
    const auto times = bench.InTurn(contenders);
    const std::vector<double>& ours = times[0];
    bench.Report("full repaint" + at, ours, "ms");
    bench.Report("ready image of 32 bits" + at, times[1], "ms");
    bench.Report("image of 1 bit drawn by Qt" + at, times[2], "ms");
    bench.Report("image of 1 bit converted, then drawn by Qt" + at, times[3], "ms");
    bench.Report("full repaint / ready image" + at, Ratios(ours, times[1]), "x",
                 AtMost(client.Width() >= kLargeWidth ? kOfReady : kSmallOfReady));
    // At small sizes the request to the display takes longer than the drawing.
    bench.Report("full repaint / image of 1 bit" + at, Ratios(ours, times[2]), "x",
                 client.Width() >= kLargeWidth ? AtMost(kOfMono) : Goal{});
    bench.Report("full repaint / image of 1 bit converted" + at, Ratios(ours, times[3]), "x",
                 AtMost(kOfConverted));
    for (size_t i = 0; i < std::size(kSteps); ++i) {
        const std::vector<double>& scroll = times[4 + i];
        const std::string name = std::string{"scroll by "} + kSteps[i].name;
        bench.Report(name + at, scroll, "ms");
        const bool small_sideways = client.Width() < kLargeWidth && kSteps[i].size.cx != 0;
        const Goal goal = AtMost(small_sideways ? kSmallSidewaysOfRepaint : kScrollOfRepaint);
        // Both times are ours, so LUMENTA_BENCH_SLOWDOWN has no effect on their ratio. Ours() applies it.
        bench.Report(std::string{name}.append(" / full repaint").append(at), bench.Ours(Ratios(scroll, ours)),
                     "x", goal);
        bench.Report(std::string{name}.append(", mean / full repaint, mean").append(at),
                     bench.Ours(Mean(scroll) / Mean(ours)), "x", goal);
    }
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv,
                  {.purpose = "measures a full repaint of the view, and steps of scrolling", .rounds = 41});
    Require(std::getenv("DISPLAY") != nullptr, "repaint_bench needs a display");
    bench.SetWhere(kOnX);
    ChooseDisplay();
    TestApplication application(argc, argv);
    SetSettingsFile("/dev/null");
    CLumentaApp app;
    StartApplication(app, PagePathOf(kBigPage));
    auto* const frame = DynamicDowncast<CFrameWnd>(app.m_pMainWnd);
    auto* const view = frame ? DynamicDowncast<CLumentaView>(frame->GetActiveView()) : nullptr;
    Require(view != nullptr, "the page does not open");
    PumpUntil([&] { return frame->IsWindowVisible(); });
    Measure(bench, frame, view, {kLargeWidth, 2160});
    Measure(bench, frame, view, {1280, 960});
    EndApplication(app);
    return bench.Finish();
}
