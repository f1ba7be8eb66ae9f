// SPDX-License-Identifier: MIT
// The widget of a frame: menu, accelerators, place on the screen. Receives events from Qt, and sends them to
// the CFrameWnd as messages.
#pragma once

#include "platform/framewnd.h"

#include <QMainWindow>
#include <QShortcut>
#include <QTimer>
#include <vector>

class ViewWidget;

// Returns the parent for a new box or dialog: the open modal dialog, else the frame that is or was last
// active, else the main window, else null.
[[nodiscard]] QWidget* ParentForBox();

class FrameWidget : public QMainWindow
{
public:
    FrameWidget(CFrameWnd* owner, const CREATESTRUCT& cs);

    void Detach() { m_owner = nullptr; }
    [[nodiscard]] CFrameWnd* Owner() const { return m_owner; }
    void PlaceFrame(const CRect& rect); // rect: of the frame, in device pixels
    void PlaceClient(CPoint corner, CSize client);
    [[nodiscard]] CRect NormalFrame() const { return m_normal; } // see m_normal
    // Returns true if the frame is maximised, or was before it filled the screen.
    [[nodiscard]] bool IsMaximizedOrWas() const
    {
        return m_fullScreen || m_restoring ? m_wasMaximized : isMaximized();
    }
    void ShowFullScreen(bool on);
    [[nodiscard]] bool IsFullScreen() const { return m_fullScreen; }
    // Call this before another state is requested, so that the state from before the full screen is not
    // restored.
    void ForgetRestoring() { m_restoring = false; }
    // Returns the rectangle of the frame with its margins, in device pixels.
    [[nodiscard]] CRect FrameToDevice() const;
    // Returns true if the frame is shown but has not been matched to its place yet.
    [[nodiscard]] bool IsPlacing() const { return m_placing && isVisible() && !isMinimized(); }
    void MatchPlace(); // corrects the size; called after the window manager has reported its margins
    // Called when the frame is active or about to be. New boxes then belong to it.
    void Activated();
    void ShownAgain(); // called after the frame is restored or activated: its view receives a paint
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

    // Minimum size in logical units. It must not depend on the content, because a page may have any size.
    static constexpr QSize kLeastSize{160, 120};

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
