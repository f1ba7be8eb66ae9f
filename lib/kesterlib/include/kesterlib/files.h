/* SPDX-License-Identifier: MIT */
/* Bytes and fixed-size numbers to and from a file. Numbers have the most significant byte first on every
 * machine. Each function exists for a standard stream, which reports failures with perror, and for a
 * callback block, which reports them with callback_perror. */
#ifndef KESTERLIB_FILES_H
#define KESTERLIB_FILES_H

#include "kesterlib/callback.h"
#include "kesterlib/export.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

/* ---- Bytes ------------------------------------------------------------------------------------------- */

/* Each function reads or writes n bytes. It repeats the underlying call until all bytes are transferred or a
 * call transfers none. `buffer` may be null if n is 0.
 *
 * Returns the number of bytes transferred. If it is below n, the function reports "reading file" or "writing
 * file", unless a read has reached the end of the file. */

KESTERLIB_NODISCARD KESTERLIB_API size_t file_read(FILE* stream, void* buffer, size_t n);
KESTERLIB_NODISCARD KESTERLIB_API size_t file_write(FILE* stream, const void* buffer, size_t n);
KESTERLIB_NODISCARD KESTERLIB_API size_t callback_read_nbytes(callback_block* block, void* buffer, size_t n);
KESTERLIB_NODISCARD KESTERLIB_API size_t callback_write_nbytes(callback_block* block, const void* buffer,
                                                               size_t n);

/* ---- Numbers of 8, 16 and 32 bits -------------------------------------------------------------------- */

/* Each function returns 1. After a failure it makes one report and returns 0. The reports are "reading a
 * char", "reading a short" and "reading a long", and the same with "writing". The end of the file is a
 * failure here. A failed read leaves *out unchanged. A failed write may have written the first bytes of the
 * number. */

KESTERLIB_NODISCARD KESTERLIB_API int file_write_byte(FILE* stream, uint8_t value);
KESTERLIB_NODISCARD KESTERLIB_API int file_write_short(FILE* stream, uint16_t value);
KESTERLIB_NODISCARD KESTERLIB_API int file_write_long(FILE* stream, uint32_t value);
KESTERLIB_NODISCARD KESTERLIB_API int file_read_byte(FILE* stream, uint8_t* out);
KESTERLIB_NODISCARD KESTERLIB_API int file_read_short(FILE* stream, uint16_t* out);
KESTERLIB_NODISCARD KESTERLIB_API int file_read_long(FILE* stream, uint32_t* out);

KESTERLIB_NODISCARD KESTERLIB_API int callback_write_byte(callback_block* block, uint8_t value);
KESTERLIB_NODISCARD KESTERLIB_API int callback_write_short(callback_block* block, uint16_t value);
KESTERLIB_NODISCARD KESTERLIB_API int callback_write_long(callback_block* block, uint32_t value);
KESTERLIB_NODISCARD KESTERLIB_API int callback_read_byte(callback_block* block, uint8_t* out);
KESTERLIB_NODISCARD KESTERLIB_API int callback_read_short(callback_block* block, uint16_t* out);
KESTERLIB_NODISCARD KESTERLIB_API int callback_read_long(callback_block* block, uint32_t* out);

/* ---- Byte order -------------------------------------------------------------------------------------- */

/* Reverse the bytes of each whole word of the buffer, in place. Bytes of an incomplete last word are
 * unchanged. The buffer needs no alignment. */

KESTERLIB_API void endian_swap_32(void* buffer, size_t bytes);
KESTERLIB_API void endian_swap_16(void* buffer, size_t bytes);

KESTERLIB_END

#endif
