// SPDX-License-Identifier: MIT
// Squeeze rasters. run_fuzz.h describes the five bytes after them.
#include "kesterlib/unsqz.h"

#include "run_fuzz.h"
#include "unsqz_codes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr run_fuzz::Codec kCodec{Unsqz_Open_Callback, Unsqz_Open_MMapped, Unsqz_Open_Memory,
                                     Unsqz_Decode,        Unsqz_Discard,      true};
    run_fuzz::Run(kCodec, kesterlib::unsqz_rows_plain, kesterlib::unsqz_row_loop(), data, size);
    return 0;
}
