// SPDX-License-Identifier: MIT
// Draws and prints the page. On the screen, draws only the clip area. Each page pixel becomes one device
// pixel. A bilevel page is drawn directly from the row store. An 8-bit page is first copied into a block of
// memory. The block begins with the bottom line. A printer receives the whole page.
#include "app/pagedraw.h"

#include "app/lumentadoc.h"
#include "app/scaleddib.h"
#include "platform/app.h"

#include <algorithm>
#include <new>

PaletteInUse::PaletteInUse(CDC* dc, CPalette* palette) : m_dc(dc)
{
    if (!palette)
        return;
    m_old = dc->SelectPalette(palette, false);
    dc->RealizePalette();
}

PaletteInUse::~PaletteInUse()
{
    if (m_old)
        m_dc->SelectPalette(m_old, false);
}

namespace
{
// A print that reduces the page releases the memory of the rows each time it has reduced this many bytes.
constexpr int32_t kReducedBytes = 8 << 20;
} // namespace

int ChooseReduction(int size, int room)
{
    const int ratio = size / room;
    if (ratio <= 2)
        return 2;
    if (ratio <= 4)
        return 4;
    const int whole = ratio / 8 * 8;
    return ratio == whole
               ? ratio
               : std::min(whole, INT32_MAX - 15) + 8; // the greatest multiple of 8 is INT32_MAX - 7
}

CSize FitInto(CSize page, CSize room)
{
    if (page.cx < 1 || page.cy < 1 || room.cx < 1 || room.cy < 1)
        return {};
    const int height = MulDiv(page.cy, room.cx, page.cx); // -1 if the result does not fit into an int
    if (height >= 0 && height <= room.cy)
        return {room.cx, height};
    return {MulDiv(page.cx, room.cy, page.cy), room.cy};
}

PageSpan ClipToPage(int clip_first, int clip_count, int page_count)
{
    const int first = std::max(clip_first, 0);
    return {first, std::min(clip_count, page_count - first)};
}

void CLumentaDoc::DrawPage(CDC* dc, const CRect& rect)
{
    if (!HasPage())
        return;
    const bool bilevel = m_pImage->BitsPerPixel == 1;
    try {
        if (!dc->IsPrinting()) {
            if (bilevel)
                DrawBilevel(dc, rect);
            else if (m_pImage->BitsPerPixel == 8)
                DrawGrey(dc, rect);
        } else if (!bilevel) {
            PrintGrey(dc, rect);
        } else if (m_nWidth <= rect.Width() && m_nDepth <= rect.Height()) {
            DrawBilevel(dc, rect);
        } else {
            PrintReduced(dc, rect);
        }
    } catch (const std::bad_alloc&) {
        dc->AbortDoc(false); // a screen keeps what has been drawn so far
    }
}

// Reads rows into the store. A drawing uses all of them at once, so the store must have room for all. On
// failure shows a message, aborts a print and returns false.
bool CLumentaDoc::FetchRows(CDC* dc, int32_t first, int32_t count)
{
    if (m_nWindowRows < count)
        AfxMessageBox("Insufficient memory to display page");
    else if (GetRows(first, count))
        return true;
    dc->AbortDoc(true);
    return false;
}

void CLumentaDoc::DrawBilevel(CDC* dc, const CRect& rect)
{
    const PageSpan columns = ClipToPage(rect.left, rect.Width(), m_nWidth);
    const PageSpan lines = ClipToPage(rect.top, rect.Height(), m_nDepth);
    if (columns.count <= 0 || lines.count <= 0)
        return;
    // The bitmap uses the rows in the store and does not copy them. It starts at the byte that holds the
    // first pixel. So it may have up to 7 more pixels on the left, which the clipping of the device hides. It
    // ends at the last byte of a row at the latest.
    const int left_byte = columns.first / 8;
    const int left = left_byte * 8;
    const int width = static_cast<int>(
        std::min(int64_t{columns.count} + columns.first - left, (int64_t{m_nRowBytes} - left_byte) * 8));
    if (width <= 0 || !FetchRows(dc, lines.first, lines.count))
        return;
    CBitmap bitmap;
    if (!bitmap.CreateBitmap(width, lines.count, RowAddress(lines.first) + left_byte, m_nRowBytes))
        return;
    CDC memory;
    if (!memory.CreateCompatibleDC(dc))
        return;
    CBitmap* const old = memory.SelectObject(&bitmap);
    // BitBlt draws 1 bits in white. If a 1 bit of the page means black, the bits are inverted.
    dc->BitBlt(left, lines.first, width, lines.count, memory, 0, 0,
               m_pImage->MinIsBlack ? SRCCOPY : NOTSRCCOPY);
    memory.SelectObject(old);
}

