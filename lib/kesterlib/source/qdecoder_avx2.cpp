// The rows of a JBIG stripe for machines with AVX2 and BMI2; compiled for these, and called only there.
#if defined(__AVX2__)
#define KESTERLIB_JBIG_ROWS jbig_rows_avx2
#include "qdecoder_rows.h"
#endif
