// SPDX-License-Identifier: MIT
// Device contexts for the screen. A paint draws into the window's buffer, outside of Qt's paint event. So a
// paint may open a box or scroll the picture.
#include "platform/dc.h"

#include "platform/qt/display.h"
#include "platform/qt/qt_view.h"
#include "platform/raster.h"
#include "platform/wnd.h"

#include <QGuiApplication>
#include <QPointer>
#include <QScreen>

namespace
{
int ScreenCap(int index)
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return 0;
    const double ratio = screen->devicePixelRatio();
    switch (index) {
    case HORZRES: return ToDevicePixels(screen->geometry().width(), ratio);
    case VERTRES: return ToDevicePixels(screen->geometry().height(), ratio);
    case LOGPIXELSX: return ToDevicePixels(screen->logicalDotsPerInchX(), ratio);
    case LOGPIXELSY: return ToDevicePixels(screen->logicalDotsPerInchY(), ratio);
    default: return 0;
    }
}

class ScreenInformation final : public DeviceTarget
{
public:
    RegionKind GetClipBox(CRect*) const override { return ERRORREGION; }
    int GetDeviceCaps(int index) const override { return ScreenCap(index); }
    bool DrawBilevel(const CRect&, const CBitmap&, int, int, COLORREF, COLORREF) override { return false; }
    bool DrawIndexed(const CRect&, const BitmapInfo&, const uint8_t*, const CRect&, const COLORREF*) override
    {
        return false;
    }
};

QRect ToQRect(const CRect& rect)
{
    return {rect.left, rect.top, rect.Width(), rect.Height()};
}

// The client area of a view, limited to the clip region at the start of a paint. Coordinates are those at the
// start of the paint. If the picture is moved during the paint, the move is added.
class WindowTarget final : public DeviceTarget
{
public:
    WindowTarget(ViewWidget* view, QRegion clip)
        : m_view(view), m_clip(std::move(clip)), m_start(view->Moved())
    {
    }
    WindowTarget(const WindowTarget&) = delete;
    WindowTarget& operator=(const WindowTarget&) = delete;
    ~WindowTarget() override = default;

    RegionKind GetClipBox(CRect* box) const override
    {
        const QRect bounds = m_clip.boundingRect();
        *box = {bounds.left(), bounds.top(), bounds.left() + bounds.width(), bounds.top() + bounds.height()};
        return m_clip.isEmpty() ? NULLREGION : m_clip.rectCount() == 1 ? SIMPLEREGION : COMPLEXREGION;
    }

    int GetDeviceCaps(int index) const override { return ScreenCap(index); }

    bool DrawBilevel(const CRect& dest, const CBitmap& bitmap, int source_x, int source_y, COLORREF zero,
                     COLORREF one) override
    {
        return Draw(dest, [&](const PixelBuffer& buffer, const CRect& clip, const CRect& moved) {
            BlitBilevel(buffer, clip, moved, bitmap, source_x, source_y, zero, one);
        });
    }

    bool DrawIndexed(const CRect& dest, const BitmapInfo& info, const uint8_t* bits, const CRect& source,
                     const COLORREF* colors) override
    {
        return Draw(dest, [&](const PixelBuffer& buffer, const CRect& clip, const CRect& moved) {
            BlitIndexed(buffer, clip, moved, info, bits, source, colors);
        });
    }

    void FillRest()
    {
        if (Alive())
            m_view->FillUndrawn((m_clip - m_drawn).translated(m_view->MovedSince(m_start)));
    }

private:
    bool Alive() const { return m_view && m_view->Owner(); }

    template <class Blit>
    bool Draw(const CRect& dest, Blit blit)
    {
        if (!Alive())
            return false;
        const QPoint move = m_view->MovedSince(m_start);
        const QRect bounds = m_clip.boundingRect();
        const CRect clip{bounds.left() + move.x(), bounds.top() + move.y(),
                         bounds.left() + bounds.width() + move.x(),
                         bounds.top() + bounds.height() + move.y()};
        const CRect moved{dest.left + move.x(), dest.top + move.y(), dest.right + move.x(),
                          dest.bottom + move.y()};
        blit(m_view->Pixels(), clip, moved);
        const QRect drawn = ToQRect(dest) & bounds;
        m_drawn += drawn;
        m_view->Changed(drawn.translated(move));
        return true;
    }

    QPointer<ViewWidget> m_view;
    QRegion m_clip;
    QRegion m_drawn;
    QPoint m_start;
};
} // namespace

void CDC::CreateDisplayInformation()
{
    SetTarget(std::make_unique<ScreenInformation>());
}

CPaintDC::CPaintDC(CWnd* window)
{
    if (ViewWidget* view = ViewOf(window))
        SetTarget(std::make_unique<WindowTarget>(view, view->TakeInvalid()));
}

CPaintDC::~CPaintDC()
{
    if (auto* target = static_cast<WindowTarget*>(Target()))
        target->FillRest();
}

CClientDC::CClientDC(CWnd* window)
{
    ViewWidget* view = ViewOf(window);
    if (view)
        SetTarget(
            std::make_unique<WindowTarget>(view, QRect(0, 0, view->ClientWidth(), view->ClientHeight())));
    else
        SetTarget(std::make_unique<ScreenInformation>());
}

CClientDC::~CClientDC() = default;
