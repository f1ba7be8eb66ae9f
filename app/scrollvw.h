// What the views of a page share: the scrollable size, movement by keys, and dragging the picture with the
// mouse.
#pragma once

#include "platform/view.h"

// A page step leaves one pixel of the old view on the screen: client - 1, at least 1, at most total.
int PageStep(int client, int total);
// wanted held to the scroll range of a picture of total pixels in a window of client pixels.
int HoldToRange(int64_t wanted, int total, int client);
// How far a key moves: repeat steps, at most the distance to the range's end on that side.
int KeyDistance(int distance_to_end, int step, UINT repeat);
// value held to the range of a 32-bit number.
int HoldToInt(int64_t value);

class CLumentaDoc;

class CLumenta : public CScrollView
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLumentaDoc* GetPageDocument() const; // null if there is none

    void OnInitialUpdate() override;
    void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override;
    void OnDraw(CDC* dc) override;

    // The point that the user picked, in page pixels.
    virtual CPoint GetPickedPoint() const { return m_ptAnchor; }
    // For a client area of cx by cy pixels; the picture is the page divided by divisor, which is not 0.
    virtual void SetupScrollSizes(int cx, int cy, int divisor);

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    // The palette of the page, or of its reduced picture, for a view that has become active: in the
    // foreground where focus is this view.
    void RealizeViewPalette(const CWnd* focus, bool scaled);

    // Each ends with the window's default handling, also where it has done nothing.
    void OnKeyDown(UINT key, UINT repeat, UINT flags);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    void OnMouseMove(UINT flags, CPoint point);
    void OnXButtonDown(UINT flags, CPoint point); // previous or next page

    CSize m_sizeTotal; // the picture
    CSize m_sizePage;  // page steps
    CSize m_sizeLine;  // line steps
    bool m_bDragging = false;
    CPoint m_ptAnchor; // the point of the picture under the pointer when the button went down

private:
    static const MessageEntry entries[];
    enum class Direction { back, forward }; // towards lower positions, towards higher ones
    enum class Amount { steps, toEnd };
    void MoveBy(ScrollBar axis, Direction direction, Amount amount, int step, UINT repeat);
};
