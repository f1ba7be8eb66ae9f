// SPDX-License-Identifier: MIT
// The row loop of the JBIG decoder, compiled for AVX2 and BMI2, and called only on machines that have them.
#if defined(__AVX2__)
#define KESTERLIB_JBIG_ROWS jbig_rows_avx2
#include "qdecoder_rows_tmpl.h"
#endif
