#include "app/pagecheck.h"

#include "app/lumentadoc.h"

#include <algorithm>
#include <chrono>
#include <kesterlib/scale.h>
#include <numeric>

namespace
{
constexpr int32_t kChunkBytes = 64 << 10;  // of rows, decoded and counted while they are in the cache
constexpr int64_t kReleaseBytes = 8 << 20; // of rows, after which their memory is released
constexpr std::chrono::milliseconds kStepTime{4};
constexpr uint64_t kBlack8 = 255;

// A damaged page reads as zeros once the heap store has moved on: to go back would lose the good rows.
bool CanCount(const CLumentaDoc& document)
{
    const int32_t bits = document.m_pImage->BitsPerPixel;
    const bool moved_on = document.m_hTempFile == kInvalidFile && document.m_nWindowFirst > 0;
    return (bits == 1 || bits == 8) && !(document.m_bReadError && moved_on);
}
} // namespace

double PerCent(uint64_t part, uint64_t whole)
{
    return whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

InkCount::InkCount(int32_t width, int32_t bits_per_pixel, int32_t min_is_black)
    : m_width(width), m_bits(bits_per_pixel), m_min_is_black(min_is_black)
{
}

void InkCount::Add(const uint8_t* rows, int32_t stride, int32_t count)
{
    for (int zone = 0; zone < kInkZones; ++zone) {
        const int32_t first = ZoneStart(m_width, zone);
        const int32_t columns = ZoneStart(m_width, zone + 1) - first;
        uint64_t sum = 0; // of the samples
        if (m_bits == 1) {
            sum = static_cast<uint64_t>(count_ones(rows, stride, count, first, columns));
        } else {
            for (int32_t row = 0; row < count; ++row) {
                const uint8_t* const samples = rows + int64_t{row} * stride + first;
                sum = std::accumulate(samples, samples + columns, sum);
            }
        }
        const uint64_t full =
            (m_bits == 1 ? 1 : kBlack8) * static_cast<uint64_t>(columns) * static_cast<uint64_t>(count);
        m_ink[static_cast<size_t>(zone)] += m_min_is_black ? full - sum : sum;
    }
    m_rows += count;
}

uint64_t InkCount::FullInk(int64_t columns) const
{
    return (m_bits == 1 ? 1 : kBlack8) * static_cast<uint64_t>(columns) * static_cast<uint64_t>(m_rows);
}

double InkCount::PagePerCent() const
{
    return PerCent(std::accumulate(m_ink.begin(), m_ink.end(), uint64_t{0}), FullInk(m_width));
}

double InkCount::ZonePerCent(int zone) const
{
    return PerCent(m_ink[static_cast<size_t>(zone)],
                   FullInk(ZoneStart(m_width, zone + 1) - ZoneStart(m_width, zone)));
}

PageCheck::PageCheck(CLumentaDoc* document)
    : m_document(document), m_page(document->GetPageSerial()), m_can_count(CanCount(*document)),
      m_ink(document->m_nWidth, document->m_pImage->BitsPerPixel, document->m_pImage->MinIsBlack)
{
}

PageCheck::Result PageCheck::Step()
{
    const auto end = std::chrono::steady_clock::now() + kStepTime;
    const int32_t chunk = std::max(kChunkBytes / std::max(m_document->m_nRowBytes, 1), 1);
    do {
        if (m_page != m_document->GetPageSerial() || !m_document->HasPage())
            return Result::pageClosed;
        if (!m_can_count || m_next >= GoodRows())
            return Result::done;
        const int32_t count = std::min({chunk, m_document->m_nWindowRows, GoodRows() - m_next});
        if (!m_document->GetRows(m_next, count) || m_page != m_document->GetPageSerial())
            return Result::pageClosed;
        const int32_t good = std::min(count, GoodRows() - m_next);
        if (good > 0)
            m_ink.Add(m_document->RowAddress(m_next), m_document->m_nRowBytes, good);
        m_next += count;
        m_unreleased += int64_t{count} * m_document->m_nRowBytes;
        if (m_unreleased >= kReleaseBytes) {
            m_document->ReleaseRowPages();
            m_unreleased = 0;
        }
    } while (std::chrono::steady_clock::now() < end);
    return Result::goesOn;
}

int PageCheck::Progress() const
{
    return static_cast<int>(int64_t{100} * std::min(m_next, GoodRows()) / std::max(GoodRows(), 1));
}

int32_t PageCheck::GoodRows() const
{
    return m_document->m_bReadError ? m_document->m_nErrorRow : m_document->m_nDepth;
}

bool PageCheck::HasBadRow() const
{
    return m_document->m_bReadError;
}
