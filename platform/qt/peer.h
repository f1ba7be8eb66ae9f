// The toolkit's side of the windows: a widget for each, and the peer through which a window reaches it.
#pragma once

#include "platform/frame.h"
#include "platform/movingpixels.h"
#include "platform/overlay.h"
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

// A widget outlives its peer: it is deleted by the event loop, since its own handler may be running.
class WindowPeer
{
public:
    WindowPeer() = default;
    WindowPeer(const WindowPeer&) = delete;
    WindowPeer& operator=(const WindowPeer&) = delete;
    virtual ~WindowPeer();
    virtual QWidget* Widget() const = 0;
    // The window's title, or what a control holds.
    virtual QString Text() const;
    virtual void SetText(const QString& text);
};

// Logical units to device pixels, halves up, as the toolkit places its widgets.
int ToDevicePixels(double logical, double ratio);

bool IsWayland(); // else X11, or no screen at all

class PaneWidget;

// The parent of a new box or dialog: the modal dialog that is open, else the frame that is or was last
// active, else the main window, else null.
QWidget* ParentForBox();

// All screens together, in device pixels: no window needs more.
QSize AllScreens();

// The client area of a view: a buffer of device pixels that paints fill and the toolkit's paint event copies.
class ViewWidget : public QWidget
{
public:
    ViewWidget(CView* owner, PaneWidget* pane);
    ~ViewWidget() override;

    void Detach();
    CView* Owner() const { return m_owner; }
    // Within the top-level window, as the present geometry gives it, but no larger than all screens.
    CRect DeviceRect() const;

    int ClientWidth() const { return m_client.width(); }
    int ClientHeight() const { return m_client.height(); }
    PixelBuffer Pixels();
    QImage& Buffer();
    // Fills pixels that no paint has drawn: white inside the picture, the background grey outside it.
    void FillUndrawn(const QRegion& region);
    QRgb Background() const { return m_background; }

    void Invalidate(const CRect& rect);
    void Scroll(int dx, int dy);
    void Paint(uint64_t turn);
    void Changed(const QRegion& region); // drawn into: goes to the screen with the next copy
    void ShowChanged();
    void SetOverlay(std::vector<OverlayShape> shapes);
    // Asks for a paint message although every pixel is valid: a window that is uncovered gets one, and its
    // pixels come from the buffer.
    void WantPaint();
    bool NeedsPaint() const { return m_paintWanted || !m_invalid.isEmpty(); }
    uint64_t LastPaintTurn() const { return m_lastPaintTurn; }
    uint64_t PaintCount() const { return m_paints; }
    uint64_t CopiedPixels() const { return m_copied; }

    // For the paint at hand: the invalid part, which is valid from here on; and how far the picture has been
    // moved.
    QRegion TakeInvalid();
    QPoint Moved() const { return m_moved; }
    QPoint MovedSince(QPoint start) const;

    void Wheel(const QWheelEvent* event);

    bool FitBuffer(); // to the present geometry; true if that has changed
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
    QImage ImageOf(const MovingPixels& pixels) const;
    std::vector<OverlayPart> PartsOfOverlay() const;
    void SendMouse(UINT message, QMouseEvent* event);
    bool PointerMessage(UINT message, WPARAM flags, CPoint point);

    CView* m_owner;
    PaneWidget* m_pane;   // the parent
    QRgb m_background;    // outside the picture
    QSize m_client{0, 0}; // device pixels, at
    double m_ratio = 1;
    MovingPixels m_pixels; // of that size once they are looked at
    QImage m_buffer;       // an image of m_pixels
    QSize m_kept{0, 0};    // part of m_buffer that is still valid
    QRegion m_invalid;
    bool m_paintWanted = false;
    QRegion m_changed;
    std::vector<OverlayShape> m_overlay;
    QPoint m_moved;
    QPoint m_wheelRest; // in 120ths of a device pixel
    uint64_t m_lastPaintTurn = 0;
    uint64_t m_paints = 0;
    uint64_t m_copied = 0; // device pixels, by copies to the screen
    bool m_shapeSet = false;
};

