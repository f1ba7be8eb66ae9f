// SPDX-License-Identifier: MIT
// Reduces the page in batches of lines. Each batch notifies the views, and their paint requests the next
// batch. So input is handled between two batches, without a thread or a timer.
#include "app/linesperupdatedialog.h"
#include "app/lumentadoc.h"
#include "app/pagedraw.h"
#include "app/scaleddib.h"
#include "app/usermsg.h"
#include "platform/app.h"

#include <algorithm>
#include <new>

namespace
{
constexpr int32_t kStepBytes = 1 << 20; // bytes of rows that are reduced between two calls of WorkInterrupted
} // namespace

bool CLumentaDoc::MakeScaledBitmap(int32_t scale)
{
    try {
        if (m_pScaled && m_pScaled->m_nScale != scale)
            m_pScaled.reset();
        if (!m_pScaled)
            m_pScaled = std::make_unique<CScaledDIBitmap>(m_nWidth, m_nDepth, scale,
                                                          m_pImage ? m_pImage->MinIsBlack : 0);
        if (m_pScaled->IsComplete()) {
            ScaleNextLines();
            return m_pScaled != nullptr; // null if the page was closed while a message was open
        }
    } catch (const std::bad_alloc&) { // handled below, as a bitmap that is not complete
    }
    m_pScaled.reset();
    AfxMessageBox("Unable to create scaled bitmap");
    return false;
}

void CLumentaDoc::ScaleNextLines()
{
    if (!m_pScaled || !m_pScaled->IsComplete())
        return;
    const int32_t start = m_pScaled->m_nRowsDone + 1;
    const auto until =
        static_cast<int32_t>(std::min(int64_t{start} + m_nLinesPerUpdate, int64_t{m_pScaled->m_nHeight}));
    const uint64_t page = m_nPageSerial;
    bool scaled = false;
    BeginWaitCursor();
    try {
        scaled = ScaleRows(m_pScaled.get(), until);
    } catch (const std::bad_alloc&) {
        scaled = false;
    }
    const bool interrupted = WorkInterrupted();
    EndWaitCursor();
    if (page != m_nPageSerial)
        return;                     // the page was closed while a message was open
    if (!scaled && !interrupted) {  // an interruption ends only this batch
        m_pScaled->FinishScaling(); // otherwise each paint would try again and show the message again
        AfxMessageBox("Scaling failed");
        if (page != m_nPageSerial)
            return;
    }
    ScaleUpdateHint hint{start, until};
    UpdateAllViews(nullptr, kHintReducedLines, &hint);
}

bool CLumentaDoc::IsScaling() const
{
    return m_pScaled && m_pScaled->IsGrowing();
}

bool CLumentaDoc::ScaleRows(CScaledDIBitmap* bitmap, int32_t untilLine)
{
    if (!bitmap || !bitmap->IsComplete())
        return false;
    const uint64_t page = m_nPageSerial;
    while (!bitmap->HasAllLines() && bitmap->m_nRowsDone + 1 < untilLine) {
        const int32_t next = bitmap->m_nLastSource + 1;
        const int32_t count = std::min(bitmap->m_nScale * untilLine - next, m_nWindowRows);
        if (count < 1)
            return false;
        // GetRows and AddRows may show a message, and the page may be closed while it is open.
        if (!GetRows(next, count) || page != m_nPageSerial)
            return false;
        const int32_t step = std::max(kStepBytes / m_nRowBytes, 1);
        for (int32_t done = 0, rows = 0; done < count; done += rows) {
            rows = std::min(step, count - done);
            if (WorkInterrupted() ||
                bitmap->AddRows(RowAddress(next + done), next + done, rows, m_nRowBytes) < 0 ||
                page != m_nPageSerial)
                return false;
        }
    }
    return true;
}

bool CLumentaDoc::BlitScaled(CDC* dc, const CRect& rect)
{
    if (!m_pScaled || !m_pScaled->IsComplete())
        return false;
    // The device reads the pixels directly from the bitmap, and only those that it shows. So a paint of new
    // lines takes only the time for these lines.
    const int width = std::min(rect.Width(), m_pScaled->m_nWidth);
    const int height = std::min(rect.Height(), m_pScaled->m_nHeight);
    const PaletteInUse palette{dc, m_pScaled->m_hPalette.get()};
    return dc->SetDIBitsToDevice(0, 0, width, height, 0, m_pScaled->m_nHeight - height,
                                 m_pScaled->m_pBits.get(), *m_pScaled->m_pInfo) > 0;
}

void CLumentaDoc::OnLinesPerUpdate()
{
    CLinesPerUpdateDialog dialog;
    dialog.m_nLines = m_nLinesPerUpdate;
    if (dialog.DoModal() != IDOK)
        return;
    m_nLinesPerUpdate = dialog.m_nLines;
    if (CWinApp* const app = AfxGetApp())
        app->WriteProfileInt(kAppSettings, kLinesPerUpdate, m_nLinesPerUpdate);
}
