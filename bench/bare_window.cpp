// SPDX-License-Identifier: MIT
// The peer of start_bench: a Qt window of 1280 x 960 with a menu bar, a status bar of three panes, two scroll
// bars and a black area. It shows the cost of a Qt program that does nothing. With the argument --picture it
// draws the area from an image in its own memory, as a program must do that shows more than one colour.
#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>
#include <QPainter>
#include <QScrollBar>
#include <QStatusBar>

namespace
{
class BlackWidget : public QWidget
{
public:
    explicit BlackWidget(bool picture) : m_picture(picture) { setAttribute(Qt::WA_OpaquePaintEvent); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        if (!m_picture) {
            painter.fillRect(rect(), Qt::black);
            return;
        }
        if (m_image.size() != size()) {
            m_image = QImage(size(), QImage::Format_RGB32);
            m_image.fill(Qt::black);
        }
        painter.drawImage(QPointF(0, 0), m_image);
    }

private:
    const bool m_picture;
    QImage m_image;
};
} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QMainWindow window;
    for (const char* name : {"&File", "&View", "&Help"})
        window.menuBar()->addMenu(QString::fromLatin1(name))->addAction(QStringLiteral("E&xit"));
    for (const char* text : {"left=0 top=0", "width=1000 depth=1000", "Res  X=300 Y=300"}) {
        auto* label = new QLabel(QString::fromLatin1(text));
        label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        window.statusBar()->addPermanentWidget(label);
    }
    auto* inside = new QWidget;
    auto* layout = new QGridLayout(inside);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new BlackWidget(application.arguments().contains(QStringLiteral("--picture"))), 0, 0);
    layout->addWidget(new QScrollBar(Qt::Vertical), 0, 1);
    layout->addWidget(new QScrollBar(Qt::Horizontal), 1, 0);
    layout->setRowStretch(0, 1);
    layout->setColumnStretch(0, 1);
    window.setCentralWidget(inside);
    window.setGeometry(0, 0, 1280, 960);
    window.show();
    return QApplication::exec();
}
