// A full repaint of the view from decoded rows to the display's answer, beside the toolkit's own ways in the
// same window: a ready image of 32 bits a pixel, and an image of 1 bit that the toolkit widens. And one step
// of scrolling. Needs a display.
#include "app/lumentaapp.h"
#include "app/lumentavw.h"
#include "bench/support.h"
#include "platform/qt/peer.h"
#include "platform/testing.h"

#include <QApplication>
#include <QPainter>
#include <cstdio>
#include <cstdlib>
#include <xcb/xcb.h>

namespace
{
constexpr int kLargeWidth = 3840;

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
    ImageWidget(QImage image, QWidget* parent) : QWidget(parent), m_image(std::move(image))
    {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).drawImage(QPointF(0, 0), m_image); }

private:
    QImage m_image;
};

// Until the display has done what it was sent.
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
        // The frame as large as it takes.
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

    double Repaint()
    {
        const double start = NowMs();
        m_view->Invalidate();
        m_view->UpdateWindow();
        UntilShown();
        return NowMs() - start;
    }

    double ScrollBy(int lines)
    {
        const CPoint at = m_view->GetScrollPosition();
        const double start = NowMs();
        m_view->ScrollToPosition({at.x, at.y + lines});
        UntilShown();
        return NowMs() - start;
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

// Shown over the view, in the same window and backing store.
double RepaintOver(ViewWidget* view, ImageWidget* peer)
{
    peer->setGeometry(QRect(view->mapTo(view->window(), QPoint(0, 0)), view->size()));
    peer->show();
    peer->raise();
    Settle();
    const double start = NowMs();
    peer->repaint();
    Sync();
    const double time = NowMs() - start;
    peer->hide();
    Settle();
    return time;
}

void Measure(CFrameWnd* frame, CLumentaView* view, CSize size, int rounds)
{
    Scene scene(frame, view, size);
    const CRect client = view->GetClientRect();
    std::printf("client area %d x %d, %d rounds, medians\n", client.Width(), client.Height(), rounds);

    // The peers show what the view shows.
    ViewWidget* const widget = ViewOf(view);
    const QImage picture = widget->Buffer().copy();
    ImageWidget ready(picture, widget->window());
    ImageWidget mono(picture.convertToFormat(QImage::Format_Mono), widget->window());

    std::vector<double> ours, with_ready, with_mono, to_ready, to_mono, scrolls;
    for (int round = 0; round < rounds; ++round) {
        const double ready_time = RepaintOver(widget, &ready);
        const double our_time = scene.Repaint();
        const double mono_time = RepaintOver(widget, &mono);
        ours.push_back(our_time);
        with_ready.push_back(ready_time);
        with_mono.push_back(mono_time);
        to_ready.push_back(our_time / ready_time);
        to_mono.push_back(our_time / mono_time);
        scrolls.push_back(scene.ScrollBy(round % 2 == 0 ? 16 : -16));
    }
    Show("ready image of 32 bits", Median(with_ready), "ms");
    Show("image of 1 bit through the toolkit", Median(with_mono), "ms");
    Show("full repaint from decoded rows", Median(ours), "ms");
    ShowAtMost("  / ready image", Median(to_ready), "x", 1.35);
    if (client.Width() >= kLargeWidth) // at small sizes the way to the display and back outweighs the picture
        ShowAtMost("  / image of 1 bit", Median(to_mono), "x", 0.5);
    else
        Show("  / image of 1 bit", Median(to_mono), "x");
    Show("scroll by 16 lines", Median(scrolls), "ms");
}
} // namespace

int main(int argc, char** argv)
{
    const int rounds = RoundsFrom(argc, argv, 41);
    if (!std::getenv("DISPLAY")) {
        std::fputs("repaint_bench needs a display\n", stderr);
        return 1;
    }
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    TestToolkit toolkit(argc, argv);
    SetSettingsFile("/dev/null");
    CLumentaApp app;
    StartApplication(app, PagePathOf(kBigPage));
    auto* const frame = DynamicDowncast<CFrameWnd>(app.m_pMainWnd);
    auto* const view = frame ? DynamicDowncast<CLumentaView>(frame->GetActiveView()) : nullptr;
    if (!view)
        return 1;
    PumpUntil([&] { return frame->IsWindowVisible(); });
    Measure(frame, view, {kLargeWidth, 2160}, rounds);
    Measure(frame, view, {1280, 960}, rounds);
    EndApplication(app);
    return 0;
}
