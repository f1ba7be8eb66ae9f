// The main window: it keeps its place between runs and reads out the page's position, size and resolution.
#pragma once

#include "app/pageframe.h"
#include "app/units.h"

#include <initializer_list>
#include <optional>

// Texts of the read-outs. A value that needs a resolution which is not above 0 is 0.
CString FormatPosition(int units, int left, int top, int x_dpi, int y_dpi);
CString FormatSize(int units, int width, int depth, int x_dpi, int y_dpi);
CString FormatPointer(int units, CPoint point, int x_dpi, int y_dpi);
CString FormatDistance(int units, CSize distance, int x_dpi, int y_dpi); // both ways and straight
CString FormatResolution(int x_dpi, int y_dpi);

// The rectangle of a text "left top right bottom". None where that is not four numbers or the rectangle is
// empty.
std::optional<CRect> ParsePlacement(const CString& text);

// Section and key that the application reads as well.
constexpr const char* kWindowSettings = "window";
constexpr const char* kMaximizeMainFrame = "Maximize MainFrame";

class CMainFrame : public CPageFrame
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CMainFrame();

    CString GetMessageText() const override; // the notes about the page; without any, the idle message

    void ShowPosition();
    void ShowSize();

    int m_nUnits;
    int m_nPageLeft = 0; // scroll position of the page view in pixels
    int m_nPageTop = 0;
    int m_nPageWidth = 0; // pixels
    int m_nPageDepth = 0;
    int m_nXDpi = 0; // dots per inch
    int m_nYDpi = 0;
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
    void OnFullScreen(); // and back
    void OnUpdateFullScreen(CCmdUI& ui);
    void OnUpdatePane(CCmdUI& ui); // always enabled, so that the pane is not blanked

private:
    static const MessageEntry entries[];
    CString GetPointerText() const; // where the pointer is on the page, or the distance that it measures
    void SetUnits(int units);
};
