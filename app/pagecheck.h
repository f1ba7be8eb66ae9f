// SPDX-License-Identifier: MIT
// The check of a page: decodes its rows into the row store and counts their ink. Receives the document. The
// Page Information dialog calls its steps and shows the result.
#pragma once

#include <array>
#include <cstdint>

class CLumentaDoc;

constexpr int kInkZones = 32; // vertical strips of equal width, side by side across the page

// Returns the first pixel of a zone. A zone ends before the first pixel of the next one. For zone kInkZones,
// returns the width.
[[nodiscard]] constexpr int32_t ZoneStart(int32_t width, int zone)
{
    return static_cast<int32_t>(int64_t{width} * zone / kInkZones);
}

// Returns `part` in per cent of `whole`; 0 if whole is 0.
[[nodiscard]] double PerCent(int64_t part, int64_t whole);

// Counts the ink in rows of a page. At 1 bit per pixel, a black pixel counts 1. At 8 bits, a pixel counts by
// its darkness, from 0 for white to 255 for black.
class InkCount
{
public:
    // The arguments are fields of the Image: Width, BitsPerPixel (1 or 8) and MinIsBlack.
    InkCount(int32_t width, int32_t bits_per_pixel, int32_t min_is_black);

    // Adds `count` rows, stride bytes apart, in the format of Image.
    void Add(const uint8_t* rows, int32_t stride, int32_t count);

    [[nodiscard]] int32_t Rows() const { return m_rows; }
    // Return the ink of the added rows in per cent, for the whole width and for one zone. 100 means that all
    // pixels are black. The result is 0 if there are no pixels.
    [[nodiscard]] double PagePerCent() const;
    [[nodiscard]] double ZonePerCent(int zone) const;

private:
    // Returns the ink of some columns in per cent. `sum` is the sum of their samples.
    [[nodiscard]] double Share(int64_t sum, int32_t columns) const;

    int32_t m_bits;
    int32_t m_min_is_black;
    int32_t m_rows = 0;
    std::array<int32_t, kInkZones + 1> m_starts{}; // the first pixel of each zone, and the width
    std::array<int64_t, kInkZones> m_sums{};       // the sum of the samples of each zone
};

// Checks the page of a document once, in steps.
class PageCheck
{
public:
    explicit PageCheck(CLumentaDoc* document); // the document must have a page, and must outlive this object

    enum class Result : uint8_t { unfinished, done, pageClosed };
    // Checks rows for a few milliseconds. Returns unfinished if rows are left, done after the last one, and
    // pageClosed if the page was closed. A damaged row is reported in a message, as in a paint. Throws
    // std::bad_alloc if memory is short.
    [[nodiscard]] Result Step();

    [[nodiscard]] bool IsPageOpen() const; // if false, only Step may be called
    [[nodiscard]] int Progress() const;    // per cent of the rows that can be checked
    // Returns whether there are no more rows to check.
    [[nodiscard]] bool IsComplete() const { return !m_can_count || m_next >= KnownRows(); }
    [[nodiscard]] int32_t GoodRows() const; // number of rows that were found to be good so far
    // Returns whether ink can be counted. It cannot if the page is damaged and the row store no longer has
    // its good rows.
    [[nodiscard]] bool CanCount() const { return m_can_count; }
    [[nodiscard]] const InkCount& Ink() const { return m_ink; } // the ink of the good rows

private:
    // Number of rows before the first bad row; all rows if no bad row is known.
    [[nodiscard]] int32_t KnownRows() const;

    CLumentaDoc* m_document;
    uint64_t m_page; // serial of the page, see GetPageSerial
    bool m_can_count;
    int32_t m_next = 0;       // the first row that is not counted yet
    int64_t m_unreleased = 0; // bytes of rows counted since the last ReleaseRowPages
    InkCount m_ink;
};
