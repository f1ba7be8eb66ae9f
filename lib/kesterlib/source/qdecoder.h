// What the sources of the JBIG decoder share: the record with its scratch, reports, input, and the loops over
// the rows of a stripe.
#pragma once

#include "kesterlib/jbig.h"

#include <cstdint>

namespace kesterlib
{
struct Decoder;

// The arithmetic decoder within a stripe. The code register is 64 bits wide: what is compared stands in the
// upper 16, and below them follow all bits that have been read, those read ahead included.
struct QmCoder {
    uint64_t c;
    int64_t bits;        // below the upper 16: those of a decoder that reads byte by byte, and 8 a byte ahead
    uint32_t a;          // qm_a shifted left by 16; 0 stands for the 0x10000 of the start
    const uint8_t* next; // byte of the input buffer, behind those read ahead
    bool more_read;      // anything since the start of the stripe
};

// All rows of the stripe, or up to the row of the first error. `limit` is the number of pixels of the first
// row: the width, or less after an error of the start.
using JbigRowLoop = void(Decoder* decoder, QmCoder* coder, uint32_t limit);
JbigRowLoop jbig_rows_plain;
JbigRowLoop jbig_rows_avx2; // on a machine that has it
JbigRowLoop* jbig_row_loop();

// The record comes first, so that it can be given out and freed as one.
struct Decoder {
    jbig_data base;
    JbigRowLoop* row_loop;
    // A word of qdecoder_table.h for each context, beside its byte of the adaptor. The two words of one y-1
    // and y-2 neighbourhood and one pixel x-2 share an entry: the lower half is for a pixel x-1 of 0.
    uint64_t pairs[512];
    // The contexts at the start of the stripe in the buffer, if its data were over before it began.
    uint8_t contexts_before[JBIG_ADAPTOR_BYTES];
    bool began_after_data;
    bool repeats; // every stripe from here on is the one in the buffer
};

// ---- jbigdecode.cpp

void jbig_error(jbig_data* dat, const char* text, int32_t line, const char* file);
void jbig_print_position(callback_block* block, jbig_data* dat);

// ---- qdecoder.cpp

void jbig_reset_adaptor(jbig_data* dat);
void jbig_decode_stripe(jbig_data* dat);

// Asks between two rows whether the client wants the stripe to end, as an error after `line`. A stripe may
// take seconds, most of them without reading a byte.
constexpr uint64_t kPixelsPerPoll = 1 << 21;
void jbig_poll(jbig_data* dat, uint32_t line);

// Shifts the code by n bits of which not all have been read. `x` and `line` are the pixel's, for a report.
void qm_shift_beyond(Decoder* decoder, QmCoder* coder, int32_t n, uint32_t x, uint32_t line);
} // namespace kesterlib
