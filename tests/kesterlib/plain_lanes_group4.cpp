// SPDX-License-Identifier: MIT
// The Group 4 row loop with plain words, as for a machine without vector instructions.
#define KESTERLIB_PLAIN_LANES
#define KESTERLIB_UNCCITT4_ROWS unccitt4_rows_words
#include "unccitt_codes.h"

namespace kesterlib
{
Unccitt4RowLoop unccitt4_rows_words;
}
#include "unccitt_rows_tmpl.h"
