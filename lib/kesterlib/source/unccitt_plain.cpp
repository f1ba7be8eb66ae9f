// SPDX-License-Identifier: MIT
// The row loop of the Group 4 decoder for every machine.
#define KESTERLIB_UNCCITT4_ROWS unccitt4_rows_plain
#include "unccitt_rows_tmpl.h"
