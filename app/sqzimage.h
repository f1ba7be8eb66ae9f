// SPDX-License-Identifier: MIT
// Page files whose raster is a Squeeze stream. The base classes read the header and the rows. This class
// supplies the decoder of kesterlib and the error texts.
#pragma once

#include "app/runimage.h"

class SqzImage : public RunImage
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    SqzImage() : RunImage(kKind, kCodec) {}

protected:
    // A raw row is a row that the stream contains without coding. The decoder copies all of its bytes, even
    // if the buffer is smaller. So the buffer must have room for a whole row.
    [[nodiscard]] bool HasRoom(int32_t row_bytes) const override { return row_bytes >= BytesPerRow; }

private:
    static const Kind kKind;
    static const Codec kCodec;
};
