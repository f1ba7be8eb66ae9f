// SPDX-License-Identifier: MIT
// The pixels of a view: its buffer, the invalid part, moves, and the copy to the screen. The input of a view
// is in viewinput.cpp.
#include "platform/qt/viewwidget.h"

#include "platform/hooks.h"
#include "platform/qt/display.h"
#include "platform/qt/panewidget.h"
#include "platform/qt/queue.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <optional>
#include <utility>

namespace
{
// Returns a grey of the desktop's palette that differs clearly from white and from black. In a dark palette
// the first two roles are nearly black.
QRgb BackgroundFrom(const QPalette& palette)
{
    constexpr int kMinContrast = 48;
    for (const QPalette::ColorRole role :
         {QPalette::Mid, QPalette::Dark, QPalette::Midlight, QPalette::Light}) {
        const int grey = qGray(palette.color(QPalette::Active, role).rgb());
        if (grey >= kMinContrast && grey <= 255 - kMinContrast)
            return qRgb(grey, grey, grey);
    }
    return qRgb(128, 128, 128);
}
} // namespace

// Adds modulo 2^32. In a long session the sum of all moves may exceed an int.
static int AddWrapping(int a, int b)
{
    return static_cast<int>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

QPoint ViewWidget::MovedSince(QPoint start) const
{
    // ~n + 1 is -n modulo 2^32.
    return {AddWrapping(m_moved.x(), AddWrapping(~start.x(), 1)),
            AddWrapping(m_moved.y(), AddWrapping(~start.y(), 1))};
}

namespace
{
// For assistive technology a view is a picture. The view's accessible name says what it shows.
QAccessibleInterface* MakeAccessible(const QString&, QObject* object)
{
    auto* const view = dynamic_cast<ViewWidget*>(object);
    return view ? new QAccessibleWidget(view, QAccessible::Graphic) : nullptr;
}
} // namespace

ViewWidget::ViewWidget(CView* owner, PaneWidget* pane)
    : QWidget(pane), m_owner(owner), m_pane(pane), m_background(BackgroundFrom(palette())),
      m_screen(this, [this] { UpdateAll(); })
{
    static std::once_flag once;
    std::call_once(once, [] { QAccessible::installFactory(MakeAccessible); });
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAcceptDrops(false); // the frame accepts drops
}

ViewWidget::~ViewWidget()
{
    Detach();
}

void ViewWidget::Detach()
{
    m_owner = nullptr;
    Queue::Get().Forget(this);
    if (s_pointerView == this)
        s_pointerView = nullptr;
}

CRect ViewWidget::DeviceRect() const
{
    const QPoint origin = mapTo(window(), QPoint(0, 0));
    const double ratio = devicePixelRatioF();
    const CPoint corner{ToDevicePixels(origin.x(), ratio), ToDevicePixels(origin.y(), ratio)};
    const QSize most = AllScreens();
    return {corner.x, corner.y,
            std::min(ToDevicePixels(origin.x() + width(), ratio), corner.x + most.width()),
            std::min(ToDevicePixels(origin.y() + height(), ratio), corner.y + most.height())};
}

PixelBuffer ViewWidget::Pixels()
{
    // bits() would copy the image if another QImage shared its pixels. No other does.
    QImage& buffer = Buffer();
    return {reinterpret_cast<uint32_t*>(buffer.bits()), buffer.bytesPerLine() / 4, buffer.width(),
            buffer.height()};
}

// Creates the buffer again at the first use after its size has changed. At the start of the program the size
// changes several times before that use. The first access to new memory takes longer than drawing into it.
QImage& ViewWidget::Buffer()
{
    if (m_buffer.size() == m_client && m_kept == m_client && m_buffer.devicePixelRatio() == m_ratio)
        return m_buffer;
    MovingPixels pixels(m_client.width(), m_client.height());
    QImage fresh = ImageOf(pixels);
    for (int y = 0; y < fresh.height(); ++y) {
        auto* row = reinterpret_cast<uint32_t*>(fresh.scanLine(y));
        const int kept = y < m_kept.height() ? m_kept.width() : 0;
        if (kept > 0)
            std::memcpy(row, m_buffer.constScanLine(y), static_cast<size_t>(kept) * sizeof *row);
    }
    FillUndrawn(fresh, QRegion(fresh.rect()) - QRect(QPoint(0, 0), m_kept));
    m_buffer = std::move(fresh);
    m_pixels = std::move(pixels);
    m_kept = m_buffer.size(); // empty if memory was short
    return m_buffer;
}

QImage ViewWidget::ImageOf(const MovingPixels& pixels) const
{
    const PixelBuffer buffer = pixels.Pixels();
    if (!buffer.pixels)
        return {};
    QImage image(reinterpret_cast<uchar*>(buffer.pixels), buffer.width, buffer.height,
                 buffer.row_pixels * ptrdiff_t{sizeof *buffer.pixels}, QImage::Format_RGB32);
    image.setDevicePixelRatio(m_ratio);
    return image;
}

void ViewWidget::FillUndrawn(QImage& image, const QRegion& region) const
{
    const QRect picture = m_pane->Picture();
    const auto fill = [&image](const QRegion& part, QRgb color) {
        for (const QRect& rect : part)
            for (int y = rect.top(); y <= rect.bottom(); ++y)
                std::fill_n(reinterpret_cast<QRgb*>(image.scanLine(y)) + rect.left(), rect.width(), color);
    };
    fill(region & picture, kWhite);
    fill(region - picture, m_background);
}

void ViewWidget::FillUndrawn(const QRegion& region)
{
    QImage& buffer = Buffer();
    const QRegion shown = region & buffer.rect();
    FillUndrawn(buffer, shown);
    Changed(shown);
}

void ViewWidget::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    const QRgb background = BackgroundFrom(palette());
    if (background == m_background)
        return;
    m_background = background;
    m_invalid += QRegion(QRect(QPoint(0, 0), m_client)) - m_pane->Picture();
    Queue::Get().AddDirty(this);
}

