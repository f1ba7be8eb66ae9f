// SPDX-License-Identifier: MIT
// The only source of these tests that uses Qt: boxes, timers, repaints, styles and palettes.
#include "qt_support.h"

#include "platform/qt/queue.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QBackingStore>
#include <QImage>
#include <QMessageBox>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QScreen>
#include <QScrollBar>
#include <QStyleOption>
#include <QTimer>
#include <QWindow>

void InNextBox(std::function<void()> function, std::string* text)
{
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, function = std::move(function), text] {
        QWidget* const box = QApplication::activeModalWidget();
        if (!box)
            return;
        timer->stop();
        timer->deleteLater();
        if (auto* message = qobject_cast<QMessageBox*>(box); message && text)
            *text = message->text().toStdString();
        function();
        box->close();
    });
    timer->start(0);
}

std::string BoxParentTitle()
{
    const QWidget* const box = QApplication::activeModalWidget();
    return box && box->parentWidget() ? box->parentWidget()->windowTitle().toStdString() : "none";
}

void PumpRounds()
{
    for (int i = 0; i < 100; ++i)
        QCoreApplication::processEvents();
}

void SendTimerEvents(int times)
{
    Queue& queue = Queue::Get();
    for (int i = 0; i < times; ++i)
        for (const auto& timer : QAbstractEventDispatcher::instance()->registeredTimers(&queue)) {
            QTimerEvent event(timer.timerId);
            QCoreApplication::sendEvent(&queue, &event);
        }
}

PaletteForTest::PaletteForTest(unsigned mid, unsigned dark, unsigned midlight, unsigned light)
{
    const auto grey = [](unsigned value) { return QColor::fromRgb(Grey(value)); };
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Mid, grey(mid));
    palette.setColor(QPalette::Dark, grey(dark));
    palette.setColor(QPalette::Midlight, grey(midlight));
    palette.setColor(QPalette::Light, grey(light));
    QApplication::setPalette(palette);
}

PaletteForTest::~PaletteForTest()
{
    QApplication::setPalette(QPalette());
}

namespace
{
class BarStyle : public QProxyStyle
{
public:
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override
    {
        const auto* const bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
        if (control != CC_ScrollBar || part != SC_ScrollBarSlider || !bar)
            return QProxyStyle::subControlRect(control, option, part, widget);
        const bool flat = bar->orientation == Qt::Horizontal;
        const int length = (flat ? bar->rect.width() : bar->rect.height()) - 2 * kButton;
        const int slider = length / 4;
        const int at = kButton + sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition,
                                                         length - slider, true);
        return flat ? QRect(at, 0, slider, bar->rect.height()) : QRect(0, at, bar->rect.width(), slider);
    }

    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override
    {
        const auto* const bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
        if (control != CC_ScrollBar || !bar) {
            QProxyStyle::drawComplexControl(control, option, painter, widget);
            return;
        }
        const bool at_minimum = bar->sliderPosition == bar->minimum;
        const bool at_maximum = bar->sliderPosition == bar->maximum;
        QRect first = bar->rect;
        first.setSize({kButton, kButton});
        QRect last = first;
        last.moveBottomRight(bar->rect.bottomRight());
        painter->fillRect(bar->rect, Qt::lightGray);
        painter->fillRect(first, at_minimum ? Qt::red : Qt::blue);
        painter->fillRect(last, at_maximum ? Qt::red : Qt::blue);
        painter->fillRect(subControlRect(control, option, SC_ScrollBarSlider, widget), Qt::black);
    }

private:
    static constexpr int kButton = 20;
};
} // namespace

BarStyleForTest::BarStyleForTest() : m_before(QApplication::style()->name().toStdString())
{
    QApplication::setStyle(new BarStyle); // Qt deletes it
}

BarStyleForTest::~BarStyleForTest()
{
    QApplication::setStyle(QString::fromStdString(m_before));
}

std::string TitleOnScreen()
{
    for (const QWindow* window : QGuiApplication::topLevelWindows())
        if (window->isVisible() && window->type() == Qt::Window)
            return window->title().toStdString();
    return {};
}

// Returns a copy of a window's pixels on the screen, or a null image if it is not shown. At most ratios Qt
// makes a new paint device for each paint.
static QImage ShownBy(const QWidget* window)
{
    QBackingStore* const store = window->isVisible() ? window->backingStore() : nullptr;
    const auto* const device = store ? dynamic_cast<const QImage*>(store->paintDevice()) : nullptr;
    return device ? device->copy() : QImage();
}

std::string DifferenceFromRepaint()
{
    int compared = 0;
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        const QImage before = ShownBy(widget);
        if (before.isNull())
            continue;
        // Updates each inner widget too, because a repaint of the window alone does not repaint them all.
        for (QWidget* const inner : widget->findChildren<QWidget*>())
            inner->update();
        widget->repaint();
        const QImage after = ShownBy(widget);
        if (before.size() != after.size())
            return "the size of a window has changed";
        ++compared;
        for (int y = 0; y < after.height(); ++y)
            for (int x = 0; x < after.width(); ++x)
                if (before.pixel(x, y) != after.pixel(x, y))
                    return std::to_string(x) + "," + std::to_string(y) + " of " +
                           std::to_string(after.width()) + " x " + std::to_string(after.height());
    }
    return compared > 0 ? "" : "nothing compared";
}

CPoint BarValues()
{
    CPoint values;
    for (const QWidget* const widget : QApplication::topLevelWidgets())
        for (const QScrollBar* const bar : widget->findChildren<QScrollBar*>())
            (bar->orientation() == Qt::Horizontal ? values.x : values.y) = bar->value();
    return values;
}

double ScreenRatio()
{
    return QGuiApplication::primaryScreen()->devicePixelRatio();
}
