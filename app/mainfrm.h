// The main window. It keeps its place between runs. Its status bar shows the page's position, size and
// resolution.
#pragma once

#include "app/pageframe.h"
#include "app/units.h"

#include <initializer_list>
#include <optional>

// Return the texts of the status bar. Positions and sizes are passed in pixels and shown in the unit. In the
// position and the size, a value is 0 if its unit needs a resolution and the resolution is not above 0. The
// pointer's position and the distance are then in pixels, see UnitsFor.
CString FormatPosition(int units, int left, int top, int x_dpi, int y_dpi);
CString FormatSize(int units, int width, int depth, int x_dpi, int y_dpi);
CString FormatPointer(int units, CPoint point, int x_dpi, int y_dpi);
CString FormatDistance(int units, CSize distance, int x_dpi, int y_dpi); // across, down and straight
CString FormatResolution(int x_dpi, int y_dpi);

// Reads a rectangle from a text "left top right bottom". Returns nothing if the text does not begin with four
// numbers, or if a side of the rectangle is below 1 or above INT32_MAX.
std::optional<CRect> ParsePlacement(const CString& text);

// A section and a key of the settings, which CLumentaApp reads too.
constexpr const char* kWindowSettings = "window";
constexpr const char* kMaximizeMainFrame = "Maximize MainFrame";

class CMainFrame : public CPageFrame
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CMainFrame();

    // Returns the notes about the page, or the idle message if there are none.
    CString GetMessageText() const override;

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
    const MessageMap& GetMessageMap() const override { return messages; }

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
    // Returns the measured distance, else the pointer's position on the page. Empty if there is neither.
    CString GetPointerText() const;
    void SetUnits(int units);
};
