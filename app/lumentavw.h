// The page at full size in the main window, on the screen and on paper.
#pragma once

#include "app/scrollvw.h"

#include <optional>

class CScaleFrame;
class CScaleView;

class CLumentaView : public CLumenta
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLumentaView();

    void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override;
    void OnDraw(CDC* dc) override;
    void OnActivateView(bool activate, CView* activated, CView* deactivated) override;
    bool OnPreparePrinting(CPrintInfo* info) override;
    void OnBeginPrinting(CDC* dc, CPrintInfo* info) override;
    void OnEndPrinting(CDC* dc, CPrintInfo* info) override;
    void OnInitialUpdate() override;

    CPoint GetCenter() const; // the page's point in the middle of the part that shows
    // Brings a point of the page to the middle of the window, as far as the page reaches.
    void CenterOn(CPoint point);

    // For the read-outs: the page's pixel under the pointer, if there is one; and how far the pointer is from
    // the pixel where the right button was pressed, while it is held.
    std::optional<CPoint> GetPointedPixel() const;
    std::optional<CSize> GetMeasuredDistance() const;

    CScaleFrame* m_pScaleFrame = nullptr; // the open scaled window's; it clears this at its end

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

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
    CScaleView* GetScaledView() const; // null if no scaled window is open
    CString ScaledTitle(int32_t scale) const;

    bool m_bKeepPlace;  // a page of the same size opens where the one before it stood
    CSize m_sizeClosed; // of the page that was closed last, and its scroll position then
    CPoint m_ptClosed;

    void TellPlace();   // to the main window and to the scaled window
    void ShowMeasure(); // the line, if there is something to measure
    void EndMeasuring();
    std::optional<CPoint> GetMeasuredEnd() const;

    std::optional<CPoint> m_ptPointer;  // in the window, as of its last message; none after it has left
    std::optional<CPoint> m_ptMeasured; // where on the page the right button was pressed, while it is held

    // While the page is read again: its size before. The scaled window then stays open, unless the page has
    // another size or kind now.
    std::optional<CSize> m_sizeReloaded;
};
