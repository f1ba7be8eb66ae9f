// SPDX-License-Identifier: MIT
#include "kesterlib/version.h"

const char* kesterlib_version(void)
{
    return KESTERLIB_VERSION;
}
