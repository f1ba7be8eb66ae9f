// SPDX-License-Identifier: MIT
// The row loop of the Squeeze decoder for every machine.
#define KESTERLIB_UNSQZ_ROWS unsqz_rows_plain
#include "unsqz_rows_tmpl.h"
