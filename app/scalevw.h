// SPDX-License-Identifier: MIT
// The view of the overview: shows the reduced picture of the whole page. Its paints request the next lines of
// the picture. A click in it moves the page view.
#pragma once

#include "app/overview.h"
#include "app/scrollvw.h"

class CScaleView : public CLumenta
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    void OnInitialUpdate() override;
    void OnActivateView(bool activate, CView* activated, CView* deactivated) override;
    // Continues the reduction. If the hint is kHintReducedLines, invalidates the new lines. If none of them
    // is in the window, there will be no paint, so this function requests the next batch.
    void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override;
    void OnDraw(CDC* dc) override;
    [[nodiscard]] CPoint GetPickedPoint() const override;
    // Draws the frame of FrameInOverview over the picture.
    void ShowVisiblePart(CPoint position, CSize client);

    bool m_bStop = false;                 // Escape was pressed: the next paint requests no batch
    int32_t m_nScale = kScaleWithoutPage; // factor by which the picture is reduced

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    void OnSize(UINT type, int cx, int cy);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnMouseMove(UINT flags, CPoint point);
    void OnChar(UINT key, UINT repeat, UINT flags);
    LRESULT OnScaleNext(WPARAM wParam, LPARAM lParam);

private:
    static const MessageEntry entries[];

    void MovePage();         // centres the page view on the picked point
    void RequestNextLines(); // requests the next batch, unless m_bStop is set; clears m_bStop

    bool m_bNextPosted = false; // a request for the next batch is in the queue
};
