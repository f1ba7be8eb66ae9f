// SPDX-License-Identifier: MIT
// The page view: shows the page at full size in the main window, and prints it. Receives input and paints as
// messages. CLumentaDoc draws the page. Reports the scroll position to the main window and the overview.
#pragma once

#include "app/scrollvw.h"

#include <optional>

class CScaleFrame;
class CScaleView;

class CLumentaView : public CLumenta
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLumentaView();

    void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override;
    void OnDraw(CDC* dc) override;
    void OnActivateView(bool activate, CView* activated, CView* deactivated) override;
    bool OnPreparePrinting(CPrintInfo* info) override;
    void OnBeginPrinting(CDC* dc, CPrintInfo* info) override;
    void OnEndPrinting(CDC* dc, CPrintInfo* info) override;
    void OnInitialUpdate() override;

    [[nodiscard]] CPoint GetCenter() const; // the page pixel in the middle of the visible part of the page
    // Scrolls so that a page pixel comes to the middle of the window, as far as the scroll range allows.
    void CenterOn(CPoint point);

    // Returns the page pixel under the pointer, or nothing if the pointer is not over the page.
    [[nodiscard]] std::optional<CPoint> GetPointedPixel() const;
    // While the right button is held, returns the distance in pixels from the point where it was pressed to
    // the pointer. Returns nothing if the user does not measure.
    [[nodiscard]] std::optional<CSize> GetMeasuredDistance() const;

    // The frame of the open overview, or null. The frame owns itself, and sets this to null when it is
    // destroyed.
    CScaleFrame* m_pScaleFrame = nullptr;

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    void OnScaledPage();
    void OnUpdateScaledPage(CCmdUI& ui);
    void OnCloseOverview();
    void OnUpdateCloseOverview(CCmdUI& ui);
    void OnReload();
    void OnUpdateReload(CCmdUI& ui);
    void OnKeepPlace();
    void OnUpdateKeepPlace(CCmdUI& ui);
    void OnUpdatePrint(CCmdUI& ui);
    void OnSize(UINT type, int cx, int cy);
    void OnKeyDown(UINT key, UINT repeat, UINT flags);
    void OnMouseMove(UINT flags, CPoint point);
    void OnMouseLeave();
    void OnRButtonDown(UINT flags, CPoint point);
    void OnRButtonUp(UINT flags, CPoint point);
    void OnRButtonDblClk(UINT flags, CPoint point);
    LRESULT OnPageCenter(WPARAM wParam, LPARAM scaled_view);
    LRESULT OnPageClosed(WPARAM wParam, LPARAM document);

private:
    static const MessageEntry entries[];
    [[nodiscard]] CScaleView* GetScaledView() const; // null if no overview is open

    // The setting Keep Place: a page of the same size opens at the scroll position of the last one.
    bool m_bKeepPlace;
    CSize m_sizeClosed; // size of the page that was closed last
    CPoint m_ptClosed;  // its scroll position when it was closed

    void ReportPosition(); // sends the scroll position to the main window and the overview
    void ShowMeasure();    // draws the measuring line, or removes it if the user does not measure
    void EndMeasuring();
    // Returns the page pixel at the end of the measuring line, or nothing if the user does not measure.
    [[nodiscard]] std::optional<CPoint> GetMeasuredEnd() const;

    // The pointer's position in the client area, from its last message. Empty after the pointer has left the
    // window.
    std::optional<CPoint> m_ptPointer;
    // The page pixel where the right button was pressed, while it is held.
    std::optional<CPoint> m_ptMeasured;

    // During a reload, the size of the page before it; otherwise empty. The overview stays open during a
    // reload, unless the new page has another size or is not bilevel.
    std::optional<CSize> m_sizeReloaded;
};
