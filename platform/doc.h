// Documents, and the template that makes document, frame and view.
#pragma once

#include "platform/cstring.h"
#include "platform/messages.h"

#include <vector>

class CView;
class CFrameWnd;

class CDocument : public CCmdTarget
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CDocument();
    ~CDocument() override; // views that are left lose their document

    const CString& GetTitle() const { return m_title; }
    virtual void SetTitle(const CString& title); // and the titles of its frames
    const CString& GetPathName() const { return m_path; }
    // Also proposes the file's name as the title, through SetTitle.
    virtual void SetPathName(const CString& path, bool add_to_recent = true);
    bool IsModified() const { return m_modified; }
    void SetModifiedFlag(bool modified) { m_modified = modified; }

    virtual bool OnNewDocument(); // DeleteContents, and not modified
    virtual bool OnOpenDocument(const CString& path) = 0;
    virtual void DeleteContents();
    // Destroys the frames of all views, the last first, then deletes the document.
    virtual void OnCloseDocument();

    void AddView(CView* view);
    void RemoveView(CView* view);
    std::vector<CView*> GetViews() const { return m_views; } // a copy: views may go while it is walked
    bool HasView(const CView* view) const;

    // OnUpdate of each view but sender.
    void UpdateAllViews(CView* sender, LPARAM hint = 0, CObject* hint_object = nullptr);
    void UpdateFrameCounts(); // the titles of its frames

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

private:
    CString m_title;
    CString m_path;
    bool m_modified = false;
    std::vector<CView*> m_views;
};

// What a new frame and its view are made with.
class CCreateContext
{
public:
    const CRuntimeClass* m_pNewViewClass = nullptr;
    CDocument* m_pCurrentDoc = nullptr;
    CView* m_pLastView = nullptr;
};

// One document, reused for every file, in one main frame.
class CSingleDocTemplate : public CObject
{
public:
    CSingleDocTemplate(UINT resource, const CRuntimeClass& document, const CRuntimeClass& frame,
                       const CRuntimeClass& view);

    // A null path makes an empty document. On the first call document, frame and view are made and the frame
    // shows. After each success the views get their initial update. Null if the document refused.
    CDocument* OpenDocumentFile(const CString* path);
    CDocument* GetDocument() const { return m_document; }
    void ForgetDocument() { m_document = nullptr; } // it is being deleted

private:
    UINT m_resource;
    const CRuntimeClass& m_documentClass;
    const CRuntimeClass& m_frameClass;
    const CRuntimeClass& m_viewClass;
    CDocument* m_document = nullptr; // owns itself, see OnCloseDocument
};