void CLumentaDoc::DrawGrey(CDC* dc, const CRect& rect)
{
    MakeDibInfo();
    const PageSpan columns = ClipToPage(rect.left, rect.Width(), m_nWidth);
    const PageSpan lines = ClipToPage(rect.top, rect.Height(), m_nDepth);
    if (columns.count <= 0 || lines.count <= 0)
        return;
    if (!FetchRows(dc, lines.first, lines.count))
        return;
    const int stride = RoundUpTo4(columns.count);
    const int copied = std::min(stride, m_nRowBytes - columns.first);
    // The colour table has white as entry 0. If the lowest value of the page is black, its bytes are inverted
    // while they are copied.
    const uint8_t flip = m_pImage->MinIsBlack ? 0xff : 0;
    // The block is at most as large as the window, so the free memory need not be checked.
    std::vector<uint8_t> block(static_cast<size_t>(stride) * static_cast<size_t>(lines.count));
    uint8_t* line = block.data() + block.size();
    for (int row = lines.first; row < lines.first + lines.count; ++row) {
        line -= stride;
        const uint8_t* const source = RowAddress(row) + columns.first;
        std::transform(source, source + copied, line,
                       [flip](uint8_t value) { return static_cast<uint8_t>(value ^ flip); });
    }
    SetDibSize(stride, lines.count);
    const PaletteInUse palette{dc, m_hPalette.get()};
    dc->SetDIBitsToDevice(columns.first, lines.first, columns.count, lines.count, 0, 0, block.data(),
                          *m_pDibInfo);
}

void CLumentaDoc::PrintGrey(CDC* dc, const CRect& rect)
{
    MakeDibInfo();
    const int stride = RoundUpTo4(m_nWidth);
    const CSize target = FitInto({stride, m_nDepth}, {rect.Width(), rect.Height()});
    // `target` has the proportions of the page with its lines padded to `stride`. The padding is not drawn.
    const int target_width = MulDiv(target.cx, m_nWidth, stride);
    if (target_width <= 0 || target.cy <= 0)
        return;
    if (!FetchRows(dc, 0, m_nDepth))
        return;
    // The stored rows are the bitmap. A negative height means that the top line comes first.
    SetDibSize(m_nRowBytes, m_nDepth);
    m_pDibInfo->height = -m_nDepth;
    const PaletteInUse palette{dc, m_hPalette.get()};
    dc->SetStretchBltMode(HALFTONE);
    dc->StretchDIBits(0, 0, target_width, target.cy, 0, 0, m_nWidth, m_nDepth, RowAddress(0), *m_pDibInfo,
                      m_pImage->MinIsBlack ? NOTSRCCOPY : SRCCOPY);
}

// Prints a bilevel page that is larger than the printable area: reduces it to grey, then fits it into the
// area. The width and the height of the grey picture are about half those of the area, in pixels. The grey
// values keep detail that would be lost if the smaller picture were bilevel.
void CLumentaDoc::PrintReduced(CDC* dc, const CRect& rect)
{
    const int room_x = std::max(rect.Width() / 2, 1);
    const int room_y = std::max(rect.Height() / 2, 1);
    const int factor = std::min(
        std::max(ChooseReduction(m_nWidth, room_x), ChooseReduction(m_nDepth, room_y)), kMaxReduction);
    CScaledDIBitmap bitmap{m_nWidth, m_nDepth, factor, m_pImage->MinIsBlack};
    if (!bitmap.IsComplete()) {
        dc->AbortDoc(false);
        return;
    }
    const uint64_t page = m_nPageSerial;
    const int32_t lines = std::max(kReducedBytes / std::max(m_nRowBytes, 1) / factor, 1);
    // `until` and `lines` count lines of the reduced picture. If ScaleRows fails, the remaining lines are
    // blank.
    for (int32_t until = 0; until < bitmap.m_nHeight;) {
        until += std::min(lines, bitmap.m_nHeight - until);
        if (!ScaleRows(&bitmap, until))
            break;
        ReleaseRowPages();
    }
    if (page != m_nPageSerial || WorkInterrupted()) {
        dc->AbortDoc(true);
        return;
    }
    const CSize target = FitInto({bitmap.m_nWidth, bitmap.m_nHeight}, {rect.Width(), rect.Height()});
    if (target.cx <= 0 || target.cy <= 0)
        return;
    const PaletteInUse palette{dc, bitmap.GetPalette()};
    dc->SetStretchBltMode(HALFTONE);
    dc->StretchDIBits(0, 0, target.cx, target.cy, 0, 0, bitmap.m_nWidth, bitmap.m_nHeight,
                      bitmap.m_pBits.get(), *bitmap.m_pInfo, SRCCOPY);
}

// Makes m_pDibInfo, once per page.
void CLumentaDoc::MakeDibInfo()
{
    if (m_pDibInfo)
        return;
    auto info = std::make_unique<BitmapInfo>();
    info->x_pixels_per_metre = MulDiv(m_pImage->XDpi, 3937, 100);
    info->y_pixels_per_metre = MulDiv(m_pImage->YDpi, 3937, 100);
    if (m_hPalette) {
        const std::vector<COLORREF>& ramp = m_hPalette->GetPaletteEntries();
        for (size_t i = 0; i < ramp.size() && i < info->colors.size(); ++i) {
            const COLORREF color = ramp[i];
            info->colors[i] = {static_cast<uint8_t>(color), static_cast<uint8_t>(color >> 8),
                               static_cast<uint8_t>(color >> 16), 0};
        }
    }
    m_pDibInfo = std::move(info);
    SetDibSize(RoundUpTo4(m_nWidth), m_nDepth);
}

void CLumentaDoc::SetDibSize(int32_t stride, int32_t lines)
{
    m_pDibInfo->width = stride;
    m_pDibInfo->height = lines;
    m_pDibInfo->image_size = static_cast<uint32_t>(stride) * static_cast<uint32_t>(lines);
}
