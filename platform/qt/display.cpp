// SPDX-License-Identifier: MIT
#include "platform/qt/display.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <algorithm>
#include <cmath>

int ToDevicePixels(double logical, double ratio)
{
    return static_cast<int>(std::floor(logical * ratio + 0.5));
}

bool IsWayland()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

xcb_connection_t* XConnection()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return nullptr;
    auto* const display = qApp->nativeInterface<QNativeInterface::QX11Application>();
    return display ? display->connection() : nullptr;
}

bool IsOnAScreen(const QRect& rect)
{
    const QList<QScreen*> screens = QGuiApplication::screens();
    return !rect.isEmpty() && std::any_of(screens.begin(), screens.end(), [&rect](const QScreen* screen) {
        return screen->geometry().intersects(rect);
    });
}

QSize AllScreens()
{
    double ratio = 1;
    for (const QScreen* screen : QGuiApplication::screens())
        ratio = std::max(ratio, screen->devicePixelRatio());
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const QSize logical = screen ? screen->virtualSize() : QSize();
    if (logical.isEmpty()) // all screens are off at the moment
        return {QWIDGETSIZE_MAX, QWIDGETSIZE_MAX};
    return {ToDevicePixels(logical.width(), ratio), ToDevicePixels(logical.height(), ratio)};
}
