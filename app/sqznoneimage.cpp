// SPDX-License-Identifier: MIT
#include "app/sqznoneimage.h"

#include <kesterlib/faxhdr.h>

const CRuntimeClass SqzNoneImage::classRecord{"SqzNoneImage", &HeaderImage::classRecord,
                                              CreateObjectOf<SqzNoneImage>};

const HeaderImage::Kind SqzNoneImage::kKind{FAXHEADER_UNCOMPRESSED,          0,
                                            "Not Squeeze uncompressed file", "Invalid Squeeze object",
                                            "Squeeze file read error",       "plain rows"};

int32_t SqzNoneImage::DecodeRows(uint8_t* buffer, int32_t stride, int32_t count)
{
    return static_cast<int32_t>(fread(buffer, static_cast<size_t>(stride), static_cast<size_t>(count), File));
}

bool SqzNoneImage::SeekRow(uint8_t*, int32_t stride, int32_t firstRow, int32_t)
{
    return fseek(File, int64_t{stride} * firstRow + DataOffset, SEEK_SET) == 0;
}
