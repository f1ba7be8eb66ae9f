// Opens and closes pages, and manages the row store. Drawing is in pagedraw.cpp, reduction in pagescale.cpp.
#include "app/lumentadoc.h"

#include "app/group4image.h"
#include "app/jbigimage.h"
#include "app/pagepath.h"
#include "app/sqzimage.h"
#include "app/sqznoneimage.h"
#include "app/tifimage.h"
#include "app/usermsg.h"
#include "platform/app.h"
#include "platform/freememory.h"
#include "platform/view.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace
{
// Sizes in bytes of rows.
constexpr int32_t kZeroBytes = 1 << 20;          // cleared between two calls of WorkInterrupted
constexpr int32_t kMostZeroBytes = 64 << 20;     // rows of 0 that are stored before the requested rows
constexpr int32_t kStoreBlockBytes = 256 * 1024; // decoded in memory, then written to the temporary file

// The kinds of page file, in the order in which they are tried.
using ImageFactory = std::unique_ptr<Image> (*)();
template <class T>
std::unique_ptr<Image> MakeImage()
{
    return std::make_unique<T>();
}
constexpr ImageFactory kImageClasses[] = {
    MakeImage<SqzImage>,     MakeImage<JBIGImage>, MakeImage<Group4Image>,
    MakeImage<SqzNoneImage>, MakeImage<TIFFImage>,
};

// Opens a page file with the first kind that accepts it. If there is none, returns the image that was tried
// last. It is closed, and its ErrorText says why.
std::unique_ptr<Image> OpenImage(const CString& file)
{
    std::unique_ptr<Image> image;
    for (const ImageFactory make : kImageClasses) {
        image = make();
        if (image->Open(file) != 0)
            break;
    }
    return image;
}

bool IsOpen(const Image& image)
{
    return !image.Path.IsEmpty();
}

void ReportOpenFailure(const CString& file, const Image& image)
{
    AfxMessageBox(file + ": " + image.ErrorText);
}

void TellMainWindow(UINT message, int first, int second)
{
    if (CWnd* const window = AfxGetMainWnd())
        window->SendMessage(message, static_cast<WPARAM>(first), second);
}
} // namespace

const CRuntimeClass CLumentaDoc::classRecord{"CLumentaDoc", &CDocument::classRecord,
                                             CreateObjectOf<CLumentaDoc>};

const MessageEntry CLumentaDoc::entries[] = {
    OnCommand<kLinesPerUpdateCommand, &CLumentaDoc::OnLinesPerUpdate>(),
};
const MessageMap CLumentaDoc::messages{&CDocument::messages, entries};

CLumentaDoc::CLumentaDoc()
{
    BuildGreyPalette(); // the document also works without a palette
    CWinApp* const app = AfxGetApp();
    m_nLinesPerUpdate = app ? app->GetProfileInt(kAppSettings, kLinesPerUpdate, 0) : 1;
    if (m_nLinesPerUpdate < 1) {
        m_nLinesPerUpdate = 1;
        app->WriteProfileInt(kAppSettings, kLinesPerUpdate, 1);
    }
}

CLumentaDoc::~CLumentaDoc()
{
    CLumentaDoc::DeleteContents();
}

