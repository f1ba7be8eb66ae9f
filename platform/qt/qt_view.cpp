// The widget of a view: its buffer of device pixels, the events that become messages, and the pane with the
// scroll bars.
#include "platform/qt/peer.h"
#include "platform/qt/queue.h"

#include "platform/hooks.h"
#include "platform/resources.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QStyleOptionSlider>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <optional>
#include <utility>

namespace
{
constexpr int kWheelStep = 48;   // device pixels per notch
constexpr int kWheelNotch = 120; // Qt's count for one notch

QPointer<ViewWidget> g_pointer_view; // view that is handling a pointer message

// Returns a grey of the desktop's palette that differs clearly from white and from black. In a dark palette
// the first two roles are nearly black.
QRgb BackgroundFrom(const QPalette& palette)
{
    constexpr int kLeastContrast = 48;
    for (const QPalette::ColorRole role :
         {QPalette::Mid, QPalette::Dark, QPalette::Midlight, QPalette::Light}) {
        const int grey = qGray(palette.color(QPalette::Active, role).rgb());
        if (grey >= kLeastContrast && grey <= 255 - kLeastContrast)
            return qRgb(grey, grey, grey);
    }
    return qRgb(128, 128, 128);
}
} // namespace

WindowPeer::~WindowPeer() = default;

