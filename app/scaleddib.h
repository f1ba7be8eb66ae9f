// SPDX-License-Identifier: MIT
// The reduced picture of a bilevel page: 8 bits of grey per pixel, made line by line from the page's rows.
// CLumentaDoc passes the rows. The scale engine of kesterlib reduces them and passes finished lines to
// row_sink.
#pragma once

#include "platform/dc.h"

#include <kesterlib/scale.h>

#include <cstdlib>
#include <memory>

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

// A bitmap is either complete, with pixels, header and palette, or empty because memory was short.
class CScaledDIBitmap : public CObject
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    //   width, height  sides of the page in pixels
    //   scale          side of a cell in page pixels; each cell becomes one pixel
    //   polarity       the image's MinIsBlack
    //
    // Incomplete cells at the right and bottom edge are dropped. If the pixels would take more than half of
    // the free memory, shows a message and leaves the bitmap empty.
    CScaledDIBitmap(int32_t width, int32_t height, int32_t scale, int32_t polarity);
    ~CScaledDIBitmap() override;

    [[nodiscard]] bool IsComplete() const { return m_pBits && m_hPalette && m_pInfo; }
    [[nodiscard]] bool HasAllLines() const { return m_nRowsDone + 1 == m_nHeight; }
    // Returns whether a further batch can make lines: the engine exists, and some lines do not exist yet.
    [[nodiscard]] bool IsGrowing() const { return IsComplete() && m_pEngine && !HasAllLines(); }

    // Passes `count` packed page rows to the engine, from page row firstRow on, stride bytes apart. Rows that
    // the engine has already received are skipped.
    //
    // Returns the number of lines that were finished; 0 if rows are missing before firstRow; -1 if the bitmap
    // is not complete or has no engine. If a line is refused, ends the engine and shows a message. While the
    // message is open, the page may be closed and this object deleted.
    [[nodiscard]] int32_t AddRows(const uint8_t* rows, int32_t firstRow, int32_t count, ptrdiff_t stride);
    void FinishScaling(); // frees the engine; no more lines are made
    // Returns the palette, which the bitmap owns; null if the bitmap is not complete.
    [[nodiscard]] CPalette* GetPalette() const { return IsComplete() ? m_hPalette.get() : nullptr; }

    std::unique_ptr<CPalette> m_hPalette; // the grey ramp, in the order that the polarity requires
    std::unique_ptr<BitmapInfo> m_pInfo;  // header with the same ramp; its width is m_nStride
    int32_t m_nScale;                     // side of a cell in page pixels
    int32_t m_nWidth;                     // pixels per line
    int32_t m_nHeight;                    // lines
    int32_t m_nStride;                    // bytes from one line to the next
    uint32_t m_nSize;                     // bytes of the pixels
    // The bottom line comes first. The bytes of a line are 0 until it is made; until then they take no
    // memory.
    std::unique_ptr<uint8_t[], FreeDeleter> m_pBits;
    int32_t m_nRowsDone = -1;          // the last line made; -1 before the first
    int32_t m_nLastSource = -1;        // the last page row passed to the engine; -1 before the first
    scale_engine* m_pEngine = nullptr; // owned; null once reduction has ended

private:
    [[nodiscard]] bool Make(int32_t width, int32_t height, int32_t polarity);
};

// Receives a finished line from the engine. user_data is the bitmap, as a CObject*. Returns 1, or 0 if
// user_data is no CScaledDIBitmap or the bitmap has no such line.
int32_t row_sink(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data);

// The object that is passed with kHintReducedLines: the batch of lines just made.
class ScaleUpdateHint : public CObject
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    ScaleUpdateHint(int32_t first, int32_t last) : m_nFirstLine(first), m_nLastLine(last) {}

    int32_t m_nFirstLine; // the first line of the batch
    int32_t m_nLastLine;  // the line after the batch
};
