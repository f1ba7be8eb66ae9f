// The widget of a view. Receives paints, moves and overlays from the CView, and input from Qt. Copies its
// pixels to the screen.
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

// The client area of a view: a buffer of device pixels. Paints draw into the buffer, and Qt's paint event
// copies it.
class ViewWidget : public QWidget
{
public:
    ViewWidget(CView* owner, PaneWidget* pane);
    ~ViewWidget() override;

    // Called when the view object or its window is destroyed. No message is sent to it after this.
    void Detach();
    [[nodiscard]] CView* Owner() const { return m_owner; }
    // Returns the place of the client area in the top-level window, in device pixels, for the current
    // geometry. It is not larger than all screens.
    [[nodiscard]] CRect DeviceRect() const;

    [[nodiscard]] int ClientWidth() const { return m_client.width(); }
    [[nodiscard]] int ClientHeight() const { return m_client.height(); }
    // Return the buffer, in two forms. It is empty if memory is short.
    [[nodiscard]] PixelBuffer Pixels();
    [[nodiscard]] QImage& Buffer();
    // Fills pixels that no paint has drawn: white inside the picture, the background grey outside it.
    void FillUndrawn(const QRegion& region);
    [[nodiscard]] QRgb Background() const { return m_background; }

    void Invalidate(const CRect& rect);
    void Scroll(int dx, int dy);
    void Paint(uint64_t turn);
    // Call this after drawing, so that the next copy to the screen includes the region.
    void Changed(const QRegion& region);
    void ShowChanged();
    void SetOverlay(std::vector<OverlayShape> shapes);
    // Call this before Qt sends pixels of its backing store to the display. If the store does not have the
    // pixels that the display has moved, the whole view is updated.
    void StoreIsUsed();
    // Requests a paint message even if every pixel is valid. A window that was uncovered receives one,
    // although its pixels come from the buffer.
    void WantPaint();
    [[nodiscard]] bool NeedsPaint() const { return m_paintWanted || !m_invalid.isEmpty(); }
    [[nodiscard]] uint64_t LastPaintTurn() const { return m_lastPaintTurn; }

    // For a paint: TakeInvalid returns the invalid part, which is valid from then on. Moved returns the sum
    // of all moves of the picture, and MovedSince the moves after `start`.
    [[nodiscard]] QRegion TakeInvalid();
    [[nodiscard]] QPoint Moved() const { return m_moved; }
    [[nodiscard]] QPoint MovedSince(QPoint start) const;

    void Wheel(const QWheelEvent* event);

    [[nodiscard]] bool FitBuffer(); // fits the size to the current geometry; true if this has changed
    void SetShape(CursorShape shape);

    // Returns the view that is handling a message of the pointer, or null.
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
    QSize m_client{0, 0};  // in device pixels, at m_ratio
    double m_ratio = 1;    // device pixels per logical unit
    MovingPixels m_pixels; // the memory of m_buffer, of size m_client; allocated on first use
    QImage m_buffer;       // an image of m_pixels' memory
    QSize m_kept{0, 0};    // part of m_buffer that is still valid after a resize
    QRegion m_invalid;
    bool m_paintWanted = false;
    QRegion m_changed;         // drawn but not copied to the screen yet
    QPoint m_shift;            // by which the pixels on the screen must still be moved
    QRegion m_updates;         // requested from Qt since the last paint event
    bool m_storeIsOld = false; // Qt's backing store lacks pixels that the display has moved
    ScreenMove m_screen;
    std::vector<OverlayShape> m_overlay;
    QPoint m_moved; // sum of all moves, modulo 2^32
    // Part of the wheel's turns that is not a whole pixel yet, in 120ths of a device pixel.
    QPoint m_wheelRest;
    uint64_t m_lastPaintTurn = 0;
    bool m_shapeSet = false; // by the handler of the current pointer message
};
