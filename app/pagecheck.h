// The check of a page: its rows are decoded into the row store, and their ink is counted.
#pragma once

#include <array>
#include <cstdint>

class CLumentaDoc;

constexpr int kInkZones = 32; // upright strips of equal width across the page

// The first pixel of a zone, 0 to kInkZones: zone z ends before the first pixel of zone z + 1.
constexpr int32_t ZoneStart(int32_t width, int zone)
{
    return static_cast<int32_t>(int64_t{width} * zone / kInkZones);
}

// 0 to 100; 0 if the whole is 0.
double PerCent(int64_t part, int64_t whole);

// The ink of rows of a page. A black pixel counts 1 if a pixel has 1 bit; with 8 bits it counts 255, and a
// grey one by its darkness.
class InkCount
{
public:
    // min_is_black: 0 if the lowest sample is white, as of Image.
    InkCount(int32_t width, int32_t bits_per_pixel, int32_t min_is_black);

    void Add(const uint8_t* rows, int32_t stride, int32_t count);

    int32_t Rows() const { return m_rows; }
    double PagePerCent() const;
    double ZonePerCent(int zone) const; // 0 for a zone without pixels

private:
    double Share(int64_t sum, int32_t columns) const; // per cent; `sum` is of the samples of these columns

    int32_t m_bits;
    int32_t m_min_is_black;
    int32_t m_rows = 0;
    std::array<int32_t, kInkZones + 1> m_starts{}; // the first pixel of each zone, and the width
    std::array<int64_t, kInkZones> m_sums{};       // of the samples of each zone
};

// Goes once over the page of a document, in steps.
class PageCheck
{
public:
    explicit PageCheck(CLumentaDoc* document); // with a page

    enum class Result : uint8_t { goesOn, done, pageClosed };
    // Some rows, for a few milliseconds. A damaged row is reported in a box, as in a paint. Throws
    // std::bad_alloc if memory is short.
    Result Step();

    bool IsPageOpen() const; // false after the page was closed: then only Step may be called
    int Progress() const;    // per cent of the page
    bool IsComplete() const { return !m_can_count || m_next >= KnownRows(); }
    int32_t GoodRows() const; // rows found to be good so far
    // Returns false if no ink can be counted: the page is damaged, and the row store no longer has its good
    // rows.
    bool CanCount() const { return m_can_count; }
    const InkCount& Ink() const { return m_ink; } // of the good rows

private:
    int32_t KnownRows() const; // all rows, or those before the first bad one if that is known

    CLumentaDoc* m_document;
    uint64_t m_page;
    bool m_can_count;
    int32_t m_next = 0; // the first row not yet counted
    int64_t m_unreleased = 0;
    InkCount m_ink;
};
