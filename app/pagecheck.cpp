// SPDX-License-Identifier: MIT
// Checks a page in steps of a few milliseconds. A step requests rows from the document, counts their ink in
// the row store, and releases their memory after each 8 MB of rows.
#include "app/pagecheck.h"

#include "app/lumentadoc.h"

#include <algorithm>
#include <chrono>
#include <kesterlib/scale.h>
#include <numeric>

namespace
{
// Rows of this size are decoded, then counted while they are in the cache.
constexpr int32_t kChunkBytes = 64 << 10;
constexpr int64_t kReleaseBytes = 8 << 20; // after rows of this size, the memory of the store is released
constexpr std::chrono::milliseconds kStepTime{4}; // after this time, Step returns
constexpr int32_t kBlack8 = 255;                  // the ink of a black pixel at 8 bits per pixel

// Returns whether the ink can be counted. After a bad row, the document does not read the page again. If a
// heap store no longer has the first rows, they are lost.
bool CanCountInk(const CLumentaDoc& document)
{
    const int32_t bits = document.m_pImage->BitsPerPixel;
    const bool first_rows_lost = document.m_hTempFile == kInvalidFile && document.m_nWindowFirst > 0;
    return (bits == 1 || bits == 8) && !(document.m_bReadError && first_rows_lost);
}
} // namespace

double PerCent(int64_t part, int64_t whole)
{
    return whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

InkCount::InkCount(int32_t width, int32_t bits_per_pixel, int32_t min_is_black)
    : m_bits(bits_per_pixel), m_min_is_black(min_is_black)
{
    for (int zone = 0; zone <= kInkZones; ++zone)
        m_starts[static_cast<size_t>(zone)] = ZoneStart(width, zone);
}

void InkCount::Add(const uint8_t* rows, int32_t stride, int32_t count)
{
    if (m_bits == 1)
        count_ones_by_zone(rows, stride, count, m_starts.data(), kInkZones, m_sums.data());
    else
        for (int32_t row = 0; row < count; ++row) {
            const uint8_t* const samples = rows + int64_t{row} * stride;
            for (size_t zone = 0; zone < kInkZones; ++zone)
                m_sums[zone] +=
                    std::accumulate(samples + m_starts[zone], samples + m_starts[zone + 1], int64_t{0});
        }
    m_rows += count;
}

double InkCount::Share(int64_t sum, int32_t columns) const
{
    const int64_t full = int64_t{m_bits == 1 ? 1 : kBlack8} * columns * m_rows;
    return PerCent(m_min_is_black ? full - sum : sum, full);
}

double InkCount::PagePerCent() const
{
    return Share(std::accumulate(m_sums.begin(), m_sums.end(), int64_t{0}), m_starts[kInkZones]);
}

double InkCount::ZonePerCent(int zone) const
{
    const auto i = static_cast<size_t>(zone);
    return Share(m_sums[i], m_starts[i + 1] - m_starts[i]);
}

PageCheck::PageCheck(CLumentaDoc* document)
    : m_document(document), m_page(document->GetPageSerial()), m_can_count(CanCountInk(*document)),
      m_ink(document->m_nWidth, document->m_pImage->BitsPerPixel, document->m_pImage->MinIsBlack)
{
}

PageCheck::Result PageCheck::Step()
{
    const auto end = std::chrono::steady_clock::now() + kStepTime;
    const int32_t chunk = std::max(kChunkBytes / std::max(m_document->m_nRowBytes, 1), 1);
    do {
        if (!IsPageOpen())
            return Result::pageClosed;
        if (IsComplete())
            return Result::done;
        const int32_t count = std::min({chunk, m_document->m_nWindowRows, KnownRows() - m_next});
        if (!m_document->GetRows(m_next, count) || m_page != m_document->GetPageSerial())
            return Result::pageClosed;
        // GetRows may have found a bad row. KnownRows is then smaller than before.
        const int32_t good = std::min(count, KnownRows() - m_next);
        if (good > 0)
            m_ink.Add(m_document->RowAddress(m_next), m_document->m_nRowBytes, good);
        m_next += count;
        m_unreleased += int64_t{count} * m_document->m_nRowBytes;
        if (m_unreleased >= kReleaseBytes) {
            m_document->ReleaseRowPages();
            m_unreleased = 0;
        }
    } while (std::chrono::steady_clock::now() < end);
    return Result::unfinished;
}

bool PageCheck::IsPageOpen() const
{
    return m_page == m_document->GetPageSerial() && m_document->HasPage();
}

int PageCheck::Progress() const
{
    return static_cast<int>(int64_t{100} * std::min(m_next, KnownRows()) / std::max(KnownRows(), 1));
}

int32_t PageCheck::GoodRows() const
{
    return IsComplete() ? KnownRows() : m_next;
}

int32_t PageCheck::KnownRows() const
{
    return m_document->m_bReadError ? m_document->m_nErrorRow : m_document->m_nDepth;
}