bool ViewWidget::FitBuffer()
{
    const CRect rect = DeviceRect();
    const double ratio = devicePixelRatioF();
    const QSize size(std::max(0, rect.Width()), std::max(0, rect.Height()));
    if (m_client == size && m_ratio == ratio)
        return false;
    const bool same_ratio = m_ratio == ratio;
    const QRect valid(QPoint(0, 0), same_ratio ? size.boundedTo(m_client) : QSize(0, 0));
    m_kept = m_kept.boundedTo(valid.size());
    m_client = size;
    m_ratio = ratio;
    const QRegion whole(QRect(QPoint(0, 0), size));
    m_invalid = (m_invalid & valid) + (whole - valid);
    m_changed &= whole;
    m_shift = {};
    if (!m_invalid.isEmpty())
        Queue::Get().AddDirty(this);
    UpdateAll();
    return true;
}

void ViewWidget::Invalidate(const CRect& rect)
{
    if (rect.IsEmpty())
        return;
    const QRect cut = QRect(QPoint(rect.left, rect.top), QPoint(rect.right - 1, rect.bottom - 1)) &
                      QRect(QPoint(0, 0), m_client);
    if (cut.isEmpty())
        return;
    m_invalid += cut;
    Queue::Get().AddDirty(this);
}

void ViewWidget::Scroll(int dx, int dy)
{
    const int width = ClientWidth();
    const int height = ClientHeight();
    if (width <= 0 || height <= 0 || (dx == 0 && dy == 0))
        return;
    m_moved = {AddWrapping(m_moved.x(), dx), AddWrapping(m_moved.y(), dy)};
    const QRect whole(0, 0, width, height);
    if (dx <= -width || dx >= width || dy <= -height || dy >= height) {
        m_invalid = whole;
        m_shift = {};
    } else {
        m_invalid.translate(dx, dy);
        const QRect moved = whole & whole.translated(dx, dy);
        const QRegion uncovered = QRegion(whole) - moved;
        if (!Buffer().isNull()) {
            m_pixels.Move(dx, dy);
            m_buffer = ImageOf(m_pixels);
            FillUndrawn(m_buffer, uncovered);
        }
        m_invalid = (m_invalid & whole) + uncovered;
        m_changed = m_changed.translated(dx, dy) & whole;
        if (m_overlay.empty()) {
            m_shift += QPoint(dx, dy);
            Queue::Get().AddUnsent(this);
        } else {
            Changed(moved); // the overlay does not move with the picture
        }
    }
    Queue::Get().AddDirty(this);
}

void ViewWidget::WantPaint()
{
    if (!m_owner)
        return;
    m_paintWanted = true;
    Queue::Get().AddDirty(this);
}

QRegion ViewWidget::TakeInvalid()
{
    return std::exchange(m_invalid, QRegion());
}

