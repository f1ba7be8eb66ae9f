// SPDX-License-Identifier: MIT
// Page files whose raster is not compressed: packed rows, one after the other.
#pragma once

#include "app/headerimage.h"

class SqzNoneImage : public HeaderImage
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    SqzNoneImage() : HeaderImage(kKind) {}

    // ReadRow uses rowBytes as the size of a row in the file, and ReadRows uses its stride. So any value but
    // BytesPerRow reads wrong bytes. ReadRows moves to firstRow in the file, and adds the number of rows read
    // to CurrentRow. So after a jump CurrentRow is not the number of the last row.

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
