/* SPDX-License-Identifier: MIT */
/* The status of a decoder: why it delivers no more rows, or why it could not be opened. */
#ifndef KESTERLIB_STATUS_H
#define KESTERLIB_STATUS_H

#include "kesterlib/export.h"

#include <stdint.h>

KESTERLIB_BEGIN

/* Statuses. Further ones may follow in later versions, so treat an unknown number as a failure. */
enum {
    KESTERLIB_OK = 0,
    KESTERLIB_CUT_OFF = 1,       /* the data end too early */
    KESTERLIB_BAD_CODE = 2,      /* the data are damaged */
    KESTERLIB_READ_ERROR = 3,    /* the input cannot be read, or cannot seek */
    KESTERLIB_NO_MEMORY = 4,     /* the block returned no memory */
    KESTERLIB_TOO_LARGE = 5,     /* above a limit of the library or of the caller */
    KESTERLIB_NOT_SUPPORTED = 6, /* the data need a feature that the decoder does not have, or a parameter of
                                    the call is wrong */
    KESTERLIB_INTERRUPTED = 7    /* JBIG only: the ferror slot has ended a stripe */
};

/* Returns the status of the last open function of a decoder that this thread has called: KESTERLIB_OK if it
 * returned a decoder, or if the thread has called none. The headers of the decoders say which failure has
 * which status. */
KESTERLIB_NODISCARD KESTERLIB_API int32_t kesterlib_open_status(void);

KESTERLIB_END

#endif
