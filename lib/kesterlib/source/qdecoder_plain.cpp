// SPDX-License-Identifier: MIT
// The row loop of the JBIG decoder for every machine.
#define KESTERLIB_JBIG_ROWS jbig_rows_plain
#include "qdecoder_rows_tmpl.h"
