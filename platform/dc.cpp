// SPDX-License-Identifier: MIT
// Device contexts. Each drawing call is clipped to its bitmap and converted to device pixels, and its colours
// are chosen. The target of the context then draws it.
#include "platform/dc.h"

#include "platform/raster.h"

#include <algorithm>
#include <utility>

const CRuntimeClass CPalette::classRecord{"CPalette", &CObject::classRecord, nullptr};
const CRuntimeClass CBitmap::classRecord{"CBitmap", &CObject::classRecord, &CreateObjectOf<CBitmap>};
const CRuntimeClass CDC::classRecord{"CDC", &CObject::classRecord, &CreateObjectOf<CDC>};

DeviceTarget::~DeviceTarget() = default;

bool CBitmap::CreateBitmap(int width, int height, const uint8_t* rows, ptrdiff_t row_bytes)
{
    if (width <= 0 || height <= 0 || !rows || row_bytes < (ptrdiff_t{width} + 7) / 8)
        return false;
    m_width = width;
    m_height = height;
    m_rows = rows;
    m_row_bytes = row_bytes;
    return true;
}

CDC::CDC(std::unique_ptr<DeviceTarget> target) : m_target(std::move(target)) {}
CDC::~CDC() = default;

void CDC::SetTarget(std::unique_ptr<DeviceTarget> target)
{
    m_target = std::move(target);
}

bool CDC::CreateCompatibleDC(const CDC* like)
{
    return like && like->m_target;
}

void CDC::CreateOnPixels(PixelBuffer* pixels)
{
    m_target = MakePixelTarget(pixels);
}

bool CDC::IsPrinting() const
{
    return m_target && m_target->IsPrinting();
}

int CDC::GetDeviceCaps(int index) const
{
    return m_target ? m_target->GetDeviceCaps(index) : 0;
}

RegionKind CDC::GetClipBox(CRect* box) const
{
    *box = {};
    if (!m_target)
        return ERRORREGION;
    const RegionKind kind = m_target->GetClipBox(box);
    box->left -= m_origin.x;
    box->right -= m_origin.x;
    box->top -= m_origin.y;
    box->bottom -= m_origin.y;
    return kind;
}

CBitmap* CDC::SelectObject(CBitmap* bitmap)
{
    return std::exchange(m_bitmap, bitmap);
}

CPalette* CDC::SelectPalette(const CPalette* palette, bool) const
{
    static CPalette stock{{kBlack, kWhite}};
    return m_target && palette ? &stock : nullptr;
}

CRect CDC::ToDevice(int x, int y, int width, int height) const
{
    return {x + m_origin.x, y + m_origin.y, x + m_origin.x + width, y + m_origin.y + height};
}

bool CDC::BitBlt(int x, int y, int width, int height, const CDC& source, int source_x, int source_y,
                 UINT operation)
{
    const CBitmap* bitmap = source.m_bitmap;
    if (!m_target || !bitmap || source_x < 0 || source_y < 0)
        return false;
    width = std::min(width, bitmap->Width() - source_x);
    height = std::min(height, bitmap->Height() - source_y);
    if (width <= 0 || height <= 0)
        return false;
    const bool inverted = operation == NOTSRCCOPY;
    return m_target->DrawBilevel(ToDevice(x, y, width, height), *bitmap, source_x, source_y,
                                 inverted ? kWhite : kBlack, inverted ? kBlack : kWhite);
}

int CDC::DrawDib(const CRect& dest, const CRect& source, const uint8_t* bits, const BitmapInfo& info,
                 UINT operation)
{
    if (!m_target || !bits || dest.IsEmpty() || source.IsEmpty() || source.left < 0 || source.top < 0 ||
        source.right > info.width || source.bottom > info.Lines())
        return 0;
    std::array<COLORREF, 256> colors;
    const COLORREF flip = operation == NOTSRCCOPY ? 0x00ffffff : 0;
    for (size_t i = 0; i < colors.size(); ++i) {
        const BitmapInfo::Color& color = info.colors[i];
        colors[i] =
            (0xff000000U | uint32_t{color.red} << 16 | uint32_t{color.green} << 8 | color.blue) ^ flip;
    }
    return m_target->DrawIndexed(dest, info, bits, source, colors.data()) ? source.Height() : 0;
}

int CDC::SetDIBitsToDevice(int x, int y, int width, int height, int source_x, int source_y,
                           const uint8_t* bits, const BitmapInfo& info)
{
    const int top = info.Lines() - source_y - height;
    return DrawDib(ToDevice(x, y, width, height), {source_x, top, source_x + width, top + height}, bits, info,
                   SRCCOPY);
}

int CDC::StretchDIBits(int x, int y, int width, int height, int source_x, int source_y, int source_width,
                       int source_height, const uint8_t* bits, const BitmapInfo& info, UINT operation)
{
    const int top = info.Lines() - source_y - source_height;
    return DrawDib(ToDevice(x, y, width, height),
                   {source_x, top, source_x + source_width, top + source_height}, bits, info, operation);
}

void CDC::AbortDoc(bool message_shown)
{
    if (m_target)
        m_target->AbortDoc(message_shown);
}
