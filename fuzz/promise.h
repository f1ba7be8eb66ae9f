// SPDX-License-Identifier: MIT
// The check of the fuzz targets. A promise that is not kept ends the program, which the fuzzer reports.
#pragma once

#include <cstdlib>

inline void Promise(bool kept)
{
    if (!kept)
        std::abort();
}
