// SPDX-License-Identifier: MIT
// The row loops of the scale engine, compiled for AVX2, and called only on machines that have it.
#if defined(__AVX2__)
#define KESTERLIB_SCALE_LOOPS scale_loops_avx2
#include "scale_rows_tmpl.h"
#endif