// Adds modulo 2^32. In a long session the sum of all moves may exceed an int.
static int Wrapped(int a, int b)
{
    return static_cast<int>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

QPoint ViewWidget::MovedSince(QPoint start) const
{
    return {Wrapped(m_moved.x(), Wrapped(~start.x(), 1)), Wrapped(m_moved.y(), Wrapped(~start.y(), 1))};
}

int ToDevicePixels(double logical, double ratio)
{
    return static_cast<int>(std::floor(logical * ratio + 0.5));
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

QString ToQString(const CString& text)
{
    return QString::fromUtf8(text.c_str(), text.GetLength());
}

CString FromQString(const QString& text)
{
    return CString{text.toStdString()};
}

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
    if (g_pointer_view == this)
        g_pointer_view = nullptr;
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
// changes several times before that, and touching memory for the first time costs more than drawing into it.
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
    m_moved = {Wrapped(m_moved.x(), dx), Wrapped(m_moved.y(), dy)};
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
            Queue::Get().AddShown(this);
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
    Queue::Get().AddShown(this);
}

void ViewWidget::UpdateAll()
{
    m_updates = QRect(QPoint(0, 0), m_client);
    update();
}

void ViewWidget::StoreIsUsed()
{
    if (m_storeIsOld)
        UpdateAll();
}

// Moves what the screen shows, or marks it as changed.
void ViewWidget::MoveScreen()
{
    const QPoint by = std::exchange(m_shift, QPoint());
    const QRect whole(QPoint(0, 0), m_client);
    if (by.isNull() || (QRegion(whole) - m_updates).isEmpty()) // Qt will send all pixels anyway
        return;
    const CRect place = DeviceRect();
    const bool moved = m_screen.Move(whole.translated(place.left, place.top), by);
    m_storeIsOld |= moved;
    // The display has moved pixels that Qt has not sent yet as they were.
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
    MoveScreen(); // later it would move what is painted now
    m_updates = {};
    if ((QRegion(rect()) - event->region()).isEmpty())
        m_storeIsOld = false;
    QPainter painter(this);
    const QImage& buffer = Buffer();
    const QSizeF drawn = QSizeF(buffer.size()) / m_ratio;
    if (width() > drawn.width() + 1 || height() > drawn.height() + 1) // larger than all screens
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

void ViewWidget::SetShape(CursorShape shape)
{
    m_shapeSet = true;
    const Qt::CursorShape wanted =
        shape == CursorShape::fourHeadedArrow ? Qt::SizeAllCursor : Qt::ArrowCursor;
    if (cursor().shape() != wanted)
        setCursor(wanted);
}

void SetCursor(CursorShape shape)
{
    if (g_pointer_view)
        g_pointer_view->SetShape(shape);
}

namespace
{
UINT KeyFor(int key)
{
    switch (key) {
    case Qt::Key_Left: return VK_LEFT;
    case Qt::Key_Right: return VK_RIGHT;
    case Qt::Key_Up: return VK_UP;
    case Qt::Key_Down: return VK_DOWN;
    case Qt::Key_PageUp: return VK_PRIOR;
    case Qt::Key_PageDown: return VK_NEXT;
    case Qt::Key_Home: return VK_HOME;
    case Qt::Key_End: return VK_END;
    case Qt::Key_Escape: return VK_ESCAPE;
    default: return 0;
    }
}

UINT FlagsOf(const QMouseEvent* event)
{
    UINT flags = 0;
    if (event->buttons() & Qt::LeftButton)
        flags |= MK_LBUTTON;
    if (event->buttons() & Qt::RightButton)
        flags |= MK_RBUTTON;
    if (event->modifiers() & Qt::ShiftModifier)
        flags |= MK_SHIFT;
    if (event->modifiers() & Qt::ControlModifier)
        flags |= MK_CONTROL;
    if (event->button() == Qt::BackButton)
        flags |= XBUTTON1 << 16;
    else if (event->button() == Qt::ForwardButton)
        flags |= XBUTTON2 << 16;
    return flags;
}
} // namespace

void ViewWidget::keyPressEvent(QKeyEvent* event)
{
    const UINT key = KeyFor(event->key());
    const QString text = event->text();
    const UINT character = text.size() == 1 ? text[0].unicode() : 0;
    if (!m_owner || (key == 0 && character == 0)) {
        QWidget::keyPressEvent(event);
        return;
    }
    Queue::Get().AddKey(m_owner, key, character, event->modifiers() & Qt::ControlModifier);
}

void ViewWidget::PointerMessage(UINT message, WPARAM flags, CPoint point)
{
    if (!m_owner)
        return;
    Queue::Get().DispatchKeys();
    if (!m_owner)
        return;
    m_shapeSet = false;
    const QPointer<ViewWidget> self(this);
    const QPointer<ViewWidget> before = std::exchange(g_pointer_view, self);
    m_owner->SendMessage(message, flags, PackPoint(point.x, point.y));
    if (!self || !m_owner)
        return;
    g_pointer_view = before;
    if (!m_shapeSet && cursor().shape() != Qt::ArrowCursor)
        unsetCursor();
    Queue::Get().InputHandled();
}

void ViewWidget::SendMouse(UINT message, QMouseEvent* event)
{
    SetControlState(event->modifiers() & Qt::ControlModifier);
    const double ratio = devicePixelRatioF();
    const CRect rect = DeviceRect();
    const QPointF scene = event->scenePosition();
    PointerMessage(
        message, FlagsOf(event),
        {ToDevicePixels(scene.x(), ratio) - rect.left, ToDevicePixels(scene.y(), ratio) - rect.top});
}

void ViewWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        SendMouse(WM_LBUTTONDOWN, event);
    else if (event->button() == Qt::RightButton)
        SendMouse(WM_RBUTTONDOWN, event);
    else if (event->button() == Qt::BackButton || event->button() == Qt::ForwardButton)
        SendMouse(WM_XBUTTONDOWN, event);
}

void ViewWidget::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        SendMouse(WM_LBUTTONUP, event);
    else if (event->button() == Qt::RightButton)
        SendMouse(WM_RBUTTONUP, event);
}

void ViewWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        SendMouse(WM_LBUTTONDBLCLK, event);
    else if (event->button() == Qt::RightButton)
        SendMouse(WM_RBUTTONDBLCLK, event);
    else
        mousePressEvent(event); // the other buttons have no double clicks
}

void ViewWidget::mouseMoveEvent(QMouseEvent* event)
{
    SendMouse(WM_MOUSEMOVE, event);
}

void ViewWidget::leaveEvent(QEvent* event)
{
    QWidget::leaveEvent(event);
    PointerMessage(WM_MOUSELEAVE, 0, {});
}

void ViewWidget::wheelEvent(QWheelEvent* event)
{
    event->accept();
    Wheel(event);
}

