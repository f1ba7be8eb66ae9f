// SPDX-License-Identifier: MIT
// Makes the bitmap and the scale engine, passes page rows to the engine, and stores the lines that the engine
// returns.
#include "app/scaleddib.h"

#include "app/pagedraw.h"
#include "platform/app.h"
#include "platform/freememory.h"

#include <algorithm>
#include <new>
#include <utility>

namespace
{
constexpr int32_t kPixelsPerInch = 72; // nominal, because the picture is only displayed
} // namespace

const CRuntimeClass CScaledDIBitmap::classRecord{"CScaledDIBitmap", &CObject::classRecord, nullptr};
const CRuntimeClass ScaleUpdateHint::classRecord{"ScaleUpdateHint", &CObject::classRecord, nullptr};

CScaledDIBitmap::CScaledDIBitmap(int32_t width, int32_t height, int32_t scale, int32_t polarity)
    : m_nScale(scale), m_nWidth(width / scale), m_nHeight(height / scale), m_nStride(RoundUpTo4(m_nWidth)),
      m_nSize(static_cast<uint32_t>(m_nStride) * static_cast<uint32_t>(m_nHeight))
{
    if (int64_t{m_nStride} * m_nHeight > LargestBlock()) {
        AfxMessageBox("Insufficient memory to scale image");
        return;
    }
    bool made = false;
    try {
        made = Make(width, height, polarity);
    } catch (const std::bad_alloc&) {
        made = false;
    }
    if (!made) {
        FinishScaling();
        m_pBits.reset();
        m_hPalette.reset();
        m_pInfo.reset();
    }
}

CScaledDIBitmap::~CScaledDIBitmap()
{
    FinishScaling();
}

bool CScaledDIBitmap::Make(int32_t width, int32_t height, int32_t polarity)
{
    m_pBits.reset(static_cast<uint8_t*>(std::calloc(std::max(m_nSize, 1U), 1)));
    if (!m_pBits)
        return false;
    m_pInfo = std::make_unique<BitmapInfo>();
    m_pInfo->width = m_nStride;
    m_pInfo->height = m_nHeight;
    m_pInfo->image_size = m_nSize;
    m_pInfo->x_pixels_per_metre = MulDiv(kPixelsPerInch, 3937, 100);
    m_pInfo->y_pixels_per_metre = m_pInfo->x_pixels_per_metre;

    // The value of a pixel is higher if its cell has more 1 bits. The ramp decides whether 1 bits are black
    // or white.
    std::vector<COLORREF> ramp(m_pInfo->colors.size());
    for (unsigned i = 0; i < ramp.size(); ++i) {
        const auto grey = static_cast<uint8_t>(polarity ? i : 255 - i);
        m_pInfo->colors[i] = {grey, grey, grey, 0};
        ramp[i] = Grey(grey);
    }
    m_hPalette = std::make_unique<CPalette>(std::move(ramp));
    m_pEngine = make_scale_engine(m_nScale, width, height, 0, static_cast<CObject*>(this));
    return m_pEngine != nullptr;
}

void CScaledDIBitmap::FinishScaling()
{
    if (scale_engine* const engine = std::exchange(m_pEngine, nullptr))
        finish_scaling(engine, nullptr, row_sink);
}

int32_t CScaledDIBitmap::AddRows(const uint8_t* rows, int32_t firstRow, int32_t count, ptrdiff_t stride)
{
    if (!IsComplete() || !m_pEngine)
        return -1;
    const int32_t before = m_nRowsDone;
    const int64_t skip = std::max<int64_t>(int64_t{m_nLastSource} + 1 - firstRow, 0);
    if (firstRow + skip != int64_t{m_nLastSource} + 1)
        return 0; // rows are missing in between
    for (int64_t row = skip; row < count && !HasAllLines(); ++row) {
        if (!scale_one_row(m_pEngine, rows + row * stride, row_sink)) {
            FinishScaling();
            const int32_t finished = m_nRowsDone - before;
            AfxMessageBox("Scaling failed"); // this object may be deleted while the message is open
            return finished;
        }
        ++m_nLastSource;
    }
    return m_nRowsDone - before;
}

int32_t row_sink(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data)
{
    auto* const bitmap = DynamicDowncast<CScaledDIBitmap>(static_cast<CObject*>(user_data));
    if (!bitmap || out_row >= bitmap->m_nHeight)
        return 0;
    const ptrdiff_t line = ptrdiff_t{bitmap->m_nHeight} - out_row - 1;
    std::copy_n(grey_row, std::min(out_width, bitmap->m_nWidth),
                bitmap->m_pBits.get() + line * bitmap->m_nStride);
    ++bitmap->m_nRowsDone;
    return 1;
}
