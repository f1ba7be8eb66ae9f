// SPDX-License-Identifier: MIT
// The functions of the row store. GetRows moves the window to the requested rows, skips the rows of the image
// before the window, and reads the others into the store.
#include "app/rowstore.h"

#include "app/lumentadoc.h"
#include "platform/app.h"
#include "platform/freememory.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace
{
// Sizes of groups of rows, in bytes.
constexpr int32_t kZeroBytes = 1 << 20;          // cleared between two calls of WorkInterrupted
constexpr int32_t kMaxZeroBytes = 64 << 20;      // rows of 0 that are stored before the requested rows
constexpr int32_t kStoreBlockBytes = 256 * 1024; // decoded in memory, then written to the temporary file
} // namespace

WindowMove PlanWindowMove(const RowWindow& window, int32_t depth, int32_t first, int32_t count)
{
    const int32_t end = first + count;
    WindowMove move{window.first, false, 0, 0};
    if (first < window.first) {
        // Backward: the new window ends with the requested rows.
        move.first = std::max(end - window.rows, 0);
        move.rereads = true;
    } else if (end > int64_t{window.first} + window.rows) {
        // Forward: the new window has the requested rows in its middle, but does not pass the end of the
        // page.
        move.first = std::min(first - (window.rows - count) / 2, depth - window.rows);
        const int32_t shift = move.first - window.first;
        const int32_t kept = window.last - move.first + 1;
        if (shift >= 1 && shift < window.rows && kept >= 1) {
            move.shift = shift;
            move.kept = kept;
        }
    }
    return move;
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
    // Set before the message opens, so that there is only one message for each page.
    m_bReadError = true;
    m_nErrorRow = row;
    m_strErrorMessage.Format("error at line %d: %s", row, m_pImage->ErrorText.c_str());
    const uint64_t page = m_nPageSerial;
    AfxMessageBox(m_strErrorMessage);
    return page == m_nPageSerial;
}

// Reads the rows m_nLastRow + 1 to stop - 1 into the temporary file, a block at a time. A block is decoded
// into memory that stays in the cache, and then written to the file. This takes a sixth of the time that the
// first access to new pages of the mapping would take.
//
// Stops at the first row that cannot be read or written. This row becomes 0 and is reported; the rows before
// it are kept. Returns false if the page was closed while the message was open.
bool CLumentaDoc::FillMapping(int32_t stop)
{
    if (m_nLastRow + 1 >= stop || m_bReadError)
        return true;
    const auto row_bytes = static_cast<size_t>(std::max(m_nRowBytes, 1));
    const int32_t block_rows =
        std::clamp(kStoreBlockBytes / std::max(m_nRowBytes, 1), 1, stop - m_nLastRow - 1);
    const auto block = std::make_unique<uint8_t[]>(static_cast<size_t>(block_rows) * row_bytes);
    bool good = true;
    while (good && m_nLastRow + 1 < stop) {
        const int32_t first = m_nLastRow + 1;
        const int32_t wanted = std::min(block_rows, stop - first);
        int32_t rows = 0;
        // Rows of 0 after these; they are not written, because new parts of the file are 0.
        int32_t skipped = 0;
        while (good && rows < wanted) {
            skipped = m_pImage->SkipRows(stop - first - rows, Image::Skip::zeroRows);
            if (skipped > 0)
                break;
            good = ReadImageRow(block.get() + int64_t{rows} * m_nRowBytes);
            ++rows;
        }
        const size_t bytes = static_cast<size_t>(rows) * row_bytes;
        const int64_t offset = int64_t{first} * m_nRowBytes;
        const size_t written = WriteTempFile(m_hTempFile, offset, block.get(), bytes);
        if (written < bytes) {
            m_pImage->ErrorText = strerror(errno);
            // The last row is incomplete: its written part becomes 0 again. The mapping cannot be used for
            // this, because an access to a page that the file system cannot provide would end the program.
            const size_t kept = written / row_bytes;
            const size_t cut = written % row_bytes;
            std::fill_n(block.get(), cut, uint8_t{0});
            static_cast<void>(
                WriteTempFile(m_hTempFile, offset + static_cast<int64_t>(written - cut), block.get(), cut));
            m_nLastRow += static_cast<int32_t>(kept) + 1;
            return ReportRow(m_nLastRow);
        }
        m_nLastRow += rows + skipped;
    }
    return good || ReportRow(m_nLastRow);
}

