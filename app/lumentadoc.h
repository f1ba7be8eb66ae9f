// The one document: at most one open page, its numbers, and the store of its decoded rows.
#pragma once

#include "app/image.h"
#include "app/scaleddib.h"
#include "platform/dc.h"
#include "platform/doc.h"
#include "platform/tempstore.h"
#include "platform/viewedmark.h"

#include <memory>

constexpr const char* kLinesPerUpdate = "Lines Per Update"; // key of the settings' section kAppSettings

// The row store is a contiguous run of decoded rows, filled as somebody asks for them. It holds the whole
// page in a mapped temporary file or, where that cannot be had, as many rows as memory allows in a heap block
// that slides over the page. Whatever fills it reads the image forward, so the image's CurrentRow and
// m_nLastRow name the same row.
//
// - Row r with m_nWindowFirst <= r <= m_nLastRow lies at RowAddress(r), until the next GetRows.
// - m_nLastRow - m_nWindowFirst + 1 is never more than m_nWindowRows.
// - m_hTempFile alone tells which kind of store m_pRows is.
class CLumentaDoc : public CDocument
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLumentaDoc();
    ~CLumentaDoc() override;

    void SetTitle(const CString& title) override; // always the page's label, whatever the argument
    void SetPathName(const CString& path, bool add_to_recent = true) override; // cut as for opening
    void DeleteContents() override; // ends the current page; harmless without one
    bool OnNewDocument() override;
    bool OnOpenDocument(const CString& path) override; // the text before a tab or semicolon is the file

    bool HasPage() const;
    bool IsBilevelPage() const;
    // What the message field says of the page: that there is none, from where on it may be wrong, from where
    // on it is damaged, and what has become of its file; else an empty text.
    CString GetStatusText() const;
    CPalette* GetPagePalette(bool scaled) const; // null if there is none

    // Compares the page's file with the one that was opened. One call of the system, which works on a network
    // mount too; a file that has come back as it was counts as unchanged.
    void CheckFile();
    const FileStatus& GetFileStatus() const { return m_FileStatus; } // from before the page was opened

    // Draws what rect, in page pixels, shows of the page; a printer gets the whole page, fitted into rect.
    void DrawPage(CDC* dc, const CRect& rect);

    // The reduced picture of a bilevel page; the operations are in pagescale.cpp.
    // Makes sure that m_pScaled has that factor, keeping the lines of one that has it already, and reduces a
    // batch. False after a message: there is none then. It is gone, too, where the page was closed behind
    // one.
    bool MakeScaledBitmap(int32_t scale);
    void ScaleNextLines();  // reduces the next batch of m_nLinesPerUpdate lines and tells the views
    bool IsScaling() const; // a further batch would make lines
    // Drives a bitmap of this page until the lines before untilLine are done. False where it is not complete;
    // after a message where a line was refused or the rows cannot be had; and where the page was closed
    // behind a message. Throws std::bad_alloc where memory is short.
    bool ScaleRows(CScaledDIBitmap* bitmap, int32_t untilLine);
    // Paints m_pScaled at the top left, as much of it as rect is large. False where there is nothing to
    // paint.
    bool BlitScaled(CDC* dc, const CRect& rect);

    // The row store.
    bool CreateRowMapping(int32_t rows);  // all rows, in a temporary file
    bool ReleaseRowMapping();             // true if there was one
    bool AllocateRowBuffer(int32_t rows); // as many rows as memory allows, on the heap
    bool ReleaseRowBuffer();              // true if there was one
    // Makes rows first to first + count - 1 available. Needs first >= 0, 1 <= count <= m_nWindowRows and
    // first + count <= m_nDepth. A row that cannot be read is reported once for the page; it and all behind
    // it are zero then, and the result is still true.
    bool GetRows(int32_t first, int32_t count);
    // The store's rows count as memory of this process again only after they are read. Harmless on a heap
    // store.
    void ReleaseRowPages();
    uint64_t GetPageSerial() const { return m_nPageSerial; } // another one after a page was closed
    uint8_t* RowAddress(int32_t row) const { return m_pRows + (int64_t{row} - m_nWindowFirst) * m_nRowBytes; }

    bool m_bReadError = false; // a row of this page could not be read; none is read any more
    int32_t m_nErrorRow = 0;   // that row, if m_bReadError is set
    CString m_strPageTitle;    // the page's label; empty without a page

    std::unique_ptr<CScaledDIBitmap> m_pScaled; // null until the scaled window asks for it
    std::unique_ptr<CPalette> m_hPalette;       // entry i is the grey 255 - i; null where memory was short
    std::unique_ptr<BitmapInfo> m_pDibInfo;     // made at the first drawing of a page of 8 bits a pixel

    int32_t m_nWidth = 0;    // pixels in a row, 0 without a page
    int32_t m_nDepth = 0;    // rows, 0 without a page
    int32_t m_nRowBytes = 0; // bytes of a stored row; no gap between rows

    int32_t m_nWindowRows = 0;   // rows that the store can hold
    int32_t m_nWindowFirst = -1; // page row in its first slot
    int32_t m_nLastRow = -1;     // last row that the image has delivered in this run
    int m_hTempFile = kInvalidFile;
    int64_t m_hTempMapping = 0; // bytes mapped of it
    uint8_t* m_pRows = nullptr;

    std::unique_ptr<Image> m_pImage; // null, or the page's; a closed one after a file that no class accepted

    int32_t m_nLinesPerUpdate = 1; // reduced lines made between two paints, at least 1

protected:
    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    void OnLinesPerUpdate();

private:
    static const MessageEntry entries[];

    enum class FileState : uint8_t { asOpened, changed, gone };

    FileStatus m_FileStatus; // from before the page was opened
    FileState m_FileState = FileState::asOpened;
    uint64_t m_nPageSerial = 0; // grows with each page that is closed

    bool OpenPage(const CString& path);
    bool BuildGreyPalette();
    bool ReadImageRow(uint8_t* slot);
    bool ReportRow(int32_t row);
    bool FillMapping(int32_t stop);
    void ZeroRows(int32_t first, int32_t stop);

    void DrawBilevel(CDC* dc, const CRect& rect);
    void DrawGrey(CDC* dc, const CRect& rect);
    void PrintGrey(CDC* dc, const CRect& rect);
    void PrintReduced(CDC* dc, const CRect& rect);
    bool FetchRows(CDC* dc, int32_t first, int32_t count);
    void MakeDibInfo();
    void SetDibSize(int32_t stride, int32_t lines);
};
