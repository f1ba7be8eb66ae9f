// Page files whose raster is a Squeeze stream.
#pragma once

#include "app/runimage.h"

class SqzImage : public RunImage
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    SqzImage() : RunImage(kKind, kCodec) {}

protected:
    // The decoder always copies a raw row whole.
    [[nodiscard]] bool HasRoom(int32_t row_bytes) const override { return row_bytes >= BytesPerRow; }

private:
    static const Kind kKind;
    static const Codec kCodec;
};
