// Top-level windows with menu, status bar and one view, and the status bar itself.
#pragma once

#include "platform/doc.h"
#include "platform/wnd.h"

#include <span>

enum FrameStyle : uint32_t {
    WS_OVERLAPPEDWINDOW = 0x00cf0000,
    FWS_ADDTOTITLE = 0x00008000, // the document's title goes into the window's
    WS_CHILD = 0x40000000,
    WS_VISIBLE = 0x10000000,
    CBRS_BOTTOM = 0x8000,
};

constexpr size_t kTitleBytes = 255;

// A window's title: the label and what follows it. A label that is too long is cut.
CString WindowTitle(const CString& label, const CString& suffix);

class CFrameWnd : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CFrameWnd();
    ~CFrameWnd() override;

    // The application's main window: its menu, accelerators and title.
    bool LoadFrame(UINT resource, uint32_t style, CCreateContext* context);
    // A further top-level window, with neither menu nor parent. rect is the frame's; an empty one takes the
    // default.
    bool Create(const CString& title, uint32_t style, const CRect& rect, CCreateContext* context);

    CView* GetActiveView() const { return m_activeView; }
    void SetActiveView(CView* view, bool notify = true);
    CDocument* GetActiveDocument() const;
    void ActivateFrame(int show_command = -1);
    virtual void OnUpdateFrameTitle(bool add_to_title);

    CWnd* GetDescendantWindow(UINT id) const; // the pane of that number, or null
    // Before it shows: puts the frame's corner there and makes it as large as the client area needs. (What a
    // window manager draws round it is known only once it shows.) Where the screen's ratio cannot give that
    // size, it becomes a pixel larger. No larger than all screens together. For a frame without menu and
    // status bar.
    void PlaceClient(CPoint corner, CSize client);

    // Fills the screen, without title bar and menu bar; the accelerators work on. Its placement is that of
    // before, and so it comes back.
    void ShowFullScreen(bool on);
    bool IsFullScreen() const;

    bool OnCmdMsg(UINT command, CommandStep step, CCmdUI* ui) override;
    bool HasCommandHandler(UINT command) override;
    // The state of a menu entry, from its update handler or, without one, from whether a handler would run
    // it.
    CCmdUI QueryCommand(UINT command);
    // Text of the message pane while no menu entry's prompt covers it. By default the idle message.
    virtual CString GetMessageText() const;
    // Shows the message text and asks the update handlers of the other status panes; those that nobody
    // enables are blanked. Called when nothing is left to do and before a box or dialog opens.
    void UpdateStatusPanes();

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    bool PreCreateWindow(CREATESTRUCT& cs) override;
    bool OnCommandMessage(UINT command) override;
    void DestroyChildren() override;
    virtual int OnCreate(const CREATESTRUCT& cs); // 0, or -1 to refuse; makes the view of the context
    void OnClose();
    void OnDestroy();
    LRESULT OnDropFiles(WPARAM, LPARAM files); // pointer to std::vector<CString>; the application opens them
    void PostNcDestroy() override;             // deletes the frame

private:
    friend class CView;
    void ForgetView(const CView* view); // its window is going
    friend class CStatusBar;
    bool CreateFromStruct(CREATESTRUCT& cs);
    void MakePeer(const CREATESTRUCT& cs);

    CView* m_activeView = nullptr;
    CView* m_pane = nullptr;                 // owns itself
    class CStatusBar* m_statusBar = nullptr; // a member of the derived frame
    uint32_t m_style = 0;
    CString m_baseTitle;
};

class CStatusBar : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CStatusBar();
    ~CStatusBar() override;

    bool Create(CFrameWnd* parent, uint32_t style = WS_CHILD | WS_VISIBLE | CBRS_BOTTOM, UINT id = 59393);
    // One pane a number; 0 is the stretching message pane, the others are as wide as their string resource.
    bool SetIndicators(std::span<const UINT> ids);
    bool SetPaneText(int index, const CString& text); // shown at once
    CString GetPaneText(int index) const;
    void EnablePane(int index, bool on); // a disabled pane shows nothing
    int GetPaneCount() const;
    UINT GetPaneId(int index) const;
};
