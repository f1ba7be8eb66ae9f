// SPDX-License-Identifier: MIT
// The base of page files whose raster is coded as runs of black and white pixels: Squeeze and Group 4. Passes
// the open file to the decoder of kesterlib that the derived class supplies. Records suspicious rows.
#pragma once

#include "app/decoderblock.h"
#include "app/headerimage.h"

#include <kesterlib/uncompress.h>

class RunImage : public HeaderImage
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

protected:
    // The functions of the decoder, as documented in kesterlib.
    struct Codec {
        UNCOMP* (*open)(callback_block* cb, int32_t width, int32_t row_bytes, const uint8_t* first_ref_row);
        int32_t (*decode)(UNCOMP* frame, int32_t rows, uint8_t* buffer, int32_t stride);
    };
    RunImage(const Kind& kind, const Codec& codec) : HeaderImage(kind), m_codec(codec) {}
    ~RunImage() override { RunImage::EndDecoder(); }

    [[nodiscard]] bool StartDecoder() override;
    void EndDecoder() override;
    [[nodiscard]] bool HasDecoder() const override { return Decoder != nullptr; }
    [[nodiscard]] int32_t DecodeRows(uint8_t* buffer, int32_t stride, int32_t count) override;
    [[nodiscard]] bool SeekRow(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override;

    UNCOMP* Decoder = nullptr; // started by the last Rewind; null while closed or if that failed

private:
    [[nodiscard]] int32_t Decode(uint8_t* buffer, int32_t stride, int32_t count);

    const Codec& m_codec;
    DecoderBlock m_block; // input and memory of the decoder
};
