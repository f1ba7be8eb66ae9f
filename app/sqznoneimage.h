// Page files whose raster is not compressed: packed rows, one after the other.
#pragma once

#include "app/headerimage.h"

class SqzNoneImage : public HeaderImage
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    SqzNoneImage() : HeaderImage(kKind) {}

    // For ReadRow and ReadRows, rowBytes and stride are also the size of a row in the file, so values other
    // than BytesPerRow read other bytes. ReadRows seeks to its first row. It only adds the number of rows
    // read to CurrentRow, which therefore is not the number of the last row after a jump.

protected:
    [[nodiscard]] bool StartDecoder() override { return true; }
    void EndDecoder() override {}
    [[nodiscard]] bool HasDecoder() const override { return true; }
    [[nodiscard]] int32_t DecodeRows(uint8_t* buffer, int32_t stride, int32_t count) override;
    [[nodiscard]] bool SeekRow(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override;
    [[nodiscard]] bool HasRoom(int32_t row_bytes) const override { return row_bytes > 0; }

private:
    static const Kind kKind;
};
