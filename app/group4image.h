// SPDX-License-Identifier: MIT
// Page files whose raster is a CCITT Group 4 stream. The base classes read the header and the rows. This
// class supplies the decoder of kesterlib and the error texts.
#pragma once

#include "app/runimage.h"

class Group4Image : public RunImage
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    Group4Image() : RunImage(kKind, kCodec) {}

    // Skips only the white rows after the end code of the stream, for either value of `which`.
    [[nodiscard]] int32_t SkipRows(int32_t count, Skip which) override;

private:
    static const Kind kKind;
    static const Codec kCodec;
};