void ViewWidget::Wheel(const QWheelEvent* event)
{
    QPoint move; // in 120ths of a device pixel
    // On X11 Qt computes pixel deltas, and the result depends on the driver.
    if (IsWayland() && !event->pixelDelta().isNull())
        move = event->pixelDelta() * kWheelNotch;
    else
        move = event->angleDelta() * kWheelStep;
    if (event->modifiers() & Qt::ShiftModifier)
        move = move.transposed();
    m_wheelRest -= move; // turning the wheel up or left moves to lower positions
    const QPoint whole(m_wheelRest.x() / kWheelNotch, m_wheelRest.y() / kWheelNotch);
    m_wheelRest -= whole * kWheelNotch;
    if (!whole.isNull())
        PointerMessage(WM_MOUSEWHEEL, 0, {whole.x(), whole.y()});
}

void ViewWidget::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    if (CFrameWnd* frame = m_owner ? m_owner->GetParentFrame() : nullptr)
        frame->SetActiveView(m_owner);
}

PaneBar::Look PaneBar::CurrentLook() const
{
    constexpr int kAround = 4;
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRect slider =
        style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
    return {slider.adjusted(-kAround, -kAround, kAround, kAround), value() == minimum(),
            value() == maximum()};
}

void PaneBar::sliderChange(SliderChange change)
{
    const Look look = CurrentLook();
    if (change != SliderValueChange || m_painted.slider.isEmpty() ||
        look.at_minimum != m_painted.at_minimum || look.at_maximum != m_painted.at_maximum)
        QScrollBar::sliderChange(change);
    else if (look.slider != m_painted.slider)
        update(look.slider | m_painted.slider);
}

// A new style, font or size moves the slider without a change of its value. It causes a full paint, and only
// what is painted can leave a trace.
void PaneBar::paintEvent(QPaintEvent* event)
{
    QScrollBar::paintEvent(event);
    m_painted = CurrentLook();
}

PaneWidget::PaneWidget(CView* owner, QWidget* parent)
    : QWidget(parent), m_view(new ViewWidget(owner, this)), m_bars{new PaneBar(Qt::Horizontal, this),
                                                                   new PaneBar(Qt::Vertical, this)}
{
    setFocusProxy(m_view);
    for (int bar : {SB_HORZ, SB_VERT}) {
        m_bars[bar]->hide();
        m_bars[bar]->setSingleStep(1);
        m_bars[bar]->setFocusPolicy(Qt::NoFocus);
        m_bars[bar]->installEventFilter(this); // a bar would turn a notch into three single steps
        connect(m_bars[bar], &QScrollBar::valueChanged, this,
                [this, bar](int value) { BarMoved(bar, value); });
    }
}

bool PaneWidget::eventFilter(QObject* object, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress)
        ShowPositions(); // the bar steps from its own value
    if (event->type() != QEvent::Wheel)
        return QWidget::eventFilter(object, event);
    wheelEvent(static_cast<QWheelEvent*>(event));
    return true;
}

void PaneWidget::wheelEvent(QWheelEvent* event)
{
    event->accept();
    m_view->Wheel(event);
}

void PaneWidget::BarMoved(int bar, int value)
{
    CView* owner = m_view->Owner();
    if (!owner || value == m_position[bar])
        return;
    owner->SendMessage(bar == SB_HORZ ? WM_HSCROLL : WM_VSCROLL, 0, value);
    Queue::Get().InputHandled();
}

void PaneWidget::SetPicture(CSize total, CSize page, CSize line)
{
    // This is called at every update. A new layout would draw the whole window again.
    if (m_total == total && m_page == page && m_line == line)
        return;
    m_total = total;
    m_page = page;
    m_line = line;
    Relayout();
}

QRect PaneWidget::Picture() const
{
    return {-m_position[SB_HORZ], -m_position[SB_VERT], m_total.cx, m_total.cy};
}

void PaneWidget::resizeEvent(QResizeEvent*)
{
    Relayout();
}

// Places the view next to the requested bars. Returns true if the view's size then needs exactly these bars.
bool PaneWidget::Place(bool horizontal, bool vertical)
{
    const int bar_height = horizontal ? m_bars[SB_HORZ]->sizeHint().height() : 0;
    const int bar_width = vertical ? m_bars[SB_VERT]->sizeHint().width() : 0;
    m_view->setGeometry(0, 0, std::max(0, width() - bar_width), std::max(0, height() - bar_height));
    const CRect client = m_view->DeviceRect();
    return (m_total.cx > client.Width()) == horizontal && (m_total.cy > client.Height()) == vertical;
}

