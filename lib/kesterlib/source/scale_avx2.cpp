// The row loops of the scale engine for machines with AVX2; compiled for these, and called only there.
#if defined(__AVX2__)
#define KESTERLIB_SCALE_LOOPS scale_loops_avx2
#include "scale_rows.h"
#endif
