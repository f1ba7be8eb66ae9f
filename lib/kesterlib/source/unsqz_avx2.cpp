// The row loops of the Squeeze decoder for machines with AVX2 and BMI2; compiled for these, and called only
// there.
#if defined(__AVX2__)
#define KESTERLIB_UNSQZ_ROWS unsqz_rows_avx2
#include "unsqz_rows.h"
#endif
