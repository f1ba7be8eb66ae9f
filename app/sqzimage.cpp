// SPDX-License-Identifier: MIT
#include "app/sqzimage.h"

#include <kesterlib/faxhdr.h>
#include <kesterlib/unsqz.h>

const CRuntimeClass SqzImage::classRecord{"SqzImage", &RunImage::classRecord, CreateObjectOf<SqzImage>};

const HeaderImage::Kind SqzImage::kKind{
    FAXHEADER_SQUEEZE,      0,        "Not Squeeze compressed file", "Invalid Squeeze object",
    "Squeeze decode error", "Squeeze"};
const RunImage::Codec SqzImage::kCodec{Unsqz_Open_Callback, Unsqz_Decode};
