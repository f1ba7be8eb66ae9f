// SPDX-License-Identifier: MIT
// An image that counts the rows that are read through it.
#pragma once

#include "app/image.h"

#include <memory>
#include <utility>

class CountingImage final : public Image
{
public:
    explicit CountingImage(std::unique_ptr<Image> image) : m_image(std::move(image)) { TakeFields(); }

    int64_t RowsRead() const { return m_rows; }

    int Open(const CString& path) override { return Taken(m_image->Open(path)); }
    int Close() override { return Taken(m_image->Close()); }
    int ReadRows(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override
    {
        m_rows += count;
        return Taken(m_image->ReadRows(buffer, stride, firstRow, count));
    }
    int ReadRow(uint8_t* buffer, int32_t rowBytes) override
    {
        ++m_rows;
        const int result = m_image->ReadRow(buffer, rowBytes);
        CurrentRow = m_image->CurrentRow;
        return result;
    }
    int Rewind() override { return Taken(m_image->Rewind()); }
    int IsValid() override { return m_image->IsValid(); }

private:
    void TakeFields()
    {
        Path = m_image->Path;
        Name = m_image->Name;
        Width = m_image->Width;
        BytesPerRow = m_image->BytesPerRow;
        Height = m_image->Height;
        XDpi = m_image->XDpi;
        YDpi = m_image->YDpi;
        BitsPerPixel = m_image->BitsPerPixel;
        MinIsBlack = m_image->MinIsBlack;
        CurrentRow = m_image->CurrentRow;
    }
    int Taken(int result)
    {
        TakeFields();
        return result;
    }

    std::unique_ptr<Image> m_image;
    int64_t m_rows = 0;
};