void PaneWidget::Relayout()
{
    // A handler of WM_SIZE, below, has called this: the new range is valid at once, the bars follow later.
    if (m_inLayout) {
        m_layoutAgain = true;
        UpdateBars();
        return;
    }
    m_inLayout = true;
    const QPointer<PaneWidget> self(this);
    // A new size may change the size of the picture once. So a third round changes nothing.
    for (int round = 0; round < 3; ++round) {
        m_layoutAgain = false;
        // Both bars are needed if neither no bar nor a single bar is enough.
        const bool horizontal_only = !Place(false, false) && Place(true, false);
        bool horizontal = horizontal_only;
        bool vertical = false;
        if (!horizontal_only && !Place(false, false)) {
            vertical = true;
            horizontal = !Place(false, true);
            if (horizontal)
                Place(true, true);
        }
        m_bars[SB_HORZ]->setVisible(horizontal);
        m_bars[SB_VERT]->setVisible(vertical);
        m_bars[SB_HORZ]->setGeometry(0, m_view->height(), m_view->width(), height() - m_view->height());
        m_bars[SB_VERT]->setGeometry(m_view->width(), 0, width() - m_view->width(), m_view->height());
        const bool resized = m_view->FitBuffer();
        UpdateBars();
        if (CView* owner = m_view->Owner(); owner && resized)
            owner->SendMessage(WM_SIZE, SIZE_RESTORED,
                               PackPoint(m_view->ClientWidth(), m_view->ClientHeight()));
        if (!self || !m_view->Owner())
            return;
        if (!m_layoutAgain)
            break;
    }
    m_inLayout = false;
}

void PaneWidget::UpdateBars()
{
    const CPoint before{m_position[SB_HORZ], m_position[SB_VERT]};
    UpdateBar(SB_HORZ, m_view->ClientWidth());
    UpdateBar(SB_VERT, m_view->ClientHeight());
    // If a range has become shorter, the picture moves with its position.
    m_view->Scroll(before.x - m_position[SB_HORZ], before.y - m_position[SB_VERT]);
}

void PaneWidget::UpdateBar(int bar, int client)
{
    const int total = bar == SB_HORZ ? m_total.cx : m_total.cy;
    m_range[bar] = std::max(0, total - client);
    m_position[bar] = std::min(m_position[bar], m_range[bar]);
    const QSignalBlocker quiet(m_bars[bar]);
    m_bars[bar]->setRange(0, m_range[bar]);
    m_bars[bar]->setPageStep(std::max(1, bar == SB_HORZ ? m_page.cx : m_page.cy));
    m_bars[bar]->setSingleStep(std::max(1, bar == SB_HORZ ? m_line.cx : m_line.cy));
    m_bars[bar]->setValue(m_position[bar]);
}

void PaneWidget::SetPosition(int bar, int position)
{
    m_position[bar] = std::clamp(position, 0, m_range[bar]);
    Queue::Get().AddShown(m_view);
}

void PaneWidget::ShowPositions()
{
    for (const int bar : {SB_HORZ, SB_VERT}) {
        const QSignalBlocker quiet(m_bars[bar]);
        m_bars[bar]->setValue(m_position[bar]);
    }
}

ViewPeer::ViewPeer(CView* owner, QMainWindow* frame) : m_pane(new PaneWidget(owner, frame))
{
    frame->setCentralWidget(m_pane);
    m_pane->View()->setFocus();
}

ViewPeer::~ViewPeer()
{
    if (!m_pane)
        return;
    m_pane->View()->Detach();
    m_pane->hide();
    m_pane->deleteLater();
}

void CView::MakePeer(CFrameWnd* frame)
{
    m_peer = std::make_unique<ViewPeer>(this, FrameOf(frame));
}

void CView::SetOverlay(std::vector<OverlayShape> shapes)
{
    if (ViewWidget* view = ViewOf(this))
        view->SetOverlay(std::move(shapes));
}

void CScrollView::SetPicture(CSize total, CSize page, CSize line)
{
    if (PaneWidget* pane = PaneOf(this))
        pane->SetPicture(total, page, line);
}
