// SPDX-License-Identifier: MIT
// A compile-time trace of the decoders. If two decoders disagree, it shows the first row and code that
// differ.
// KESTERLIB_TRACE selects the lines:
//   0  none, and no code of the trace remains
//   1  one per open
//   2  also one per row
//   3  also one per code of Squeeze and Group 4. The row loops then decode every code by the single-code
//      step
// The lines are messages of the decoder's callback block. Its message slot prints them to standard error
// unless a client has set another one.
#pragma once

#include "kesterlib/callback.h"

#ifndef KESTERLIB_TRACE
#define KESTERLIB_TRACE 0
#endif

namespace kesterlib
{
constexpr bool kTracesCodes = KESTERLIB_TRACE >= 3;
}

// The arguments are evaluated only if lines of this level are selected.
#define KESTERLIB_TRACE_LINE(level, block, ...)                                                              \
    do {                                                                                                     \
        if constexpr (KESTERLIB_TRACE >= (level))                                                            \
            callback_message(block, __VA_ARGS__);                                                            \
    } while (false)
