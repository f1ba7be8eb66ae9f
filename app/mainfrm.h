// SPDX-License-Identifier: MIT
// The main window. It stores its place in the settings, and restores it in the next run. Its status bar shows
// the page's position, size and resolution, which it receives as messages (see usermsg.h).
#pragma once

#include "app/pageframe.h"
#include "platform/statusbar.h"

// A section and a key of the settings, which CLumentaApp reads too.
constexpr const char* kWindowSettings = "window";
constexpr const char* kMaximizeMainFrame = "Maximize MainFrame";

class CMainFrame : public CPageFrame
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CMainFrame();

    // Returns the notes about the page, or the idle message if there are none.
    [[nodiscard]] CString GetMessageText() const override;

    void ShowPosition();
    void ShowSize();

    int m_nUnits;         // the unit of the read-outs, as stored in the settings
    int m_nPageLeft = 0;  // horizontal scroll position of the page view in pixels
    int m_nPageTop = 0;   // vertical scroll position of the page view in pixels
    int m_nPageWidth = 0; // pixels; 0 without a page
    int m_nPageDepth = 0; // pixels; 0 without a page
    int m_nXDpi = 0;      // dots per inch across the page
    int m_nYDpi = 0;      // dots per inch down the page
    CStatusBar m_wndStatusBar;

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    bool PreCreateWindow(CREATESTRUCT& cs) override;
    int OnCreate(const CREATESTRUCT& cs) override;
    void OnDestroy();

    LRESULT OnPagePosition(WPARAM left, LPARAM top);
    LRESULT OnPageResolution(WPARAM x_dpi, LPARAM y_dpi);
    LRESULT OnPageSize(WPARAM width, LPARAM depth);
    LRESULT OnPageCenter(WPARAM wParam, LPARAM view);
    void OnPageInformation();
    void OnGoTo();
    void OnUpdateNeedsPage(CCmdUI& ui);

    template <int Units>
    void OnUnits()
    {
        SetUnits(Units);
    }
    template <int Units>
    void OnUpdateUnits(CCmdUI& ui)
    {
        ui.SetCheck(m_nUnits == Units);
    }
    void OnFullScreen(); // switches the full screen on or off
    void OnUpdateFullScreen(CCmdUI& ui);
    void OnUpdatePane(CCmdUI& ui); // enables the pane, because a disabled pane is blank

private:
    static const MessageEntry entries[];
    void SetUnits(int units);
};
