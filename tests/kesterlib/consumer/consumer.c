/* SPDX-License-Identifier: MIT */
/* A C99 program with kesterlib. It decodes two Squeeze rows, and checks that it runs with the library whose
 * headers it was compiled with. */
#include "kesterlib/unsqz.h"
#include "kesterlib/version.h"

#include <string.h>

int main(void)
{
    static const uint8_t stream[] = {0x14, 0xa0, 0x27};
    static const uint8_t want[4] = {0x0e, 0x00, 0x1f, 0x00};
    uint8_t rows[4] = {0};
    UNCOMP* frame = Unsqz_Open_MMapped(stream, sizeof stream, 16, 2, NULL);
    if (!frame || Unsqz_Decode(frame, 2, rows, 2) != 2 || memcmp(rows, want, sizeof rows) != 0)
        return 1;
    Uncomp_Free(frame);
    return strcmp(kesterlib_version(), KESTERLIB_VERSION) != 0;
}
