// The reduced picture of a bilevel page: 8 bits of grey a pixel, filled line by line from the page's rows.
#pragma once

#include "platform/dc.h"

#include <kesterlib/scale.h>

#include <cstdlib>
#include <memory>

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

// Either complete (pixels, header and palette are there) or empty, where memory was short.
class CScaledDIBitmap : public CObject
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // Of a page of width x height pixels, each line and pixel standing for scale of its rows and pixels; what
    // does not fill a whole cell at the right and at the bottom is left out. polarity is the image's
    // MinIsBlack. Says so where the pixels would take more than half of what memory is free.
    CScaledDIBitmap(int32_t width, int32_t height, int32_t scale, int32_t polarity);
    ~CScaledDIBitmap() override;

    bool IsComplete() const { return m_pBits && m_hPalette && m_pInfo; }
    bool HasAllLines() const { return m_nRowsDone + 1 == m_nHeight; }
    // True while a further batch can make lines: the engine is there, and not all lines are.
    bool IsGrowing() const { return IsComplete() && m_pEngine && !HasAllLines(); }

    // Gives the engine the page rows that it has not seen yet, out of count rows from page row firstRow on,
    // stride bytes apart, packed. The lines finished by them, none where rows are missing in between; -1
    // where the bitmap is not complete or its engine is gone. A refused line ends the engine, and a message
    // says so: the page may be closed behind it, and this object with it.
    int32_t AddRows(const uint8_t* rows, int32_t firstRow, int32_t count, ptrdiff_t stride);
    void FinishScaling();                                                              // no further lines
    CPalette* GetPalette() const { return IsComplete() ? m_hPalette.get() : nullptr; } // still the bitmap's

    std::unique_ptr<CPalette> m_hPalette; // the grey ramp of the polarity
    std::unique_ptr<BitmapInfo> m_pInfo;  // the same ramp; its width is m_nStride
    int32_t m_nScale;
    int32_t m_nWidth;  // pixels in a line
    int32_t m_nHeight; // lines
    int32_t m_nStride; // bytes from line to line
    uint32_t m_nSize;  // bytes of the pixels
    // The bottom line first; 0 until made. Lines that nobody has made yet take no memory.
    std::unique_ptr<uint8_t[], FreeDeleter> m_pBits;
    int32_t m_nRowsDone = -1;          // the last line delivered
    int32_t m_nLastSource = -1;        // the last page row that the engine was given
    scale_engine* m_pEngine = nullptr; // owned; null once reduction has ended

private:
    bool Make(int32_t width, int32_t height, int32_t polarity);
};

// Takes a finished line for the CScaledDIBitmap that is user_data. 0 if that is none or has no such line.
int32_t row_sink(int32_t out_row, int32_t out_width, const uint8_t* grey_row, void* user_data);

// Goes with kHintReducedLines: the batch of lines just made.
class ScaleUpdateHint : public CObject
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    ScaleUpdateHint(int32_t first, int32_t last) : m_nFirstLine(first), m_nLastLine(last) {}

    int32_t m_nFirstLine;
    int32_t m_nLastLine; // the line after the batch
};
