#include "qt_support.h"

#include <QApplication>
#include <QMessageBox>
#include <QPalette>
#include <QScreen>
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

double ScreenRatio()
{
    return QGuiApplication::primaryScreen()->devicePixelRatio();
}
