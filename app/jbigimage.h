// Page files whose raster is a JBIG stream. The sides are those of the text header, whatever the stream's own
// header says.
#pragma once

#include "app/decoderblock.h"
#include "app/headerimage.h"

#include <kesterlib/jbig.h>

class JBIGImage : public HeaderImage
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    JBIGImage() : HeaderImage(kKind) { MinIsBlack = kKind.min_is_black; }
    ~JBIGImage() override { JBIGImage::EndDecoder(); }

    int32_t SkipRows(int32_t count, Skip which) override;

protected:
    bool StartDecoder() override;
    void EndDecoder() override;
    bool HasDecoder() const override { return Decoder != nullptr; }
    int32_t DecodeRows(uint8_t* buffer, int32_t stride, int32_t count) override;
    bool GoToRow(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count) override;

private:
    static const Kind kKind;

    jbig_data* Decoder = nullptr; // of the pass since the last Rewind; null while closed
    DecoderBlock m_block;         // what the decoder reads and allocates through
};
