// Windows: messages, invalid regions, scroll bars, capture.
#pragma once

#include "platform/cstring.h"
#include "platform/messages.h"
#include "platform/types.h"

#include <memory>

class CFrameWnd;
class CDC;
class WindowPeer; // the toolkit's side of a window

enum ScrollBar : int { SB_HORZ = 0, SB_VERT = 1 };
enum ShowCommand : int {
    SW_HIDE = 0,
    SW_SHOWNORMAL = 1,
    SW_SHOWMINIMIZED = 2,
    SW_SHOWMAXIMIZED = 3,
    SW_SHOW = 5
};

// A window's place: the rectangle that its frame has when neither maximized nor minimized, and how it shows.
struct WindowPlacement {
    int show_command = SW_SHOWNORMAL;
    CRect normal_position;
};

class CCreateContext;

// What a top-level window is made from; PreCreateWindow may change it.
struct CREATESTRUCT {
    int x = 0;
    int y = 0;
    int cx = 0; // 0: the toolkit's default size
    int cy = 0;
    uint32_t style = 0;
    CString title;
    bool menu = false; // with the application's menu and accelerators
    CCreateContext* context = nullptr;
};

// A window object lives until its window is destroyed: PostNcDestroy, the last call, deletes those that own
// themselves (frames and views). While a message of any window is still being handled up the stack, the
// object itself stays until that has come back, so a handler may destroy its own window. Every operation is
// harmless once the window is gone.
class CWnd : public CCmdTarget
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CWnd();
    ~CWnd() override;

    bool IsWindow() const { return m_peer != nullptr; }

    // Handled before it returns.
    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    // Handled after the input and the paints already waiting; dropped with the window.
    bool PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

    // Posts WM_TIMER every so many milliseconds, until KillTimer or the end of the window. At most one of
    // them waits, and none comes while a box is open. The same number again replaces the period.
    void SetTimer(UINT id, UINT milliseconds);
    void KillTimer(UINT id);

    virtual bool DestroyWindow();

    CRect GetClientRect() const;
    void Invalidate(bool erase = true);
    void InvalidateRect(const CRect& rect, bool erase = true);
    void UpdateWindow(); // paints now what is invalid

    // Moves the client area's pixels and its invalid part; the uncovered strip becomes invalid.
    void ScrollWindow(int dx, int dy);
    void GetScrollRange(int bar, int* minimum, int* maximum) const;
    int SetScrollPos(int bar, int position, bool redraw = true); // the old one
    int GetScrollPos(int bar) const;

    void SetCapture();
    static void ReleaseCapture();

    void SetWindowText(const CString& text);
    CString GetWindowText() const;
    void SetAccessibleName(const CString& name);

    bool ShowWindow(int command);
    bool IsIconic() const;
    bool IsZoomed() const;
    bool IsWindowVisible() const;
    void BringWindowToTop();
    void MoveWindow(const CRect& rect, bool repaint = true); // the frame's rectangle
    WindowPlacement GetWindowPlacement() const;
    void DragAcceptFiles(bool accept);

    CFrameWnd* GetParentFrame() const;
    CWnd* GetParent() const;

    WindowPeer* Peer() const { return m_peer.get(); }

    // Deletes an object that owns itself, as soon as no message is being handled.
    static void DeleteLater(CObject* object);

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    virtual bool PreCreateWindow(CREATESTRUCT& cs);
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual bool OnCommandMessage(UINT command);
    virtual void DestroyChildren();
    virtual void PostNcDestroy();
    // The default handling of the message that is being handled.
    LRESULT Default();

    std::unique_ptr<WindowPeer> m_peer;
    CWnd* m_parent = nullptr;

private:
    friend class CDialog; // gives the windows of its controls to their objects
    void ReleasePeer();

    struct CurrentMessage {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
    };
    CurrentMessage m_current{};
    bool m_destroying = false;
};

// Top bit set (the result is negative): the key was down when the message at hand was made.
int16_t GetKeyState(UINT virtual_key);

enum class CursorShape : uint8_t;
// The pointer's shape over the window that handles the pointer's messages, until the next move that sets
// none.
void SetCursor(CursorShape shape);

// The application's main window, or null.
CWnd* AfxGetMainWnd();