void ViewWidget::Paint(uint64_t turn)
{
    m_lastPaintTurn = turn;
    m_paintWanted = false;
    if (!m_owner)
        return;
    if (const auto& before_paint = Hooks::Get().before_paint)
        before_paint(*m_owner);
    m_owner->SendMessage(WM_PAINT);
}

void ViewWidget::Changed(const QRegion& region)
{
    m_changed += region;
    Queue::Get().AddUnsent(this);
}

void ViewWidget::UpdateAll()
{
    m_updates = QRect(QPoint(0, 0), m_client);
    update();
}

void ViewWidget::PrepareStore()
{
    if (m_storeIsOld)
        UpdateAll();
}

// Moves the pixels on the screen by m_shift. If the display cannot move them, marks them as changed.
void ViewWidget::MoveScreen()
{
    const QPoint by = std::exchange(m_shift, QPoint());
    const QRect whole(QPoint(0, 0), m_client);
    if (by.isNull() || (QRegion(whole) - m_updates).isEmpty()) // Qt will send all pixels anyway
        return;
    const CRect place = DeviceRect();
    const bool moved = m_screen.Move(whole.translated(place.left, place.top), by);
    m_storeIsOld |= moved;
    // The display has also moved old pixels for which Qt has not sent the new ones yet. These must be sent
    // again at their new place.
    const QRegion wrong = moved ? m_updates : QRegion(whole);
    m_changed += wrong.translated(by) & whole;
}

void ViewWidget::ShowChanged()
{
    m_pane->ShowPositions();
    MoveScreen();
    m_updates += m_changed;
    const double ratio = devicePixelRatioF();
    const QPoint origin = mapTo(window(), QPoint(0, 0));
    const int left = ToDevicePixels(origin.x(), ratio);
    const int top = ToDevicePixels(origin.y(), ratio);
    for (const QRect& rect : std::exchange(m_changed, QRegion())) {
        const int x0 = static_cast<int>(std::floor((rect.left() + left) / ratio)) - origin.x();
        const int y0 = static_cast<int>(std::floor((rect.top() + top) / ratio)) - origin.y();
        const int x1 = static_cast<int>(std::ceil((rect.right() + 1 + left) / ratio)) - origin.x();
        const int y1 = static_cast<int>(std::ceil((rect.bottom() + 1 + top) / ratio)) - origin.y();
        update(x0, y0, x1 - x0, y1 - y0);
    }
}

std::vector<OverlayPart> ViewWidget::PartsOfOverlay() const
{
    const QPoint corner = m_pane->Picture().topLeft();
    return OverlayParts(m_overlay, {-corner.x(), -corner.y()}, {m_client.width(), m_client.height()});
}

void ViewWidget::SetOverlay(std::vector<OverlayShape> shapes)
{
    if (m_overlay == shapes)
        return;
    QRegion region;
    const auto add_cover = [&] {
        for (const CRect& rect : CoverOf(PartsOfOverlay()))
            region += QRect(rect.left, rect.top, rect.Width(), rect.Height());
    };
    // add_cover uses the current position of the picture. If the picture was moved since the old shapes were
    // shown, the move has marked all moved pixels as changed.
    add_cover();
    m_overlay = std::move(shapes);
    add_cover();
    if (!region.isEmpty())
        Changed(region);
}

void ViewWidget::paintEvent(QPaintEvent* event)
{
    // The screen's ratio may have changed while the window kept its logical size.
    if (m_ratio != devicePixelRatioF() && m_owner)
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (auto* pane = qobject_cast<QWidget*>(parent()); pane && m_owner)
                    static_cast<PaneWidget*>(pane)->Relayout();
            },
            Qt::QueuedConnection);
    MoveScreen(); // done first, because a later move would also move the pixels that are painted now
    m_updates = {};
    if ((QRegion(rect()) - event->region()).isEmpty())
        m_storeIsOld = false;
    QPainter painter(this);
    const QImage& buffer = Buffer();
    const QSizeF drawn = QSizeF(buffer.size()) / m_ratio;
    if (width() > drawn.width() + 1 || height() > drawn.height() + 1) // the widget is larger than all screens
        painter.fillRect(rect(), QColor(m_background));
    // The shapes are drawn into the buffer, so that their pixels are exact device pixels.
    std::optional<OverlayOnPixels> overlay;
    if (!m_overlay.empty())
        overlay.emplace(Pixels(), PartsOfOverlay());
    painter.drawImage(QPointF(0, 0), buffer);
}

void ViewWidget::resizeEvent(QResizeEvent*)
{
    // The pane sets the size, and fits the buffer after it has placed the bars.
}
