// SPDX-License-Identifier: MIT
// The base of the page view and the overview: the scrollable size, scrolling by keys, and dragging the
// picture with the mouse.
#pragma once

#include "platform/view.h"

// Returns a page step: client - 1, so that one pixel of the old view stays in the window; but at least 1 and
// at most `total`.
[[nodiscard]] int PageStep(int client, int total);
// Returns `wanted`, clamped to the scroll range of a picture of `total` pixels in a window of `client`
// pixels.
[[nodiscard]] int ClampToRange(int64_t wanted, int total, int client);
// Returns how far a key press moves: `repeat` steps, but at most distance_to_end.
[[nodiscard]] int KeyDistance(int distance_to_end, int step, UINT repeat);
// Returns `value`, clamped to the range of an int.
[[nodiscard]] int ClampToInt(int64_t value);

class CLumentaDoc;

class CLumenta : public CScrollView
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    [[nodiscard]] CLumentaDoc* GetPageDocument() const; // null if there is none

    void OnInitialUpdate() override;
    void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override;
    void OnDraw(CDC* dc) override;

    // Returns the point that the user clicked last, in page pixels.
    [[nodiscard]] virtual CPoint GetPickedPoint() const { return m_ptAnchor; }
    // Sets the scroll sizes for a client area of cx x cy pixels. The picture has the size of the page divided
    // by `divisor`, which must not be 0.
    virtual void SetupScrollSizes(int cx, int cy, int divisor);

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    // Realizes the palette of the page, or of its reduced picture if `scaled`, for a view that has become
    // active: in the foreground if `focus` is this view, otherwise in the background.
    void RealizeViewPalette(const CWnd* focus, bool scaled);

    // Each handler ends with the window's default handling, even if it has done nothing.
    void OnKeyDown(UINT key, UINT repeat, UINT flags);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    void OnMouseMove(UINT flags, CPoint point);
    void OnXButtonDown(UINT flags, CPoint point); // previous or next page

    CSize m_sizeTotal;        // size of the picture in pixels
    CSize m_sizePage;         // page steps in pixels
    CSize m_sizeLine;         // line steps in pixels
    bool m_bDragging = false; // the left button is down
    CPoint m_ptAnchor; // the point of the picture that was under the pointer when the button was pressed

private:
    static const MessageEntry entries[];
    enum class Direction { back, forward }; // to lower positions, to higher positions
    enum class Amount { steps, toEnd };     // `repeat` steps of `step` pixels, to the end of the range
    void MoveBy(ScrollBar axis, Direction direction, Amount amount, int step, UINT repeat);
};
