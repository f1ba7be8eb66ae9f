// SPDX-License-Identifier: MIT
// The Squeeze row loop with plain words, as for a machine without vector instructions.
#define KESTERLIB_PLAIN_LANES
#define KESTERLIB_UNSQZ_ROWS unsqz_rows_words
#include "unsqz_codes.h"

namespace kesterlib
{
UnsqzRowLoop unsqz_rows_words;
}
#include "unsqz_rows_tmpl.h"
