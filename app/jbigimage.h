// SPDX-License-Identifier: MIT
// Page files whose raster is a JBIG stream. Width and height come from the text header, even if the header of
// the stream differs.
#pragma once

#include "app/decoderblock.h"
#include "app/headerimage.h"

#include <kesterlib/jbig.h>

class JBIGImage : public HeaderImage
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    JBIGImage() : HeaderImage(kKind) { MinIsBlack = kKind.min_is_black; }
    ~JBIGImage() override { JBIGImage::EndDecoder(); }

    [[nodiscard]] int32_t SkipRows(int32_t count, Skip which) override;

protected:
    [[nodiscard]] bool StartDecoder() override;
    void EndDecoder() override;
    [[nodiscard]] bool HasDecoder() const override { return Decoder != nullptr; }
    [[nodiscard]] int32_t DecodeRows(uint8_t* buffer, int32_t stride, int32_t count) override;
    [[nodiscard]] bool SeekRow(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override;

private:
    static const Kind kKind;

    jbig_data* Decoder = nullptr; // started by the last Rewind; null while closed or if that failed
    DecoderBlock m_block;         // input and memory of the decoder
};
