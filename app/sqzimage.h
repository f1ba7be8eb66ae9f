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
    // The decoder always copies a raw row whole, so the buffer must have room for a whole row.
    [[nodiscard]] bool HasRoom(int32_t row_bytes) const override { return row_bytes >= BytesPerRow; }

private:
    static const Kind kKind;
    static const Codec kCodec;
};
