// The whole page at a glance: the reduced picture, which its own paints make grow, and in which a click moves
// the page view.
#pragma once

#include "app/scrollvw.h"

class CScaleView : public CLumenta
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    void OnInitialUpdate() override;
    void OnActivateView(bool activate, CView* activated, CView* deactivated) override;
    // Goes on with the reduction, but for the hint that it has gone on.
    void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override;
    void OnDraw(CDC* dc) override;
    CPoint GetPickedPoint() const override;

    bool m_bStop = false; // the next paint asks for no further batch
    int32_t m_nScale = 32;

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    void OnSize(UINT type, int cx, int cy);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnChar(UINT key, UINT repeat, UINT flags);
    LRESULT OnScaleNext(WPARAM wParam, LPARAM lParam);

private:
    static const MessageEntry entries[];

    bool m_bNextPosted = false; // the wish for the next batch has not been heard yet
};
