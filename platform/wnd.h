// SPDX-License-Identifier: MIT
// Windows: messages, invalid regions, scroll bars, capture. A window receives events as messages from its
// widget in platform/qt, and calls its handlers.
#pragma once

#include "platform/cstring.h"
#include "platform/messages.h"
#include "platform/types.h"

#include <memory>

class CFrameWnd;
class CDC;
class WindowPeer; // the part of a window that uses Qt

enum ScrollBar : int { SB_HORZ = 0, SB_VERT = 1 };
enum ShowCommand : int {
    SW_HIDE = 0,
    SW_SHOWNORMAL = 1,
    SW_SHOWMINIMIZED = 2,
    SW_SHOWMAXIMIZED = 3,
    SW_SHOW = 5
};

// The placement of a window: its state, and the rectangle of its frame when it is neither maximised nor
// minimised.
struct WindowPlacement {
    int show_command = SW_SHOWNORMAL;
    CRect normal_position;
};

class CCreateContext;

// The data for creating a top-level window. PreCreateWindow may change it.
struct CREATESTRUCT {
    // The rectangle of the frame in device pixels. If it is empty, the frame is as large as the primary
    // screen.
    int x = 0;
    int y = 0;
    int cx = 0;
    int cy = 0;
    uint32_t style = 0;
    CString title;
    bool menu = false; // has the application's menu and accelerators
    CCreateContext* context = nullptr;
};

// A window object exists until its window is destroyed. PostNcDestroy is the last call to it, and deletes the
// objects that own themselves (frames and views). While a message of any window is being handled, the
// deletion is delayed until the outermost message has returned. So a handler may destroy its own window.
// After the window is destroyed, every operation has no effect.
class CWnd : public CCmdTarget
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CWnd();
    ~CWnd() override;

    [[nodiscard]] bool IsWindow() const { return m_peer != nullptr; }

    // The message is handled before the call returns. Returns the handler's result, or 0.
    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    // The message is handled after the input and the paints that are already waiting. It is dropped if the
    // window is destroyed before. Returns false if there is no window.
    bool PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

    // Posts WM_TIMER at this interval until KillTimer, or until the window is destroyed. At most one WM_TIMER
    // of a timer waits, and none is posted while a box is open. A second call with the same number replaces
    // the interval.
    void SetTimer(UINT id, UINT milliseconds);
    void KillTimer(UINT id); // also drops a WM_TIMER that waits

    // Destroys the window and its child windows. Returns false if there is none, or if it is being destroyed.
    virtual bool DestroyWindow();

    // Client coordinates are device pixels from (0, 0). `erase` has no effect: a paint fills the pixels that
    // it does not draw.
    [[nodiscard]] CRect GetClientRect() const;
    void Invalidate(bool erase = true);
    void InvalidateRect(const CRect& rect, bool erase = true);
    void UpdateWindow(); // paints the invalid part at once

    // Moves the pixels of the client area and its invalid part. The uncovered strip becomes invalid.
    void ScrollWindow(int dx, int dy);
    void GetScrollRange(int bar, int* minimum, int* maximum) const;
    // Clamps the position to the range. Returns the old position.
    int SetScrollPos(int bar, int position, bool redraw = true);
    [[nodiscard]] int GetScrollPos(int bar) const;

    // These have no effect. While a mouse button is down, mouse messages always reach the window in which the
    // button was pressed.
    void SetCapture();
    static void ReleaseCapture();

    // The text is the title of a frame, or the text of a control.
    void SetWindowText(const CString& text);
    [[nodiscard]] CString GetWindowText() const;
    void SetAccessibleName(const CString& name);

    bool ShowWindow(int command); // command: a ShowCommand; returns true if the window was visible before
    [[nodiscard]] bool IsIconic() const; // minimised
    [[nodiscard]] bool IsZoomed() const; // maximised
    [[nodiscard]] bool IsWindowVisible() const;
    void BringWindowToTop();
    void MoveWindow(const CRect& rect, bool repaint = true); // rect: of the frame, in device pixels
    [[nodiscard]] WindowPlacement GetWindowPlacement() const;
    void DragAcceptFiles(bool accept); // dropped files arrive as WM_DROPFILES

    [[nodiscard]] CFrameWnd* GetParentFrame() const; // the nearest frame that contains the window, or null

    [[nodiscard]] WindowPeer* Peer() const { return m_peer.get(); }

    // Deletes an object that owns itself: at once, or after the messages that are being handled.
    static void DeleteLater(CObject* object);

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    virtual bool PreCreateWindow(CREATESTRUCT& cs); // returns false to refuse
    // Calls the handler in the message map, else DefWindowProc.
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual bool OnCommandMessage(UINT command); // runs a command; returns true if a handler took it
    virtual void DestroyChildren();              // called after WM_DESTROY
    virtual void PostNcDestroy();
    // Calls the default handling for the current message.
    LRESULT Default();

    std::unique_ptr<WindowPeer> m_peer;
    CWnd* m_parent = nullptr;

private:
    friend class CDialog; // sets m_peer of the objects of its controls
    void ReleasePeer();

    struct CurrentMessage {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
    };
    CurrentMessage m_current{};
    bool m_destroying = false;
};

// Returns a negative number if the key was down when the current message was created, else 0. Only VK_CONTROL
// is known.
[[nodiscard]] int16_t GetKeyState(UINT virtual_key);

enum class CursorShape : uint8_t;
// Sets the shape of the mouse pointer, for the window that is handling a mouse message. If the handler of a
// later mouse message sets no shape, the pointer becomes the arrow again.
void SetCursor(CursorShape shape);

// Returns the application's main window, or null.
[[nodiscard]] CWnd* AfxGetMainWnd();
