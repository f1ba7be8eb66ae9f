// Page files whose raster is a Squeeze stream.
#pragma once

#include "app/runimage.h"

class SqzImage : public RunImage
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    SqzImage() : RunImage(kKind, kCodec) {}
    ~SqzImage() override;

private:
    static const Kind kKind;
    static const Codec kCodec;
};
