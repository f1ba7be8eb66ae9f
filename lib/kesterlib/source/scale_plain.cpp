// SPDX-License-Identifier: MIT
// The row loops of the scale engine for every machine.
#define KESTERLIB_SCALE_LOOPS scale_loops_plain
#include "scale_rows_tmpl.h"