// Its paint costs as much as that of a small picture. A new value repaints only where the slider was and is.
class PaneBar : public QScrollBar
{
public:
    using QScrollBar::QScrollBar;

protected:
    void sliderChange(SliderChange change) override;

private:
    QRect m_slider; // as it was painted last
};

// The inside of a frame: a view with the scroll bars that it needs.
class PaneWidget : public QWidget
{
public:
    PaneWidget(CView* owner, QWidget* parent);

    ViewWidget* View() const { return m_view; }
    void SetPicture(CSize total, CSize page, CSize line);
    QRect Picture() const; // the whole picture in pixels of the view; empty if there is none
    int Range(int bar) const { return m_range[bar]; }
    int Position(int bar) const { return m_position[bar]; }
    void SetPosition(int bar, int position);
    void ShowPositions(); // of the picture, in the bars
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
    PaneBar* m_bars[2]; // show a new position together with the moved picture
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
    QWidget* Widget() const override { return m_pane ? m_pane->View() : nullptr; }
    PaneWidget* Pane() const { return m_pane; }
    ViewWidget* View() const { return m_pane ? m_pane->View() : nullptr; }

private:
    QPointer<PaneWidget> m_pane;
};

class FrameWidget : public QMainWindow
{
public:
    FrameWidget(CFrameWnd* owner, const CREATESTRUCT& cs);

    void Detach() { m_owner = nullptr; }
    CFrameWnd* Owner() const { return m_owner; }
    void PlaceFrame(const CRect& rect); // the frame's rectangle in device pixels
    void PlaceClient(CPoint corner, CSize client);
    CRect NormalFrame() const { return m_normal; }
    bool IsMaximizedOrWas() const // before it filled the screen
    {
        return m_fullScreen || m_restoring ? m_wasMaximized : isMaximized();
    }
    void ShowFullScreen(bool on);
    bool IsFullScreen() const { return m_fullScreen; }
    // Another state is asked for: it replaces the one from before the full screen.
    void ForgetRestoring() { m_restoring = false; }
    CRect FrameToDevice() const;
    bool IsPlacing() const
    {
        return m_placing && isVisible() && !isMinimized();
    }                  // shown, and not matched yet
    void MatchPlace(); // once the window manager has told its margins
    // Active, or about to be: the boxes that open from now on belong to it.
    void Activated();
    void ShownAgain(); // raised, restored or activated: a paint of its view
    // On Wayland, a window as large as the screen. It would begin below the panel, and end outside the
    // screen.
    bool IsTooLarge() const;
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
    ViewWidget* View() const; // null if it has none

    CFrameWnd* m_owner;
    QTimer m_settle;
    CSize m_wantedClient; // device pixels, until the shown size has been looked at
    CRect m_wanted;       // not yet matched; empty: nothing to match
    CRect m_normal;
    std::vector<QShortcut*> m_fullScreenKeys;
    bool m_fullScreen = false;   // as asked for, or as the window manager has decided
    bool m_wasMaximized = false; // before that
    bool m_restoring = false;    // out of the full screen; the state is not settled yet
    int m_restates = 0;          // how often the state may be asked for again
    bool m_active = false;       // as the frame was told last
    bool m_placing = false;
    bool m_placeAtExpose = false;
};

class FramePeer final : public WindowPeer
{
public:
    FramePeer(CFrameWnd* owner, const CREATESTRUCT& cs);
    ~FramePeer() override;
    QWidget* Widget() const override { return m_widget; }
    FrameWidget* Frame() const { return m_widget; }

private:
    QPointer<FrameWidget> m_widget;
};

class StatusPeer final : public WindowPeer
{
public:
    explicit StatusPeer(QMainWindow* frame);
    ~StatusPeer() override;
    QWidget* Widget() const override { return m_bar; }

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

ViewWidget* ViewOf(const CWnd* window);   // null if it has none
PaneWidget* PaneOf(const CWnd* window);   // null if it has none
FrameWidget* FrameOf(const CWnd* window); // null if it is no frame

QString ToQString(const CString& text);
CString FromQString(const QString& text);
