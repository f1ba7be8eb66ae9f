// SPDX-License-Identifier: MIT
#include "app/runimage.h"

#include <algorithm>

const CRuntimeClass RunImage::classRecord{"RunImage", &HeaderImage::classRecord, nullptr};

bool RunImage::StartDecoder()
{
    Decoder = m_codec.open(m_block.ForFile(File), Width, BytesPerRow, nullptr);
    return HasDecoder();
}

void RunImage::EndDecoder()
{
    if (Decoder)
        Uncomp_Free(Decoder);
    Decoder = nullptr;
}

// Decodes the next rows, and records suspicious ones.
int32_t RunImage::Decode(uint8_t* buffer, int32_t stride, int32_t count)
{
    const int32_t rows = m_codec.decode(Decoder, count, buffer, stride);
    NoteSuspiciousRow(
        Uncomp_First_Suspicious_Row(Decoder, UNCOMP_DECREASING | UNCOMP_PAST_WIDTH | UNCOMP_FILLER));
    return rows;
}

int32_t RunImage::DecodeRows(uint8_t* buffer, int32_t stride, int32_t count)
{
    const int32_t rows = Decoder ? Decode(buffer, stride, count) : 0;
    ClearAfterRows(buffer, stride, rows, BytesPerRow);
    return rows;
}

// Decodes the rows in between, `count` at a time, and does not keep them.
bool RunImage::SeekRow(uint8_t* buffer, int32_t stride, int32_t firstRow, int32_t count)
{
    if (firstRow < CurrentRow + 1)
        Rewind();
    while (Decoder && CurrentRow + 1 < firstRow) {
        const int32_t batch = std::min(firstRow - 1 - CurrentRow, count);
        const int32_t skipped = Decode(buffer, stride, batch);
        CurrentRow += skipped;
        if (skipped < batch)
            break; // the decoder delivers no more rows
    }
    return true;
}
