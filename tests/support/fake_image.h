// SPDX-License-Identifier: MIT
// A page without a file. Each byte depends on its row and position. Reads are counted and can take time, and
// one row can fail.
#pragma once

#include "app/lumentadoc.h"
#include "platform/testing/testing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>

class FakeImage : public Image
{
public:
    FakeImage(int32_t width, int32_t height, int32_t bits = 1, int32_t min_is_black = 0)
    {
        Name = "fake";
        Width = width;
        Height = height;
        BitsPerPixel = bits;
        MinIsBlack = min_is_black;
        BytesPerRow = static_cast<int32_t>((int64_t{width} * bits + 31) / 32 * 4);
        XDpi = 300;
        YDpi = 300;
    }

    static uint8_t RowByte(int32_t row, int32_t i)
    {
        return static_cast<uint8_t>((static_cast<uint32_t>(row) * 2654435761U >> 13) +
                                    static_cast<uint32_t>(i) * 59 + 1);
    }
    static bool IsOne(int32_t x, int32_t y) // for a page of 1 bit per pixel
    {
        return (RowByte(y, x / 8) << x % 8 & 0x80) != 0;
    }
    static bool HoldsRow(const uint8_t* bytes, int32_t row, int32_t row_bytes)
    {
        for (int32_t i = 0; i < row_bytes; ++i)
            if (bytes[i] != RowByte(row, i))
                return false;
        return true;
    }

    int Open(const CString&) override { return 1; }
    int Close() override { return 1; }
    int ReadRows(uint8_t*, int32_t, int32_t, int32_t) override { return 0; }
    int ReadRow(uint8_t* buffer, int32_t rowBytes) override
    {
        ++reads;
        if (on_read)
            on_read(CurrentRow + 1);
        if (CurrentRow + 1 == fail_at) {
            memset(buffer, 0xee, static_cast<size_t>(rowBytes)); // a decoder leaves the buffer undefined
            ErrorText = "decoder lost";
            return 0;
        }
        ++CurrentRow;
        for (int32_t i = 0; i < rowBytes; ++i)
            buffer[i] = CurrentRow < zero_from ? RowByte(CurrentRow, i) : uint8_t{0};
        return 1;
    }
    int Rewind() override
    {
        ++rewinds;
        CurrentRow = -1;
        return 1;
    }
    int IsValid() override { return 1; }
    int32_t SkipRows(int32_t count, Skip) override
    {
        const int32_t passed = CurrentRow + 1 < zero_from ? 0 : count;
        CurrentRow += passed;
        return passed;
    }

    int64_t reads = 0;
    int64_t rewinds = 0;
    int32_t fail_at = -1;                     // row whose reading fails; -1: none
    int32_t zero_from = INT32_MAX;            // rows from this one on are zero and can be skipped
    std::function<void(int32_t row)> on_read; // before each row
};

// While it exists, the document finds these amounts of free memory, in bytes.
class MemoryFigures
{
public:
    MemoryFigures(uint32_t physical, uint32_t page_file)
    {
        s_figures = {physical, page_file};
        SetMemoryStatusSource([] { return s_figures; });
    }
    MemoryFigures(const MemoryFigures&) = delete;
    MemoryFigures& operator=(const MemoryFigures&) = delete;
    ~MemoryFigures() { SetMemoryStatusSource(nullptr); }

private:
    static inline MemoryStatus s_figures;
};

// Does what opening a page does after its file is accepted, except for creating the row store. The document
// owns the result.
inline FakeImage* PutPage(CLumentaDoc& document, std::unique_ptr<FakeImage> page)
{
    document.DeleteContents();
    FakeImage* const image = page.get();
    document.m_nWidth = page->Width;
    document.m_nDepth = page->Height;
    document.m_nRowBytes = page->BytesPerRow;
    document.m_nWindowRows = 0;
    document.m_nWindowFirst = 0;
    document.m_nLastRow = -1;
    document.m_bReadError = false;
    document.m_pImage = std::move(page);
    return image;
}

// The same, with a row store on the heap that holds at most `rows` rows.
inline FakeImage* PutPageOnHeap(CLumentaDoc& document, std::unique_ptr<FakeImage> page, int32_t rows)
{
    FakeImage* const image = PutPage(document, std::move(page));
    const MemoryFigures memory{static_cast<uint32_t>(2 * rows * image->BytesPerRow), 0};
    EXPECT_TRUE(document.AllocateRowBuffer(document.m_nDepth));
    EXPECT_EQ(document.m_nWindowRows, std::min(rows, document.m_nDepth));
    return image;
}
