// SPDX-License-Identifier: MIT
// Top-level windows with a menu, a status bar and one view. A frame receives events as messages from its
// widget in platform/qt. It passes commands to the view, the document and the application.
#pragma once

#include "platform/doc.h"
#include "platform/wnd.h"

enum FrameStyle : uint32_t {
    WS_OVERLAPPEDWINDOW = 0x00cf0000,
    FWS_ADDTOTITLE = 0x00008000, // the window's title contains the document's title
    WS_CHILD = 0x40000000,
    WS_VISIBLE = 0x10000000,
    CBRS_BOTTOM = 0x8000,
};

constexpr size_t kTitleBytes = 255; // largest length of a title

// Returns a window's title: the label and the suffix. If the title is too long, the label is cut.
[[nodiscard]] CString WindowTitle(const CString& label, const CString& suffix);

class CFrameWnd : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CFrameWnd();
    ~CFrameWnd() override;

    // Makes the application's main window, with its menu, accelerators and title. Returns false if the window
    // could not be made; the frame then deletes itself.
    [[nodiscard]] bool LoadFrame(UINT resource, uint32_t style, CCreateContext* context);
    // Makes a further top-level window, without menu and without parent. rect is the rectangle of the frame.
    // If it is empty or on no screen, the frame is as large as the primary screen. Fails like LoadFrame.
    [[nodiscard]] bool Create(const CString& title, uint32_t style, const CRect& rect,
                              CCreateContext* context);

    [[nodiscard]] CView* GetActiveView() const { return m_activeView; }
    // If `notify` is true, calls OnActivateView of the old and of the new view.
    void SetActiveView(CView* view, bool notify = true);
    [[nodiscard]] CDocument* GetActiveDocument() const;
    // Shows the frame in front of the other windows, and makes its view the active one. show_command is a
    // ShowCommand, or -1: restores the frame if it is minimised, else leaves its state unchanged.
    void ActivateFrame(int show_command = -1);
    // Shows the current title of the document.
    virtual void OnUpdateFrameTitle(bool add_to_title);

    // Returns the view; null for any number but AFX_IDW_PANE_FIRST.
    [[nodiscard]] CWnd* GetDescendantWindow(UINT id) const;
    // Places the upper left corner of the frame, and resizes the frame so that its client area has at least
    // the size `client`. Call it before the frame is shown. The client area is a pixel larger if the screen's
    // device pixel ratio does not allow the exact size, and never larger than all screens together. The frame
    // must have neither menu nor status bar.
    void PlaceClient(CPoint corner, CSize client);

    // Full screen: without title bar and menu bar. Accelerators still work. GetWindowPlacement still returns
    // the placement from before, which is restored at the end.
    void ShowFullScreen(bool on);
    [[nodiscard]] bool IsFullScreen() const;

    bool OnCmdMsg(UINT command, CommandStep step, CCmdUI* ui) override;
    [[nodiscard]] bool HasCommandHandler(UINT command) override;
    // Returns the state of a menu entry from its update handler. Without an update handler, the entry is
    // enabled if a handler would run its command.
    [[nodiscard]] CCmdUI QueryCommand(UINT command);
    // Returns the text of the message pane, by default the idle message. While the user points at a menu
    // entry, the prompt of the entry covers this text.
    [[nodiscard]] virtual CString GetMessageText() const;
    // Shows the message text, and calls the update handlers of the other status panes. A pane that no handler
    // enables is blank. Called when the program becomes idle, and before a box or dialog opens. While the
    // program is busy, called each time that drawn pixels are copied to the screen.
    void UpdateStatusPanes();

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    bool OnCommandMessage(UINT command) override;
    void DestroyChildren() override;
    virtual int OnCreate(const CREATESTRUCT& cs); // makes the view of the context; returns 0, or -1 to refuse
    void OnClose();
    void OnDestroy();
    // files: pointer to a std::vector<CString>. The application opens them.
    LRESULT OnDropFiles(WPARAM, LPARAM files);
    void PostNcDestroy() override; // deletes the frame

private:
    friend class CView;
    void ForgetView(const CView* view); // called when the view is destroyed
    friend class CStatusBar;
    [[nodiscard]] bool CreateFromStruct(CREATESTRUCT& cs);
    void MakePeer(const CREATESTRUCT& cs);

    CView* m_activeView = nullptr;
    CView* m_pane = nullptr;                 // the view; deletes itself
    class CStatusBar* m_statusBar = nullptr; // a member of the derived frame
    uint32_t m_style = 0;
    CString m_baseTitle;
};
