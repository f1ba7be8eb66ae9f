// Views: a window on a document inside a frame, with painting and printing; and one that scrolls.
#pragma once

#include "platform/dc.h"
#include "platform/doc.h"
#include "platform/frame.h"
#include "platform/overlay.h"
#include "platform/wnd.h"

#include <vector>

// What a print run knows. Pages count from 1.
class CPrintInfo
{
public:
    void SetMinPage(int page) { m_minPage = page; }
    void SetMaxPage(int page) { m_maxPage = page; }
    int GetMinPage() const { return m_minPage; }
    int GetMaxPage() const { return m_maxPage; }

    bool m_bPreview = false;
    CRect m_rectDraw; // the printable rectangle in device pixels, from (0, 0)

private:
    int m_minPage = 1;
    int m_maxPage = 0xffff;
};

class CView : public CWnd
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CView();
    ~CView() override;

    // Makes the window as the pane of a frame and joins the document of the context.
    bool Create(CFrameWnd* frame, CCreateContext* context);

    CDocument* GetDocument() const { return m_document; }
    bool OnCmdMsg(UINT command, CommandStep step, CCmdUI* ui) override; // itself, then its document
    bool HasCommandHandler(UINT command) override;

    virtual void OnInitialUpdate();                                          // OnUpdate without hint
    virtual void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object); // invalidates the window
    virtual void OnDraw(CDC* dc) = 0;
    virtual void OnPrepareDC(CDC* dc, CPrintInfo* info = nullptr);
    virtual void OnActivateView(bool activate, CView* activated, CView* deactivated); // takes the focus

    // What shows over the picture from the next copy to the screen on, instead of what was set before. The
    // view's own pixels, a print and further drawing never contain it. No paint follows: only the pixels of
    // the old and of the new shapes are copied again.
    void SetOverlay(std::vector<OverlayShape> shapes);

    virtual bool OnPreparePrinting(CPrintInfo* info);
    bool DoPreparePrinting(CPrintInfo* info); // the print dialog; false if the user cancelled
    virtual void OnBeginPrinting(CDC* dc, CPrintInfo* info);
    virtual void OnPrint(CDC* dc, CPrintInfo* info); // OnDraw
    virtual void OnEndPrinting(CDC* dc, CPrintInfo* info);

    void OnFilePrint();        // one run of the print loop; a run that fails says "Printing failed"
    void OnFilePrintPreview(); // a window with the same drawing

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    void OnPaint();
    void OnDestroy();
    void PostNcDestroy() override; // deletes the view

private:
    friend class CDocument;
    void MakePeer(CFrameWnd* frame);

    CDocument* m_document = nullptr;
};

enum MappingMode : int { MM_TEXT = 1 }; // one logical unit a device pixel

// The picture is larger than the window: a bar an axis that needs one, positions in device pixels.
// A bar's range runs from 0 to what lies outside the client area, so its end is the last position there is.
class CScrollView : public CView
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CScrollView();
    ~CScrollView() override;

    void SetScrollSizes(int mapping_mode, CSize total, CSize page, CSize line);
    CSize GetTotalSize() const { return m_total; }
    CPoint GetScrollPosition() const;
    void ScrollToPosition(CPoint position); // held to the range

    void OnPrepareDC(CDC* dc, CPrintInfo* info = nullptr) override;

protected:
    static const MessageEntry entries[];
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    void OnSize(UINT type, int cx, int cy);
    void OnHScroll(int position);
    void OnVScroll(int position);
    void OnMouseWheel(UINT flags, CPoint move); // the move in device pixels

private:
    void SetPicture(CSize total, CSize page, CSize line);

    CSize m_total;
};
