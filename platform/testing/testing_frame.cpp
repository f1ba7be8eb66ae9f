// SPDX-License-Identifier: MIT
// The functions of testing.h for frames.
#include "platform/testing/testing.h"

#include "platform/qt/longwork.h"
#include "platform/qt/qt_framewnd.h"

#include <QCoreApplication>
#include <QDropEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPaintEvent>
#include <QUrl>
#include <QWindow>
#include <cmath>

void DropFiles(CWnd& window, const std::vector<CString>& paths)
{
    FrameWidget* frame = FrameOf(&window);
    if (!frame || !frame->acceptDrops())
        return;
    QMimeData data;
    QList<QUrl> urls;
    for (const CString& path : paths) {
        const QByteArray bytes(path.c_str(), path.GetLength());
        urls.push_back(QUrl::fromEncoded("file://" + bytes.toPercentEncoding("/")));
    }
    data.setUrls(urls);
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(frame, &enter);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    if (!enter.isAccepted())
        return;
    QCoreApplication::sendEvent(frame, &drop);
    // A drop opens its files after it has ended.
    QCoreApplication::sendPostedEvents(frame, DroppedFilesEvent::kType);
}

void CloseFrame(CWnd& window)
{
    if (FrameWidget* frame = FrameOf(&window))
        frame->close();
}

void ResizeFrame(CWnd& window, CSize client)
{
    if (FrameWidget* frame = FrameOf(&window)) {
        const double ratio = frame->devicePixelRatioF();
        frame->resize(static_cast<int>(std::ceil(client.cx / ratio)),
                      static_cast<int>(std::ceil(client.cy / ratio)));
        PumpUntilIdle();
    }
}

void UncoverFrame(CWnd& window)
{
    FrameWidget* frame = FrameOf(&window);
    if (!frame || !frame->windowHandle())
        return;
    QPaintEvent event(QRect(QPoint(0, 0), frame->size()));
    QCoreApplication::sendEvent(frame->windowHandle(), &event);
}

void ActivateByUser(CWnd& window)
{
    if (FrameWidget* frame = FrameOf(&window)) {
        frame->activateWindow();
        PumpUntil([frame] { return frame->isActiveWindow(); });
    }
}

std::vector<std::string> DescribeMenu(CFrameWnd& window)
{
    std::vector<std::string> lines;
    FrameWidget* frame = FrameOf(&window);
    if (!frame)
        return lines;
    for (const QAction* popup : frame->menuBar()->actions()) {
        emit popup->menu()->aboutToShow();
        for (const QAction* action : popup->menu()->actions()) {
            std::string line = (popup->text() + QLatin1Char('/') + action->text()).toStdString();
            if (!action->isEnabled())
                line += " [disabled]";
            if (action->isChecked())
                line += " [checked]";
            if (!action->isSeparator())
                lines.push_back(line);
        }
    }
    return lines;
}
