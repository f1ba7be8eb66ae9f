// SPDX-License-Identifier: MIT
// Views: a view is a window inside a frame that shows a document, and prints it. A scroll view has scroll
// bars. Views receive input and paints as messages from platform/qt, and draw on a CDC.
#pragma once

#include "platform/dc.h"
#include "platform/doc.h"
#include "platform/framewnd.h"
#include "platform/overlay.h"
#include "platform/wnd.h"

#include <vector>

// The data of a print run. Pages count from 1.
class CPrintInfo
{
public:
    void SetMaxPage(int page) { m_maxPage = page; }
    [[nodiscard]] static int GetMinPage() { return 1; }
    [[nodiscard]] int GetMaxPage() const { return m_maxPage; }

    bool m_bPreview = false;
    CRect m_rectDraw; // the printable rectangle in device pixels, from (0, 0)

private:
    int m_maxPage = 0xffff;
};

class CView : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CView();
    ~CView() override;

    // Makes the view's window inside a frame, and adds the view to the document of the context. Returns true.
    [[nodiscard]] bool Create(CFrameWnd* frame, CCreateContext* context);

    [[nodiscard]] CDocument* GetDocument() const { return m_document; }
    // Offers the command to the view, then to its document.
    bool OnCmdMsg(UINT command, CommandStep step, CCmdUI* ui) override;
    [[nodiscard]] bool HasCommandHandler(UINT command) override;

    virtual void OnInitialUpdate();                                          // calls OnUpdate without a hint
    virtual void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object); // invalidates the window
    virtual void OnDraw(CDC* dc) = 0;
    // Called before OnDraw and OnPrint. Does nothing; a scroll view sets the viewport origin of `dc` unless
    // dc prints.
    virtual void OnPrepareDC(CDC* dc, CPrintInfo* info = nullptr);
    // Called when the view is activated or no longer active. An activated view takes the focus.
    virtual void OnActivateView(bool activate, CView* activated, CView* deactivated);

    // Shows these shapes over the picture, and no longer those set before. The change is visible after the
    // next copy to the screen. The view's own pixels, prints and further drawing never contain the shapes.
    // The view is not painted: only the pixels of the old and the new shapes are copied again.
    void SetOverlay(std::vector<OverlayShape> shapes);

    // The steps of a print, in this order. If OnPreparePrinting returns false, nothing is printed. OnPrint is
    // called once for each page.
    virtual bool OnPreparePrinting(CPrintInfo* info);
    // Shows the print dialog. Returns false if the user cancelled.
    [[nodiscard]] bool DoPreparePrinting(CPrintInfo* info);
    virtual void OnBeginPrinting(CDC* dc, CPrintInfo* info);
    virtual void OnPrint(CDC* dc, CPrintInfo* info); // calls OnDraw
    virtual void OnEndPrinting(CDC* dc, CPrintInfo* info);

    void OnFilePrint();        // runs the print; if it fails, shows "Printing failed"
    void OnFilePrintPreview(); // shows the same drawing in a window

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    void OnPaint();
    void OnDestroy();
    void PostNcDestroy() override; // deletes the view

private:
    friend class CDocument;
    void MakePeer(CFrameWnd* frame);

    CDocument* m_document = nullptr;
};

enum MappingMode : int { MM_TEXT = 1 }; // one logical unit is one device pixel

// A view whose picture may be larger than its window. It has a scroll bar for each axis that needs one.
// Positions are in device pixels. The range of a bar is from 0 to the number of pixels that are outside the
// client area, so its end is the last valid position.
class CScrollView : public CView
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CScrollView();
    ~CScrollView() override;

    // Sets the size of the picture, and the distances that a click beside the slider (page) and on an arrow
    // (line) moves. The mapping mode is always MM_TEXT.
    void SetScrollSizes(int mapping_mode, CSize total, CSize page, CSize line);
    [[nodiscard]] CSize GetTotalSize() const { return m_total; }
    [[nodiscard]] CPoint GetScrollPosition() const;
    void ScrollToPosition(CPoint position); // clamped to the range

    void OnPrepareDC(CDC* dc, CPrintInfo* info = nullptr) override;

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    void OnSize(UINT type, int cx, int cy);
    void OnHScroll(int position);
    void OnVScroll(int position);
    void OnMouseWheel(UINT flags, CPoint move); // move: in device pixels

private:
    void SetPicture(CSize total, CSize page, CSize line);

    CSize m_total;
};
