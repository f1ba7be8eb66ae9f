// SPDX-License-Identifier: MIT
// Documents, and the template that makes the document, its frame and its view. A document receives paths from
// the template, and notifies its views of changes.
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
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CDocument();
    ~CDocument() override; // removes itself from its views

    [[nodiscard]] const CString& GetTitle() const { return m_title; }
    virtual void SetTitle(const CString& title); // also updates the titles of its frames
    [[nodiscard]] const CString& GetPathName() const { return m_path; }
    // Also sets the file's name as the title, through SetTitle.
    virtual void SetPathName(const CString& path, bool add_to_recent = true);
    [[nodiscard]] bool IsModified() const { return m_modified; }
    void SetModifiedFlag(bool modified) { m_modified = modified; }

    virtual bool OnNewDocument(); // calls DeleteContents and resets path and modified flag; returns true
    [[nodiscard]] virtual bool OnOpenDocument(const CString& path) = 0;
    virtual void DeleteContents();
    // Destroys the frames of all views, the last one first, then deletes the document.
    virtual void OnCloseDocument();

    void AddView(CView* view);
    void RemoveView(CView* view);
    // Returns a copy, because views may be destroyed while a caller uses the list.
    [[nodiscard]] std::vector<CView*> GetViews() const { return m_views; }
    [[nodiscard]] bool HasView(const CView* view) const;

    // Calls OnUpdate of each view except sender.
    void UpdateAllViews(CView* sender, LPARAM hint = 0, CObject* hint_object = nullptr);
    void UpdateFrameCounts(); // updates the titles of its frames

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

private:
    CString m_title;
    CString m_path;
    bool m_modified = false;
    std::vector<CView*> m_views;
};

// The objects from which a new frame makes its view.
class CCreateContext
{
public:
    const CRuntimeClass* m_pNewViewClass = nullptr;
    CDocument* m_pCurrentDoc = nullptr;
    CView* m_pLastView = nullptr; // the view from which the window is opened, or null
};

// Manages the document and its main frame. There is one document object, which opens one file after the
// other.
class CSingleDocTemplate : public CObject
{
public:
    CSingleDocTemplate(UINT resource, const CRuntimeClass& document, const CRuntimeClass& frame,
                       const CRuntimeClass& view);

    // Opens a file; a null path makes an empty document. The first call makes the document, the frame and the
    // view, and shows the frame. After a success the views receive OnInitialUpdate. Returns null if the
    // document did not open the file, or if the frame could not be made.
    CDocument* OpenDocumentFile(const CString* path);
    [[nodiscard]] CDocument* GetDocument() const { return m_document; }
    void ForgetDocument() { m_document = nullptr; } // called when the document is deleted

private:
    UINT m_resource;
    const CRuntimeClass& m_documentClass;
    const CRuntimeClass& m_frameClass;
    const CRuntimeClass& m_viewClass;
    CDocument* m_document = nullptr; // deletes itself, see OnCloseDocument
};
