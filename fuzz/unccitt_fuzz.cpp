// SPDX-License-Identifier: MIT
// Group 4 rasters. run_fuzz.h describes the five bytes after them.
#include "kesterlib/unccitt.h"

#include "run_fuzz.h"
#include "unccitt_codes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr run_fuzz::Codec kCodec{Unccitt4_Open_Callback, Unccitt4_Open_MMapped, Unccitt4_Open_Memory,
                                     Unccitt4_Decode,        Unccitt4_Discard,      false};
    run_fuzz::Run(kCodec, kesterlib::unccitt4_rows_plain, kesterlib::unccitt4_row_loop(), data, size);
    return 0;
}
