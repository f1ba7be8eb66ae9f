// SPDX-License-Identifier: MIT
// The row loop of the Group 4 decoder, compiled for AVX2 and BMI2, and called only on machines that have
// them.
#if defined(__AVX2__)
#define KESTERLIB_UNCCITT4_ROWS unccitt4_rows_avx2
#include "unccitt_rows_tmpl.h"
#endif
