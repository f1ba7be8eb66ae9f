/* SPDX-License-Identifier: MIT */
/* The version of the library. The macros are those of the headers that a program was compiled with. The
 * function returns that of the library that the program runs with, which may be newer. */
#ifndef KESTERLIB_VERSION_H
#define KESTERLIB_VERSION_H

#include "kesterlib/export.h"

/* Three numbers, and the same as text. */
#define KESTERLIB_VERSION_MAJOR 0
#define KESTERLIB_VERSION_MINOR 2
#define KESTERLIB_VERSION_PATCH 0
#define KESTERLIB_VERSION "0.2.0"

KESTERLIB_BEGIN

/* Returns the KESTERLIB_VERSION of the library, a constant text. */
KESTERLIB_NODISCARD KESTERLIB_API const char* kesterlib_version(void);

KESTERLIB_END

#endif
