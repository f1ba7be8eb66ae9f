// SPDX-License-Identifier: MIT
#include "app/jbigimage.h"

#include <algorithm>
#include <kesterlib/faxhdr.h>

const CRuntimeClass JBIGImage::classRecord{"JBIGImage", &HeaderImage::classRecord, CreateObjectOf<JBIGImage>};

const HeaderImage::Kind JBIGImage::kKind{
    FAXHEADER_JBIG, 1, "Not JBIG compressed file", "Invalid JBIG object", "JBIG decode error", "JBIG"};

bool JBIGImage::StartDecoder()
{
    callback_block* const block = m_block.ForFile(File);
    Decoder = block ? Jbig_Open_Input_Callback(block) : nullptr;
    return HasDecoder();
}

void JBIGImage::EndDecoder()
{
    if (Decoder)
        Jbig_Close_Input(Decoder);
    Decoder = nullptr;
}

int32_t JBIGImage::DecodeRows(uint8_t* buffer, int32_t stride, int32_t count)
{
    if (!Decoder) // SeekRow could not restart the decoder, because the file has changed
        return 0;
    const int32_t rows = Jbig_Decode(Decoder, count, buffer, stride);
    ClearAfterRows(buffer, stride, rows, Decoder->row_bytes);
    return rows;
}

bool JBIGImage::SeekRow(uint8_t*, int32_t, int32_t firstRow, int32_t)
{
    if (firstRow < CurrentRow + 1)
        Rewind();
    if (Decoder && CurrentRow + 1 < firstRow)
        CurrentRow += Jbig_Decode_Discard(Decoder, firstRow - CurrentRow - 1);
    return true;
}

// Skips the rest of the decoded stripe. If nothing of it is left, skips about 2^21 pixels, so that one call
// does not take long. If the decoder finds an error, the next row fails as it would have failed without the
// skip. The decoder does not know which rows are 0, so with zeroRows nothing is skipped.
int32_t JBIGImage::SkipRows(int32_t count, Skip which)
{
    if (!Decoder || which == Skip::zeroRows)
        return 0;
    constexpr uint32_t kStepPixels = 1 << 21;
    const int32_t step = Decoder->lines_left > 0
                             ? Decoder->lines_left
                             : static_cast<int32_t>(std::max(kStepPixels / Decoder->width, 1U));
    const int32_t skipped = Jbig_Decode_Discard(Decoder, std::min(count, step));
    CurrentRow += skipped;
    return skipped;
}
