// SPDX-License-Identifier: MIT
// The widget of a view. Receives drawn pixels, moves and overlays from the view object (CView), and input
// from Qt. Copies its pixels to the screen.
#pragma once

#include "platform/movingpixels.h"
#include "platform/overlay.h"
#include "platform/qt/screenmove.h"
#include "platform/raster.h"
#include "platform/view.h"

#include <QImage>
#include <QPointer>
#include <QRegion>
#include <QWidget>
#include <vector>

class PaneWidget;

// The client area of a view: a buffer of device pixels. The view object draws into the buffer when it handles
// WM_PAINT. Qt's paint event copies the buffer to the screen.
class ViewWidget : public QWidget
{
public:
    ViewWidget(CView* owner, PaneWidget* pane);
    ~ViewWidget() override;

    // Call this when the view object or its window is destroyed. After this, the widget sends no message to
    // the view object.
    void Detach();
    [[nodiscard]] CView* Owner() const { return m_owner; }
    // Returns the rectangle of the client area in the top-level window, in device pixels. The function uses
    // the current geometry. The rectangle is at most as large as all screens together.
    [[nodiscard]] CRect DeviceRect() const;

    [[nodiscard]] int ClientWidth() const { return m_client.width(); }
    [[nodiscard]] int ClientHeight() const { return m_client.height(); }
    // Return the buffer, in two forms. It is empty if memory is short.
    [[nodiscard]] PixelBuffer Pixels();
    [[nodiscard]] QImage& Buffer();
    // Fills the region: white inside the picture, the background grey outside it. Call this for pixels that
    // no paint has drawn.
    void FillUndrawn(const QRegion& region);
    [[nodiscard]] QRgb Background() const { return m_background; }

    void Invalidate(const CRect& rect);
    void Scroll(int dx, int dy);
    void Paint(uint64_t turn); // sends WM_PAINT; `turn` is the current turn of the queue
    // Call this after drawing, so that the next copy to the screen includes the region.
    void Changed(const QRegion& region);
    void ShowChanged();
    void SetOverlay(std::vector<OverlayShape> shapes);
    // Call this before Qt sends pixels of its backing store to the display. Updates the whole view if the
    // store does not have the pixels that the display has moved.
    void PrepareStore();
    // Requests a paint message even if every pixel is valid. Call this after the window was shown again or a
    // part of it was uncovered. The view then receives a paint message, although the buffer has the pixels.
    void WantPaint();
    [[nodiscard]] bool NeedsPaint() const { return m_paintWanted || !m_invalid.isEmpty(); }
    [[nodiscard]] uint64_t LastPaintTurn() const { return m_lastPaintTurn; }

    // For a paint. TakeInvalid returns the invalid part and marks it as valid. Moved returns the sum of all
    // moves of the picture. MovedSince returns the sum of the moves after Moved returned `start`.
    [[nodiscard]] QRegion TakeInvalid();
    [[nodiscard]] QPoint Moved() const { return m_moved; }
    [[nodiscard]] QPoint MovedSince(QPoint start) const;

    void Wheel(const QWheelEvent* event);

    // Adapts the size and ratio of the buffer to the current geometry. Returns true if one of them has
    // changed.
    [[nodiscard]] bool FitBuffer();
    void SetShape(CursorShape shape); // the shape of the mouse pointer

    // Returns the view that is handling a mouse message, or null.
    [[nodiscard]] static ViewWidget* PointerView() { return s_pointerView; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void FillUndrawn(QImage& image, const QRegion& region) const;
    [[nodiscard]] QImage ImageOf(const MovingPixels& pixels) const;
    [[nodiscard]] std::vector<OverlayPart> PartsOfOverlay() const;
    void UpdateAll();
    void MoveScreen();
    void SendMouse(UINT message, QMouseEvent* event);
    void PointerMessage(UINT message, WPARAM flags, CPoint point);

    static QPointer<ViewWidget> s_pointerView;

    CView* m_owner;
    PaneWidget* m_pane;    // the parent
    QRgb m_background;     // outside the picture
    QSize m_client{0, 0};  // size of the client area, in device pixels
    double m_ratio = 1;    // device pixels per logical unit
    MovingPixels m_pixels; // the memory of m_buffer, of size m_client; allocated on first use
    QImage m_buffer;       // an image that uses the memory of m_pixels
    QSize m_kept{0, 0};    // part of m_buffer that is still valid after a resize
    QRegion m_invalid;
    bool m_paintWanted = false;
    QRegion m_changed;         // drawn but not copied to the screen yet
    QPoint m_shift;            // distance by which the pixels on the screen must still be moved
    QRegion m_updates;         // requested from Qt since the last paint event
    bool m_storeIsOld = false; // Qt's backing store lacks pixels that the display has moved
    ScreenMove m_screen;
    std::vector<OverlayShape> m_overlay;
    QPoint m_moved; // sum of all moves, modulo 2^32
    // Wheel movement that is not sent yet, because it is less than a pixel. In 120ths of a device pixel.
    QPoint m_wheelRest;
    uint64_t m_lastPaintTurn = 0;
    bool m_shapeSet = false; // the handler of the current mouse message has called SetShape
};
