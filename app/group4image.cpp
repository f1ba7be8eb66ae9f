// SPDX-License-Identifier: MIT
#include "app/group4image.h"

#include <kesterlib/faxhdr.h>
#include <kesterlib/unccitt.h>

const CRuntimeClass Group4Image::classRecord{"Group4Image", &RunImage::classRecord,
                                             CreateObjectOf<Group4Image>};

const HeaderImage::Kind Group4Image::kKind{FAXHEADER_GROUP4,
                                           0,
                                           "Not CCITT Group 4 compressed file",
                                           "Invalid CCITT Group 4 object",
                                           "CCITT Group 4 decode error",
                                           "Group 4"};
const RunImage::Codec Group4Image::kCodec{Unccitt4_Open_Callback, Unccitt4_Decode};

// Skips the rows after the end code, which are all white. With a stride of 0 the decoder delivers them
// without writing anything.
int32_t Group4Image::SkipRows(int32_t count, Skip)
{
    if (!Decoder || !Decoder->eol_seen)
        return 0;
    const int32_t skipped = Unccitt4_Decode(Decoder, count, nullptr, 0);
    CurrentRow += skipped;
    return skipped;
}
