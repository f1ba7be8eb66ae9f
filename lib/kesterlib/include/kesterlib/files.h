/* Bytes and fixed-size numbers to and from a file, most significant byte first on every machine: once for a
 * standard stream, where a failure goes to perror, and once for a callback block, where it goes to
 * callback_perror. */
#ifndef KESTERLIB_FILES_H
#define KESTERLIB_FILES_H

#include "kesterlib/callback.h"
#include "kesterlib/export.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

/* ---- Bytes ------------------------------------------------------------------------------------------- */

/* Each goes on until n bytes are moved or a pass moves none, and returns the bytes moved. Fewer than n are
 * reported as "reading file" or "writing file"; a read that ends at the end of the file is not. */

KESTERLIB_API size_t file_read(FILE* stream, void* buffer, size_t n);
KESTERLIB_API size_t file_write(FILE* stream, const void* buffer, size_t n);
KESTERLIB_API size_t callback_read_nbytes(callback_block* block, void* buffer, size_t n);
KESTERLIB_API size_t callback_write_nbytes(callback_block* block, const void* buffer, size_t n);

/* ---- Numbers of 8, 16 and 32 bits -------------------------------------------------------------------- */

/* Each returns 1, or 0 after one report: "reading a char", "a short" or "a long", and "writing ..." likewise.
 * The end of the file is a failure here. A failed read leaves *out alone; a failed write may leave the
 * number's first bytes in the file. */

KESTERLIB_API int file_write_byte(FILE* stream, uint8_t value);
KESTERLIB_API int file_write_short(FILE* stream, uint16_t value);
KESTERLIB_API int file_write_long(FILE* stream, uint32_t value);
KESTERLIB_API int file_read_byte(FILE* stream, uint8_t* out);
KESTERLIB_API int file_read_short(FILE* stream, uint16_t* out);
KESTERLIB_API int file_read_long(FILE* stream, uint32_t* out);

KESTERLIB_API int callback_write_byte(callback_block* block, uint8_t value);
KESTERLIB_API int callback_write_short(callback_block* block, uint16_t value);
KESTERLIB_API int callback_write_long(callback_block* block, uint32_t value);
KESTERLIB_API int callback_read_byte(callback_block* block, uint8_t* out);
KESTERLIB_API int callback_read_short(callback_block* block, uint16_t* out);
KESTERLIB_API int callback_read_long(callback_block* block, uint32_t* out);

/* ---- Byte order -------------------------------------------------------------------------------------- */

/* Reverse the bytes of each whole word of the buffer in place. Bytes of an incomplete last word stay; the
 * buffer needs no alignment. */

KESTERLIB_API void endian_swap_32(void* buffer, size_t bytes);
KESTERLIB_API void endian_swap_16(void* buffer, size_t bytes);

KESTERLIB_END

#endif
