// The row loops of the Group 4 decoder for machines with AVX2 and BMI2; compiled for these, and called only
// there.
#if defined(__AVX2__)
#define KESTERLIB_UNCCITT4_ROWS unccitt4_rows_avx2
#include "unccitt_rows.h"
#endif
