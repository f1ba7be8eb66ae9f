// The Qt side of the windows: a widget for each window, and the peer that connects the window to its widget.
#pragma once

#include "platform/framewnd.h"
#include "platform/movingpixels.h"
#include "platform/overlay.h"
#include "platform/qt/screenmove.h"
#include "platform/raster.h"
#include "platform/view.h"
#include "platform/wnd.h"

#include <QImage>
#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <QRegion>
#include <QScrollBar>
#include <QShortcut>
#include <QStatusBar>
#include <QTimer>
#include <QWidget>
#include <vector>

struct xcb_connection_t;

// A widget outlives its peer: the event loop deletes it later, because a handler of the widget may be
// running.
class WindowPeer
{
public:
    WindowPeer() = default;
    WindowPeer(const WindowPeer&) = delete;
    WindowPeer& operator=(const WindowPeer&) = delete;
    virtual ~WindowPeer();
    [[nodiscard]] virtual QWidget* Widget() const = 0;
    // The title of a window, or the text of a control.
    [[nodiscard]] virtual QString Text() const;
    virtual void SetText(const QString& text);
};

// Converts Qt's logical units to device pixels, rounded to nearest, halves up, as Qt does when it places
// widgets.
[[nodiscard]] int ToDevicePixels(double logical, double ratio);

// Returns false on X11, and without a screen.
[[nodiscard]] bool IsWayland();

// Returns Qt's connection to the display, or null on platforms other than X11.
[[nodiscard]] xcb_connection_t* XConnection();

class PaneWidget;

// Returns the parent for a new box or dialog: the open modal dialog, else the frame that is or was last
// active, else the main window, else null.
[[nodiscard]] QWidget* ParentForBox();

// Returns the size of all screens together, in device pixels. No window needs to be larger.
[[nodiscard]] QSize AllScreens();

// The client area of a view: a buffer of device pixels. Paints draw into the buffer, and Qt's paint event
// copies it.
class ViewWidget : public QWidget
{
public:
    ViewWidget(CView* owner, PaneWidget* pane);
    ~ViewWidget() override;

    // The view object or its window is being destroyed: no message is sent to it any more.
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
    void Changed(const QRegion& region); // call after drawing: the next copy to the screen includes this
    void ShowChanged();
    void SetOverlay(std::vector<OverlayShape> shapes);
    // Call before Qt sends pixels of its own store to the display. If the store lacks pixels that the display
    // has moved, the whole view is sent instead.
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

    [[nodiscard]] bool FitBuffer(); // to the current geometry; true if that has changed
    void SetShape(CursorShape shape);

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

    CView* m_owner;
    PaneWidget* m_pane;    // the parent
    QRgb m_background;     // outside the picture
    QSize m_client{0, 0};  // in device pixels, at m_ratio
    double m_ratio = 1;    // device pixels per logical unit
    MovingPixels m_pixels; // backing store of size m_client; allocated on first use
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

// A scroll bar. Painting one costs as much as painting a small picture. So a new value repaints only the
// slider's old and new place, unless the slider reaches or leaves an end of its range: a style may then draw
// the arrow there differently.
class PaneBar : public QScrollBar
{
public:
    using QScrollBar::QScrollBar;

protected:
    void sliderChange(SliderChange change) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Look {
        QRect slider; // with the edge or shadow that a style may draw around it
        bool at_minimum = false, at_maximum = false;
    };
    [[nodiscard]] Look CurrentLook() const;

    Look m_painted;
};

// The inside of a frame: a view, and the scroll bars that it needs.
class PaneWidget : public QWidget
{
public:
    PaneWidget(CView* owner, QWidget* parent);

    [[nodiscard]] ViewWidget* View() const { return m_view; }
    void SetPicture(CSize total, CSize page, CSize line);
    [[nodiscard]] QRect Picture() const; // the whole picture in pixels of the view; empty if there is none
    [[nodiscard]] int Range(int bar) const { return m_range[bar]; }
    [[nodiscard]] int Position(int bar) const { return m_position[bar]; }
    void SetPosition(int bar, int position);
    void ShowPositions(); // sets the bars to the picture's positions
    void Relayout();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    bool Place(bool horizontal, bool vertical);
    void UpdateBar(int bar, int client);
    void UpdateBars();
    void BarMoved(int bar, int value);

