// SPDX-License-Identifier: MIT
// A page of 1 bit per pixel in memory, which can be drawn as a view draws it.
#pragma once

#include "platform/dc.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

struct TestPage {
    int width = 0;
    int height = 0;
    ptrdiff_t row_bytes = 0;
    std::vector<uint8_t> rows; // 1 is white

    TestPage() = default;
    TestPage(int page_width, int page_height)
        : width(page_width), height(page_height), row_bytes((page_width + 7) / 8),
          rows(static_cast<size_t>(row_bytes) * static_cast<size_t>(page_height))
    {
    }
    // No two places look alike, so that pixels that were moved wrongly are detected.
    static TestPage Random(int width, int height, unsigned seed = 1)
    {
        TestPage page{width, height};
        std::mt19937 random{seed};
        for (uint8_t& byte : page.rows)
            byte = static_cast<uint8_t>(random());
        return page;
    }
    static TestPage Chequered(int width, int height)
    {
        TestPage page{width, height};
        for (size_t i = 0; i < page.rows.size(); ++i)
            page.rows[i] = i / static_cast<size_t>(page.row_bytes) % 2 ? 0xaa : 0x55;
        return page;
    }
    bool White(int x, int y) const
    {
        return x >= width || y >= height ||
               (rows[static_cast<size_t>(y * row_bytes + x / 8)] >> (7 - x % 8) & 1);
    }
    // Draws the part of the page in `box`.
    void Draw(CDC* dc, const CRect& box, UINT operation = SRCCOPY) const
    {
        CBitmap bitmap;
        CDC memory;
        const int left = std::max(0, box.left);
        const int top = std::max(0, box.top);
        if (!bitmap.CreateBitmap(width, height, rows.data(), row_bytes) || left >= width || top >= height)
            return;
        memory.SelectObject(&bitmap);
        dc->BitBlt(left, top, box.right - left, box.bottom - top, memory, left, top, operation);
    }
};
