// The whole page at a glance: the reduced picture, which its own paints make grow, and in which a click moves
// the page view.
#pragma once

#include "app/scrollvw.h"

// The frame in a picture of the page divided by scale, around what a window of client pixels shows of the
// page from position on: rounded outwards, at least 3 x 3 pixels, and inside the picture if that is large
// enough. Empty if nothing of the page shows.
CRect FrameInOverview(CPoint position, CSize client, CSize page, int scale);

class CScaleView : public CLumenta
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    void OnInitialUpdate() override;
    void OnActivateView(bool activate, CView* activated, CView* deactivated) override;
    // Continues the reduction. With the hint about new lines it only has them painted or, if none of them is
    // inside the window, asks for the next ones.
    void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override;
    void OnDraw(CDC* dc) override;
    CPoint GetPickedPoint() const override;
    // What the page view shows: a window of client pixels from position on.
    void ShowPlace(CPoint position, CSize client);

    bool m_bStop = false; // the next paint asks for no further batch
    int32_t m_nScale = 32;

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    void OnSize(UINT type, int cx, int cy);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnMouseMove(UINT flags, CPoint point);
    void OnChar(UINT key, UINT repeat, UINT flags);
    LRESULT OnScaleNext(WPARAM wParam, LPARAM lParam);

private:
    static const MessageEntry entries[];

    void MovePage();        // the page view centres on the picked point
    void AskForNextLines(); // unless Escape was pressed; that counts once

    bool m_bNextPosted = false; // a request for the next batch waits
};