    ViewWidget* m_view;
    PaneBar* m_bars[2]; // show a new position when the moved picture is shown
    CSize m_total;
    CSize m_page;
    CSize m_line{1, 1};
    int m_range[2] = {0, 0};
    int m_position[2] = {0, 0};
    bool m_inLayout = false;
    bool m_layoutAgain = false;
};

class ViewPeer final : public WindowPeer
{
public:
    ViewPeer(CView* owner, QMainWindow* frame);
    ~ViewPeer() override;
    [[nodiscard]] QWidget* Widget() const override { return m_pane ? m_pane->View() : nullptr; }
    [[nodiscard]] PaneWidget* Pane() const { return m_pane; }
    [[nodiscard]] ViewWidget* View() const { return m_pane ? m_pane->View() : nullptr; }

private:
    QPointer<PaneWidget> m_pane;
};

class FrameWidget : public QMainWindow
{
public:
    FrameWidget(CFrameWnd* owner, const CREATESTRUCT& cs);

    void Detach() { m_owner = nullptr; }
    [[nodiscard]] CFrameWnd* Owner() const { return m_owner; }
    void PlaceFrame(const CRect& rect); // rect: of the frame, in device pixels
    void PlaceClient(CPoint corner, CSize client);
    [[nodiscard]] CRect NormalFrame() const { return m_normal; }
    // Returns true if the frame is maximised, or was before it filled the screen.
    [[nodiscard]] bool IsMaximizedOrWas() const
    {
        return m_fullScreen || m_restoring ? m_wasMaximized : isMaximized();
    }
    void ShowFullScreen(bool on);
    [[nodiscard]] bool IsFullScreen() const { return m_fullScreen; }
    // Call this before another state is requested. The state from before the full screen is then not
    // restored.
    void ForgetRestoring() { m_restoring = false; }
    [[nodiscard]] CRect FrameToDevice() const;
    // Returns true if the frame is shown but has not been matched to its place yet.
    [[nodiscard]] bool IsPlacing() const { return m_placing && isVisible() && !isMinimized(); }
    void MatchPlace(); // called after the window manager has reported its margins
    // Called when the frame is active or about to be. New boxes then belong to it.
    void Activated();
    void ShownAgain(); // raised, restored or activated: its view receives a paint
    // Returns true on Wayland if the window is as large as the screen. It would begin below the panel and end
    // outside the screen.
    [[nodiscard]] bool IsTooLarge() const;
    void ShowInsteadMaximized();

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void MakeMenu();
    void MatchPlaceSoon();
    void MatchClient();
    void Exposed();
    void Shown();
    void RecordPlace();
    void ActivationChanged();
    void SetFullScreen(bool on);
    void SetFullScreenState();
    void MatchFullScreen();
    [[nodiscard]] ViewWidget* View() const; // null if there is none

    CFrameWnd* m_owner;
    QTimer m_settle;      // matches place and state after the last of several events
    CSize m_wantedClient; // in device pixels; reset after the shown size is checked
    CRect m_wanted;       // rectangle of the frame that is not matched yet; empty: nothing to match
    CRect m_normal;       // rectangle of the frame when neither maximised nor minimised
    std::vector<QShortcut*> m_fullScreenKeys;
    bool m_fullScreen = false;    // as requested, or as the window manager has decided
    bool m_wasMaximized = false;  // before the full screen
    bool m_restoring = false;     // leaving the full screen; the state is not final yet
    int m_stateRetries = 0;       // how often the state may be requested again
    bool m_active = false;        // as last reported to the frame by WM_ACTIVATE
    bool m_placing = false;       // shown, but not matched to its place yet
    bool m_placeAtExpose = false; // the next expose event matches the place
};

class FramePeer final : public WindowPeer
{
public:
    FramePeer(CFrameWnd* owner, const CREATESTRUCT& cs);
    ~FramePeer() override;
    [[nodiscard]] QWidget* Widget() const override { return m_widget; }
    [[nodiscard]] FrameWidget* Frame() const { return m_widget; }

private:
    QPointer<FrameWidget> m_widget;
};

class StatusPeer final : public WindowPeer
{
public:
    explicit StatusPeer(QMainWindow* frame);
    ~StatusPeer() override;
    [[nodiscard]] QWidget* Widget() const override { return m_bar; }

    struct Pane {
        UINT id;
        QPointer<QLabel> label;
        CString text;
        bool enabled;
    };
    std::vector<Pane> panes;

private:
    QPointer<QStatusBar> m_bar;
};

[[nodiscard]] ViewWidget* ViewOf(const CWnd* window);   // null if it has none
[[nodiscard]] PaneWidget* PaneOf(const CWnd* window);   // null if it has none
[[nodiscard]] FrameWidget* FrameOf(const CWnd* window); // null if it is no frame

[[nodiscard]] QString ToQString(const CString& text);
[[nodiscard]] CString FromQString(const QString& text);
