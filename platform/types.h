// SPDX-License-Identifier: MIT
// The plain types of this layer: message parameters, points, rectangles, colours. All coordinates of this
// layer are device pixels.
#pragma once

#include <cstdint>

using UINT = uint32_t;
using WPARAM = uint64_t;
using LPARAM = int64_t;
using LRESULT = int64_t;
using COLORREF = uint32_t; // 0xffRRGGBB, like the pixels of a 32-bit buffer

struct CPoint {
    int x = 0;
    int y = 0;
    friend bool operator==(const CPoint&, const CPoint&) = default;
};

struct CSize {
    int cx = 0;
    int cy = 0;
    friend bool operator==(const CSize&, const CSize&) = default;
};

// Half open: the column `right` and the row `bottom` are outside.
struct CRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    [[nodiscard]] int Width() const { return right - left; }
    [[nodiscard]] int Height() const { return bottom - top; }
    [[nodiscard]] bool IsEmpty() const { return right <= left || bottom <= top; }
    friend bool operator==(const CRect&, const CRect&) = default;
};

// Pack two numbers into one message parameter as 32-bit halves, so that no coordinate loses its sign.
[[nodiscard]] constexpr LPARAM PackPoint(int x, int y)
{
    return static_cast<LPARAM>(uint64_t{static_cast<uint32_t>(y)} << 32 | static_cast<uint32_t>(x));
}
[[nodiscard]] constexpr int LowHalf(LPARAM parameter)
{
    return static_cast<int>(static_cast<uint32_t>(static_cast<uint64_t>(parameter)));
}
[[nodiscard]] constexpr int HighHalf(LPARAM parameter)
{
    return static_cast<int>(static_cast<uint32_t>(static_cast<uint64_t>(parameter) >> 32));
}
template <class T>
[[nodiscard]] LPARAM PackPointer(T* pointer)
{
    return static_cast<LPARAM>(reinterpret_cast<intptr_t>(pointer));
}
template <class T>
[[nodiscard]] T* UnpackPointer(LPARAM parameter)
{
    return reinterpret_cast<T*>(static_cast<intptr_t>(parameter));
}

constexpr COLORREF kBlack = 0xff000000;
constexpr COLORREF kWhite = 0xffffffff;
[[nodiscard]] constexpr COLORREF Grey(unsigned value)
{
    return 0xff000000U | (value & 0xffU) * 0x010101U;
}

// Returns a * b / c, computed in 64 bits and rounded to nearest, halves away from 0. Returns -1 if c is 0 or
// the result does not fit an int.
[[nodiscard]] int MulDiv(int a, int b, int c);
