// SPDX-License-Identifier: MIT
// The row loop of the Squeeze decoder, compiled for AVX2 and BMI2, and called only on machines that have
// them.
#if defined(__AVX2__)
#define KESTERLIB_UNSQZ_ROWS unsqz_rows_avx2
#include "unsqz_rows_tmpl.h"
#endif
