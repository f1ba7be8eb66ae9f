#include "qt_support.h"

#include <QApplication>
#include <QBackingStore>
#include <QImage>
#include <QMessageBox>
#include <QPalette>
#include <QScreen>
#include <QScrollBar>
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

PaletteForTest::PaletteForTest(unsigned mid, unsigned dark, unsigned midlight, unsigned light)
{
    const auto grey = [](unsigned value) {
        return QColor::fromRgb(
            qRgb(static_cast<int>(value), static_cast<int>(value), static_cast<int>(value)));
    };
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

std::string TitleOnScreen()
{
    for (const QWindow* window : QGuiApplication::topLevelWindows())
        if (window->isVisible() && window->type() == Qt::Window)
            return window->title().toStdString();
    return {};
}

std::string DifferenceFromRepaint()
{
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        QBackingStore* const store = widget->isVisible() ? widget->backingStore() : nullptr;
        const auto* const device = store ? dynamic_cast<QImage*>(store->paintDevice()) : nullptr;
        if (!device)
            continue;
        const QImage before = device->copy();
        // Updates each inner widget too, because a repaint of the window alone does not repaint them all.
        for (QWidget* const inner : widget->findChildren<QWidget*>())
            inner->update();
        widget->repaint();
        const QImage after = store->paintDevice() == device ? device->copy() : QImage();
        for (int y = 0; y < after.height(); ++y)
            for (int x = 0; x < after.width(); ++x)
                if (before.size() != after.size() || before.pixel(x, y) != after.pixel(x, y))
                    return std::to_string(x) + "," + std::to_string(y) + " of " +
                           std::to_string(after.width()) + " x " + std::to_string(after.height());
    }
    return {};
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
