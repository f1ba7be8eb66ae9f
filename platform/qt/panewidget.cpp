// SPDX-License-Identifier: MIT
// Places the view and the scroll bars, and keeps the range and the position of both axes. A bar shows a new
// position when the moved picture is shown.
#include "platform/qt/panewidget.h"

#include "platform/qt/queue.h"
#include "platform/qt/viewwidget.h"

#include <QPointer>
#include <QSignalBlocker>
#include <QStyleOptionSlider>
#include <QWheelEvent>
#include <algorithm>

PaneBar::Look PaneBar::CurrentLook() const
{
    constexpr int kEdgePixels = 4; // for the edge or shadow that a style may draw around the slider
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRect slider =
        style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
    return {slider.adjusted(-kEdgePixels, -kEdgePixels, kEdgePixels, kEdgePixels), value() == minimum(),
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

// A new style, font or size can also move the slider, but then Qt paints the whole bar. So it is sufficient
// to store the look of each paint.
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
        ShowPositions(); // the bar computes its step from its own value
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
    // The handler of the WM_SIZE that is sent below has called this function. The new range is valid at once.
    // The loop below places the bars again.
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
        // Tries no bar, then each bar alone. If none of these is enough, shows both bars.
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
    Queue::Get().AddUnsent(m_view);
}

void PaneWidget::ShowPositions()
{
    for (const int bar : {SB_HORZ, SB_VERT}) {
        const QSignalBlocker quiet(m_bars[bar]);
        m_bars[bar]->setValue(m_position[bar]);
    }
}
