// SPDX-License-Identifier: MIT
// The functions of testing.h that read what a window shows, and count its paints.
#include "platform/testing/testing.h"

#include "platform/hooks.h"
#include "platform/qt/qt_view.h"

#include <QBackingStore>
#include <QCoreApplication>
#include <QPaintEvent>
#include <cstring>
#include <unordered_map>

GrabbedPixels GrabWindow(CWnd& window)
{
    GrabbedPixels grabbed;
    ViewWidget* view = ViewOf(&window);
    if (!view || view->DeviceRect().IsEmpty())
        return grabbed;
    // Makes Qt do the copies to the screen that are due, but handles no other events. Then reads Qt's backing
    // store. After a scroll step on X11, the store does not have the pixels that the display has moved.
    QWidget* top = view->window();
    QCoreApplication::sendPostedEvents(top, QEvent::UpdateRequest);
    QBackingStore* store = top->backingStore();
    QPaintDevice* device = store ? store->paintDevice() : nullptr;
    const QImage shown = device && device->devType() == QInternal::Image ? *static_cast<QImage*>(device)
                                                                         : top->grab().toImage();
    const CRect rect = view->DeviceRect();
    const QImage image = shown.copy(QRect(rect.left, rect.top, rect.Width(), rect.Height()) & shown.rect())
                             .convertToFormat(QImage::Format_RGB32);
    grabbed.width = image.width();
    grabbed.height = image.height();
    grabbed.pixels.resize(static_cast<size_t>(image.width()) * static_cast<size_t>(image.height()));
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(grabbed.pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(image.width()),
                    image.constScanLine(y), static_cast<size_t>(image.width()) * sizeof(uint32_t));
    return grabbed;
}

GrabbedPixels CopyBuffer(CWnd& window)
{
    GrabbedPixels copied;
    ViewWidget* view = ViewOf(&window);
    if (!view)
        return copied;
    const PixelBuffer buffer = view->Pixels();
    copied.width = buffer.width;
    copied.height = buffer.height;
    for (int y = 0; y < buffer.height; ++y)
        copied.pixels.insert(copied.pixels.end(), buffer.Row(y), buffer.Row(y) + buffer.width);
    return copied;
}

COLORREF BackgroundOf(const CWnd& window)
{
    const ViewWidget* view = ViewOf(&window);
    return view ? view->Background() : 0;
}

// The first call installs the hook that counts the paints of all windows.
uint64_t PaintCount(const CWnd& window)
{
    static std::unordered_map<const CWnd*, uint64_t> paints;
    auto& before_paint = Hooks::Get().before_paint;
    if (!before_paint)
        before_paint = [](const CWnd& painted) { ++paints[&painted]; };
    return paints[&window];
}

namespace
{
// Counts the device pixels that a view copies to the screen.
class CopyCounter : public QObject
{
public:
    explicit CopyCounter(ViewWidget* view) : QObject(view), m_view(view) { view->installEventFilter(this); }
    double Pixels() const { return m_pixels; }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        const double ratio = m_view->devicePixelRatioF();
        if (event->type() == QEvent::Paint)
            for (const QRect& rect : static_cast<QPaintEvent*>(event)->region())
                m_pixels += rect.width() * ratio * rect.height() * ratio;
        return false;
    }

private:
    ViewWidget* const m_view;
    double m_pixels = 0;
};
} // namespace

// The first call for a view installs its counter.
uint64_t CopiedPixels(CWnd& window)
{
    ViewWidget* view = ViewOf(&window);
    if (!view)
        return 0;
    QCoreApplication::sendPostedEvents(view->window(), QEvent::UpdateRequest);
    for (const QObject* child : view->children())
        if (const auto* counter = dynamic_cast<const CopyCounter*>(child))
            return static_cast<uint64_t>(counter->Pixels());
    new CopyCounter(view); // the view deletes it
    return 0;
}