// Sets rows of a heap store to 0. The store may have gigabytes, so WorkInterrupted keeps the windows
// responsive. Its result is ignored, because the reading of the page has already ended.
void CLumentaDoc::ZeroRows(int32_t first, int32_t stop)
{
    const int32_t step = std::max(kZeroBytes / m_nRowBytes, 1);
    for (int32_t row = first; row < stop; row += std::min(step, stop - row)) {
        static_cast<void>(WorkInterrupted());
        memset(RowAddress(row), 0,
               static_cast<size_t>(std::min(step, stop - row)) * static_cast<size_t>(m_nRowBytes));
    }
}

void CLumentaDoc::ReleaseRowPages()
{
    if (m_hTempFile != kInvalidFile)
        ReleaseTempPages(m_pRows, m_hTempMapping);
}

// Reads the rows up to `stop` - 1 into a heap store. Stops at the first row that cannot be read. This row
// becomes 0 and is reported. Returns false if the page was closed while the message was open.
bool CLumentaDoc::FillBuffer(int32_t stop)
{
    while (m_nLastRow + 1 < stop && !m_bReadError) {
        const int32_t row = m_nLastRow + 1;
        const bool good = ReadImageRow(RowAddress(row));
        m_nLastRow = row;
        if (!good && !ReportRow(row))
            return false;
    }
    return true;
}

// Skips the rows of the image before the window. The first slot is scratch space for those that must be read.
// Stops at the first row that cannot be read, and reports it. Returns false if the page was closed while the
// message was open.
bool CLumentaDoc::SkipToWindow()
{
    while (m_nLastRow + 1 < m_nWindowFirst && !m_bReadError) {
        const int32_t row = m_nLastRow + 1;
        if (const int32_t skipped =
                WorkInterrupted() ? 0 : m_pImage->SkipRows(m_nWindowFirst - row, Image::Skip::anyRows)) {
            m_nLastRow += skipped;
            continue;
        }
        const bool good = ReadImageRow(m_pRows);
        m_nLastRow = row;
        if (!good && !ReportRow(row))
            return false;
    }
    return true;
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
    const WindowMove move =
        PlanWindowMove({m_nWindowRows, m_nWindowFirst, m_nLastRow}, m_nDepth, first, count);
    if (move.rereads) {
        if (!m_bReadError)
            m_pImage->Rewind();
        m_nLastRow = -1;
    }
    if (move.kept > 0)
        memmove(m_pRows, m_pRows + int64_t{move.shift} * m_nRowBytes,
                static_cast<size_t>(move.kept) * static_cast<size_t>(m_nRowBytes));
    m_nWindowFirst = move.first;

    const int32_t end = first + count;
    const bool had_error = m_bReadError;
    if (!SkipToWindow() || !(m_hTempFile == kInvalidFile ? FillBuffer(end) : FillMapping(end)))
        return false;
    // While the message about a row was open, a paint may have moved the window, so the request starts again.
    if (m_bReadError && !had_error)
        return GetRows(first, count);
    if (m_nLastRow + 1 < m_nWindowFirst) {
        // All rows are 0 from here on. The window is moved closer to the requested rows, because clearing
        // gigabytes of rows before them would take long.
        m_nWindowFirst = std::max(m_nWindowFirst, first - kMaxZeroBytes / m_nRowBytes);
        m_nLastRow = m_nWindowFirst - 1;
    }
    if (m_nLastRow + 1 < end) {
        // Reading has ended, so the other rows are 0. In the temporary file they already are 0, because they
        // were never written.
        if (m_hTempFile == kInvalidFile)
            ZeroRows(m_nLastRow + 1, end);
        m_nLastRow = end - 1;
    }
    return true;
}
