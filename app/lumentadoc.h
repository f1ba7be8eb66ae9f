// SPDX-License-Identifier: MIT
// The document: at most one open page, its sizes, and the store of its decoded rows. Receives paths from the
// application, and rows from the page image. Draws the page for the views and the printer. Reports size and
// resolution to the main window.
#pragma once

#include "app/image.h"
#include "app/scaleddib.h"
#include "app/statustext.h"
#include "platform/dc.h"
#include "platform/doc.h"
#include "platform/tempstore.h"
#include "platform/viewedmark.h"

#include <memory>

constexpr const char* kLinesPerUpdate = "Lines Per Update"; // key in section kAppSettings of the settings

// rowstore.h lists the conditions that are always true for the row store.
class CLumentaDoc : public CDocument
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLumentaDoc();
    ~CLumentaDoc() override;

    void SetTitle(const CString& title) override; // sets the page's label as the title; ignores its argument
    void SetPathName(const CString& path, bool add_to_recent = true) override; // stores PagePath(path)
    void DeleteContents() override; // closes the page, if there is one
    bool OnNewDocument() override;
    // Closes the page, then opens the file PagePath(path). On failure shows a message and returns false.
    bool OnOpenDocument(const CString& path) override;

    [[nodiscard]] bool HasPage() const;
    [[nodiscard]] bool IsBilevelPage() const;
    // Returns the document's notes for the message field. Without a page this is "No page". Otherwise the
    // notes are: the first line that may be wrong, the first damaged line, and whether the file has changed,
    // is gone or cannot be read. The text is empty if there are none.
    [[nodiscard]] CString GetStatusText() const;
    // Returns the palette of the page, or of its reduced picture if `scaled`. Null if there is none. The
    // document owns the palette.
    [[nodiscard]] CPalette* GetPagePalette(bool scaled) const;

    // Returns whether the file PagePath(path) can be opened as a page now. If not, shows the message that
    // OnOpenDocument would show. The open page is unchanged.
    [[nodiscard]] static bool CanOpen(const CString& path);

    // Compares the page's file with its state before it was opened; GetStatusText reports the result. Costs
    // one system call, and works on a network mount too. A file that is back in its old state counts as
    // unchanged.
    void CheckFile();
    // Returns the state of the page's file before it was opened.
    [[nodiscard]] const FileStatus& GetFileStatus() const { return m_FileStatus; }

    // Draws the part of the page inside `rect`, in page pixels. On a printer, draws the whole page, and
    // `rect` is the printable area: an 8-bit page is scaled to this area. A bilevel page is reduced to this
    // area if the page is larger. A failed print is aborted, and the user gets a message. On the screen, a
    // failure may leave a part undrawn.
    void DrawPage(CDC* dc, const CRect& rect);

    // The reduced picture of a bilevel page. These functions are in pagescale.cpp.
    //
    // Ensures that m_pScaled is reduced by `scale`, and reduces a batch of lines. Existing lines of this
    // scale are kept. On failure shows a message, deletes m_pScaled and returns false. Also returns false if
    // the page was closed while a message was open.
    bool MakeScaledBitmap(int32_t scale);
    void ScaleNextLines(); // reduces the next batch of m_nLinesPerUpdate lines and notifies the views
    [[nodiscard]] bool IsScaling() const; // returns whether a further batch would make lines
    // Reduces rows into a bitmap of this page until the lines before untilLine exist. Returns false
    // - if `bitmap` is null, not complete or has no engine,
    // - after a message, if a line was refused or the rows cannot be read,
    // - if the user has interrupted the work,
    // - if the page was closed while a message was open.
    // Throws std::bad_alloc if memory is short.
    [[nodiscard]] bool ScaleRows(CScaledDIBitmap* bitmap, int32_t untilLine);
    // Paints m_pScaled at the top left, cut to the size of `rect`. Returns false if nothing was painted.
    bool BlitScaled(CDC* dc, const CRect& rect);

    // The row store, see rowstore.h.
    //
    // Makes a store for `rows` rows in a temporary file. On failure returns false and leaves no store.
    [[nodiscard]] bool CreateRowMapping(int32_t rows);
    bool ReleaseRowMapping(); // returns whether there was such a store
    // Makes a store on the heap for `rows` rows, or for as many as memory allows. Returns false if there is
    // not enough memory for one row.
    [[nodiscard]] bool AllocateRowBuffer(int32_t rows);
    bool ReleaseRowBuffer(); // returns whether there was such a store
    // Makes rows first to first + count - 1 available. Needs first >= 0, 1 <= count <= m_nWindowRows and
    // first + count <= m_nDepth.
    //
    // The first row that cannot be read is reported in a message, once per page. An interruption by the user
    // counts as such a row. This row and all later ones become 0, and GetRows still returns true. Returns
    // false if the page was closed while that message was open. Also returns false, after a message, if there
    // is no page or no store. Throws std::bad_alloc if memory is short.
    [[nodiscard]] bool GetRows(int32_t first, int32_t count);
    // Releases the memory of the stored rows. The rows stay in the temporary file, and the system loads them
    // again when they are read. Does nothing with a heap store.
    void ReleaseRowPages();
    [[nodiscard]] uint64_t GetPageSerial() const { return m_nPageSerial; } // changes when a page is closed
    // Returns the address of a stored row, valid until the next GetRows.
    [[nodiscard]] uint8_t* RowAddress(int32_t row) const
    {
        return m_pRows + (int64_t{row} - m_nWindowFirst) * m_nRowBytes;
    }

    bool m_bReadError = false; // a row of this page could not be read; no more rows are read
    int32_t m_nErrorRow = 0;   // number of that row; valid if m_bReadError is set
    CString m_strErrorMessage; // the message about that row; valid if m_bReadError is set
    CString m_strPageTitle;    // the page's label; empty without a page

    std::unique_ptr<CScaledDIBitmap> m_pScaled; // the reduced picture; null until the overview requests it
    std::unique_ptr<CPalette> m_hPalette;       // entry i is the grey 255 - i; null if memory was short
    std::unique_ptr<BitmapInfo> m_pDibInfo;     // for an 8-bit page; made when it is first drawn

    int32_t m_nWidth = 0;    // pixels per row; 0 without a page
    int32_t m_nDepth = 0;    // rows; 0 without a page
    int32_t m_nRowBytes = 0; // bytes of a stored row; there is no gap between rows

    int32_t m_nWindowRows = 0;      // rows for which the store has room
    int32_t m_nWindowFirst = -1;    // number of the row in the first slot
    int32_t m_nLastRow = -1;        // number of the last stored or skipped row; -1 before the first
    int m_hTempFile = kInvalidFile; // descriptor of the temporary file
    int64_t m_hTempMapping = 0;     // mapped bytes of the temporary file
    uint8_t* m_pRows = nullptr;     // the first slot; null without a store

    // The image of the page. Without a page it is null, or closed if no class accepted the last file.
    std::unique_ptr<Image> m_pImage;

    int32_t m_nLinesPerUpdate = 1; // lines of a batch of the reduction, at least 1

protected:
    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    void OnLinesPerUpdate();

private:
    static const MessageEntry entries[];

    FileStatus m_FileStatus;                     // of the page's file before it was opened
    FileState m_FileState = FileState::asOpened; // found by the last CheckFile
    uint64_t m_nPageSerial = 0;                  // number of calls of DeleteContents

    [[nodiscard]] bool OpenPage(const CString& path);
    bool BuildGreyPalette();
    [[nodiscard]] bool ReadImageRow(uint8_t* slot);
    [[nodiscard]] bool ReportRow(int32_t row);
    [[nodiscard]] bool FillMapping(int32_t stop);
    [[nodiscard]] bool FillBuffer(int32_t stop);
    [[nodiscard]] bool SkipToWindow();
    void ZeroRows(int32_t first, int32_t stop);

    void DrawBilevel(CDC* dc, const CRect& rect);
    void DrawGrey(CDC* dc, const CRect& rect);
    void PrintGrey(CDC* dc, const CRect& rect);
    void PrintReduced(CDC* dc, const CRect& rect);
    [[nodiscard]] bool FetchRows(CDC* dc, int32_t first, int32_t count);
    void MakeDibInfo();
    void SetDibSize(int32_t stride, int32_t lines);
};
