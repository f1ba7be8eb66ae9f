// SPDX-License-Identifier: MIT
// Shared by the sources of the JBIG decoder: the record with its private part, reports, input, and the row
// loops of a stripe.
#pragma once

#include "kesterlib/jbig.h"

#include "io-callback.h"

#include <cstdint>

namespace kesterlib
{
struct Decoder;

constexpr int32_t kEndMarkerBytes = 2; // of the marker at the end of an entity

// The arithmetic decoder within a stripe. The code register has 64 bits: the upper 16 are compared with the
// interval. All bits that were read follow below them, with those that were read ahead.
struct QmCoder {
    uint64_t c;   // code register
    int64_t bits; // bits below the upper 16: those that a simple decoder has, and 8 per byte read ahead
    uint32_t a;   // qm_a shifted left by 16; the initial 0x10000 becomes 0
    const uint8_t* next; // next byte of the input buffer, after those that were read ahead
    bool more_read;      // true if anything was read since the start of the stripe
};

// Decodes all rows of the stripe, or the rows up to the first error. `limit` is the number of pixels to
// decode in the first row: the width, or less after an error at the start of the stripe.
using JbigRowLoop = void(Decoder* decoder, QmCoder* coder, uint32_t limit);
JbigRowLoop jbig_rows_plain;
JbigRowLoop jbig_rows_avx2; // only for machines with AVX2
JbigRowLoop* jbig_row_loop();

// The record comes first, so that a pointer to it is a pointer to the decoder.
struct Decoder {
    jbig_data base;
    JbigRowLoop* row_loop;
    // For each context a word as in qdecoder_table.h, which corresponds to its byte of the adaptor. Two
    // contexts that differ only in the pixel x-1 share an entry: the lower half is for a pixel of 0.
    uint64_t pairs[512];
    // The contexts at the start of the stripe in the buffer. Valid if began_after_data.
    uint8_t contexts_before[JBIG_ADAPTOR_BYTES];
    bool began_after_data; // the data were over before the stripe in the buffer began
    bool repeats;          // every further stripe equals the one in the buffer

    int32_t status;               // of the first error
    int64_t rows_done;            // rows delivered or skipped; jbig_data::lines_delivered has only 32 bits
    int64_t first_row_after_data; // of the first stripe that began after the data; -1: none

    jbig_limits limits;
    int64_t pixels_done; // pixels of the stripes that were decoded

    char unknown_error[kErrorTextBytes]; // text of a system error that the system has no text for
};

// ---- jbigdecode.cpp

// Notes the status of a failure. Only that of the first failure is kept.
void jbig_note_status(jbig_data* dat, int32_t status);
// Returns the status of a read that returned too few bytes.
[[nodiscard]] int32_t jbig_status_of_short_read(jbig_data* dat);
// Reports an error. Call jbig_note_status before.
void jbig_error(jbig_data* dat, const char* text, int32_t line, const char* file);
void jbig_print_position(callback_block* block, jbig_data* dat);

// ---- qdecoder.cpp

void jbig_reset_adaptor(jbig_data* dat);
// Decodes the next stripe into the buffer. If that would exceed the limit of pixels, reports an error
// instead.
void jbig_decode_stripe(jbig_data* dat);

// Calls the client's ferror slot between two rows, after row `line`. A result other than 0 ends the stripe
// as an error does. A stripe may take seconds, most of them without reading a byte.
constexpr uint64_t kPixelsPerPoll = 1 << 21;
void jbig_poll(jbig_data* dat, uint32_t line);

// Shifts the code register by n bits, of which some are not read yet. `x` and `line` are the position of
// the pixel, for a report.
void qm_shift_beyond(Decoder* decoder, QmCoder* coder, int32_t n, uint32_t x, uint32_t line);
} // namespace kesterlib