bool CLumentaDoc::BuildGreyPalette()
{
    m_hPalette.reset();
    try {
        std::vector<COLORREF> ramp(256);
        for (unsigned i = 0; i < 256; ++i)
            ramp[i] = Grey(255 - i);
        m_hPalette = std::make_unique<CPalette>(std::move(ramp));
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

void CLumentaDoc::SetTitle(const CString&)
{
    CDocument::SetTitle(m_strPageTitle);
}

// The template passes the whole path that it opened, including a tab or semicolon.
void CLumentaDoc::SetPathName(const CString& path, bool add_to_recent)
{
    CDocument::SetPathName(PagePath(path), add_to_recent);
}

void CLumentaDoc::DeleteContents()
{
    ++m_nPageSerial;
    m_pDibInfo.reset();
    m_pScaled.reset();
    m_nWidth = 0;
    m_nDepth = 0;
    TellMainWindow(WM_PAGE_SIZE, 0, 0);
    TellMainWindow(WM_PAGE_RESOLUTION, 0, 0);
    ReleaseRowMapping();
    ReleaseRowBuffer();
    m_pImage.reset();
    m_strPageTitle.Empty();
    for (CView* const view : GetViews())
        if (HasView(view) && view->SendMessage(WM_PAGE_CLOSED, 0, PackPointer(this)) == 0)
            break;
}

bool CLumentaDoc::OnNewDocument()
{
    if (!CDocument::OnNewDocument())
        return false;
    DeleteContents();
    return true;
}

bool CLumentaDoc::OnOpenDocument(const CString& path)
{
    BeginWaitCursor(Hourglass::atOnce); // the file may be on a slow mount
    const bool opened = OpenPage(path);
    UpdateAllViews(nullptr, kHintPage);
    EndWaitCursor();
    return opened;
}

bool CLumentaDoc::CanOpen(const CString& path)
{
    BeginWaitCursor(Hourglass::atOnce); // as in OnOpenDocument
    const CString file = PagePath(path);
    const std::unique_ptr<Image> image = OpenImage(file);
    const bool has_rows = IsOpen(*image) && image->IsValid();
    if (!IsOpen(*image))
        ReportOpenFailure(file, *image);
    else if (!has_rows)
        AfxMessageBox("Unable to allocate bitmap"); // as OpenPage says if a side is 0
    EndWaitCursor();
    return has_rows;
}

bool CLumentaDoc::OpenPage(const CString& path)
{
    // The old page is closed even if the new file does not open.
    DeleteContents();
    const CString file = PagePath(path);
    m_FileStatus = FileStatusOf(file);
    m_FileState = FileState::asOpened;

    m_pImage = OpenImage(file);
    if (!IsOpen(*m_pImage)) {
        ReportOpenFailure(file, *m_pImage);
        return false;
    }

    m_nWidth = m_pImage->Width;
    m_nRowBytes = m_pImage->BytesPerRow;
    m_nDepth = m_pImage->Height;
    m_nWindowRows = 0;
    m_nWindowFirst = 0;
    m_nLastRow = -1;
    m_bReadError = false;
    if (!CreateRowMapping(m_nDepth) && !AllocateRowBuffer(m_nDepth)) {
        AfxMessageBox("Unable to allocate bitmap");
        DeleteContents();
        SetModifiedFlag(false);
        SetTitle({});
        return false;
    }

    // SetPathName also sets the title to the label, which is still empty. The template calls it again after
    // this function, and the title then becomes the label.
    SetPathName(file, true);
    SetModifiedFlag(false);
    m_strPageTitle = m_pImage->Name;
    TellMainWindow(WM_PAGE_RESOLUTION, m_pImage->XDpi, m_pImage->YDpi);
    TellMainWindow(WM_PAGE_SIZE, m_nWidth, m_nDepth);
    return true;
}

bool CLumentaDoc::HasPage() const
{
    return m_pImage && m_pImage->IsValid() && m_pRows;
}

bool CLumentaDoc::IsBilevelPage() const
{
    return m_pImage && m_pImage->IsValid() && m_pImage->BitsPerPixel == 1;
}

CString CLumentaDoc::GetStatusText() const
{
    if (!HasPage())
        return "No page";
    const int32_t suspicious = m_pImage->SuspiciousRow;
    return FormatPageNotes(suspicious >= 0 ? std::optional{suspicious} : std::nullopt,
                           m_bReadError ? std::optional{m_nErrorRow} : std::nullopt, m_FileState);
}

void CLumentaDoc::CheckFile()
{
    if (!HasPage())
        return;
    const FileStatus now = FileStatusOf(GetPathName());
    m_FileState = now.kind == FileStatus::Kind::unknown ? FileState::unreadable
                  : !now.IsFile()                       ? FileState::gone
                  : now == m_FileStatus                 ? FileState::asOpened
                                                        : FileState::changed;
}

CPalette* CLumentaDoc::GetPagePalette(bool scaled) const
{
    if (!m_pImage)
        return nullptr;
    if (!scaled)
        return m_hPalette.get();
    return m_pScaled ? m_pScaled->GetPalette() : nullptr;
}

bool CLumentaDoc::CreateRowMapping(int32_t rows)
{
    const int64_t bytes = int64_t{m_nRowBytes} * rows;
    m_hTempFile = CreateTempFile("SQZ", bytes);
    if (m_hTempFile == kInvalidFile)
        return false;
    m_pRows = MapTempFile(m_hTempFile, bytes);
    if (!m_pRows) {
        ReleaseRowMapping();
        return false;
    }
    m_hTempMapping = bytes;
    m_nWindowRows = rows;
    return true;
}

bool CLumentaDoc::ReleaseRowMapping()
{
    if (m_hTempFile == kInvalidFile)
        return false;
    if (m_pRows)
        UnmapTempFile(m_pRows, m_hTempMapping);
    CloseTempFile(m_hTempFile);
    m_pRows = nullptr;
    m_hTempMapping = 0;
    m_hTempFile = kInvalidFile;
    return true;
}

bool CLumentaDoc::AllocateRowBuffer(int32_t rows)
{
    if (m_nRowBytes < 1)
        return false;
    const int64_t limit = LargestBlock();
    if (int64_t{m_nRowBytes} * rows > limit)
        rows = static_cast<int32_t>(limit / m_nRowBytes);
    if (rows < 1)
        return false;
    m_pRows = new (std::nothrow) uint8_t[static_cast<size_t>(m_nRowBytes) * static_cast<size_t>(rows)];
    if (!m_pRows)
        return false;
    m_nWindowRows = rows;
    return true;
}

bool CLumentaDoc::ReleaseRowBuffer()
{
    if (m_hTempFile != kInvalidFile || !m_pRows)
        return false;
    delete[] m_pRows;
    m_pRows = nullptr;
    return true;
}

// Reads the image's next row. On failure fills `slot` with 0 and returns false. If the user has interrupted
// the work, the row fails too.
bool CLumentaDoc::ReadImageRow(uint8_t* slot)
{
    if (!WorkInterrupted() && m_pImage->ReadRow(slot, m_nRowBytes))
        return true;
    if (WorkInterrupted()) // also if the interruption came while the row was read
        m_pImage->ErrorText = "interrupted";
    memset(slot, 0, static_cast<size_t>(m_nRowBytes));
    return false;
}

// Ends the reading of this page, and reports the row that could not be read. Returns false if the page was
// closed while the message was open.
bool CLumentaDoc::ReportRow(int32_t row)
{
    // Set before the message opens, so that each page shows only one.
    m_bReadError = true;
    m_nErrorRow = row;
    m_strErrorMessage.Format("error at line %d: %s", row, m_pImage->ErrorText.c_str());
    const uint64_t page = m_nPageSerial;
    AfxMessageBox(m_strErrorMessage);
    return page == m_nPageSerial;
}

// Reads the rows m_nLastRow + 1 to stop - 1 into the temporary file, a block at a time. A block is decoded
// into memory that stays in the cache, and then written to the file. Writing takes a sixth of the time of
// touching new pages of the mapping.
//
// Stops at the first row that cannot be read or written. This row becomes 0 and is reported; the rows before
// it are kept. Returns false if the page was closed while the message was open.
bool CLumentaDoc::FillMapping(int32_t stop)
{
    const int32_t block_rows =
        std::clamp(kStoreBlockBytes / std::max(m_nRowBytes, 1), 1, stop - m_nLastRow - 1);
    const auto block =
        std::make_unique<uint8_t[]>(static_cast<size_t>(block_rows) * static_cast<size_t>(m_nRowBytes));
    bool good = true;
    while (good && m_nLastRow + 1 < stop) {
        const int32_t first = m_nLastRow + 1;
        const int32_t wanted = std::min(block_rows, stop - first);
        int32_t rows = 0;
        int32_t passed = 0; // rows of 0 after them; the unwritten part of the file is 0
        while (good && rows < wanted) {
            passed = m_pImage->SkipRows(stop - first - rows, Image::Skip::zeroRows);
            if (passed > 0)
                break;
            good = ReadImageRow(block.get() + int64_t{rows} * m_nRowBytes);
            ++rows;
        }
        const auto row_bytes = static_cast<size_t>(m_nRowBytes);
        const size_t bytes = static_cast<size_t>(rows) * row_bytes;
        const int64_t offset = int64_t{first} * m_nRowBytes;
        const size_t written = WriteTempFile(m_hTempFile, offset, block.get(), bytes);
        if (written < bytes) {
            m_pImage->ErrorText = strerror(errno);
            // The last row is incomplete: its written part becomes 0 again. The mapping cannot be used for
            // this, because touching a page that the file system cannot provide would end the program.
            const size_t kept = written / row_bytes;
            const size_t cut = written % row_bytes;
            std::fill_n(block.get(), cut, uint8_t{0});
            WriteTempFile(m_hTempFile, offset + static_cast<int64_t>(written - cut), block.get(), cut);
            m_nLastRow += static_cast<int32_t>(kept) + 1;
            return ReportRow(m_nLastRow);
        }
        m_nLastRow += rows + passed;
    }
    return good || ReportRow(m_nLastRow);
}

// Sets rows of a heap store to 0. The store may have gigabytes, so WorkInterrupted keeps the windows
// responsive. Its result is ignored, because the reading of the page has already ended.
void CLumentaDoc::ZeroRows(int32_t first, int32_t stop)
{
    const int32_t step = std::max(kZeroBytes / m_nRowBytes, 1);
    for (int32_t row = first; row < stop; row += std::min(step, stop - row)) {
        WorkInterrupted();
        memset(RowAddress(row), 0,
               static_cast<size_t>(std::min(step, stop - row)) * static_cast<size_t>(m_nRowBytes));
    }
}

void CLumentaDoc::ReleaseRowPages()
{
    if (m_hTempFile != kInvalidFile)
        ReleaseTempPages(m_pRows, m_hTempMapping);
}

bool CLumentaDoc::GetRows(int32_t first, int32_t count)
{
    if (!m_pImage || !m_pImage->IsValid()) {
        AfxMessageBox("Image file is not open");
        return false;
    }
    if (!m_pRows) {
        AfxMessageBox("No memory buffer for bitmap");
        return false;
    }
    const int32_t end = first + count;
    int32_t next = m_nLastRow + 1;            // the next row of the image
    int32_t store = next;                     // the first row to store
    int32_t stop = std::max(m_nLastRow, end); // the row before which reading ends

    if (first < m_nWindowFirst) {
        // Backward: reads again from row 0. The new window ends with the requested rows.
        if (!m_bReadError)
            m_pImage->Rewind();
        store = std::max(end - m_nWindowRows, 0);
        next = 0;
        stop = end;
        m_nWindowFirst = store;
        m_nLastRow = -1;
    } else if (end > int64_t{m_nWindowFirst} + m_nWindowRows) {
        // Forward past the window: the new window has the requested rows in its middle, but does not pass the
        // end of the page.
        const int32_t new_first = std::min(first - (m_nWindowRows - count) / 2, m_nDepth - m_nWindowRows);
        const int32_t shift = new_first - m_nWindowFirst;
        const int32_t kept = m_nLastRow - new_first + 1;
        if (shift >= 1 && shift < m_nWindowRows && kept >= 1)
            memmove(m_pRows, m_pRows + int64_t{shift} * m_nRowBytes,
                    static_cast<size_t>(kept) * static_cast<size_t>(m_nRowBytes));
        m_nWindowFirst = new_first;
    }
    store = std::max(store, m_nWindowFirst);

    // Skips the rows before `store`. The slot of row `store` is scratch space for those that must be read.
    while (next < store && !m_bReadError) {
        if (const int32_t passed =
                WorkInterrupted() ? 0 : m_pImage->SkipRows(store - next, Image::Skip::anyRows)) {
            m_nLastRow += passed;
            next += passed;
            continue;
        }
        const bool good = ReadImageRow(RowAddress(store));
        ++m_nLastRow;
        if (!good && !ReportRow(next))
            return false;
        ++next;
    }
    if (next < store) {
        // All rows are 0 from here on. The window is moved closer to the requested rows, because clearing
        // gigabytes of rows before them would take long.
        store = std::max(store, first - kMostZeroBytes / m_nRowBytes);
        m_nWindowFirst = store;
        m_nLastRow = store - 1;
    }

    if (store < stop && !m_bReadError && m_hTempFile != kInvalidFile) {
        if (!FillMapping(stop))
            return false;
        store = m_nLastRow + 1;
    }
    while (store < stop && !m_bReadError) {
        const bool good = ReadImageRow(RowAddress(store));
        ++m_nLastRow;
        if (!good && !ReportRow(store))
            return false;
        ++store;
    }
    if (store < stop) {
        // Reading has ended, so the other rows are 0. In the temporary file they already are 0, because they
        // were never written.
        if (m_hTempFile == kInvalidFile)
            ZeroRows(store, stop);
        m_nLastRow = stop - 1;
    }
    return true;
}
