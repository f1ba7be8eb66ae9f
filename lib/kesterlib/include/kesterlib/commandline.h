/* SPDX-License-Identifier: MIT */
/* A small command-line parser. A table lists option words, each with a fixed number of text arguments and a
 * handler. Lines from a stream or a buffer can be split into argument vectors. */
#ifndef KESTERLIB_COMMANDLINE_H
#define KESTERLIB_COMMANDLINE_H

#include "kesterlib/export.h"

#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

/* A function that takes argument_count texts (const char*) and returns nothing. Cast it to store it:
 * (option_handler)my_handler. */
typedef void (*option_handler)(void);

typedef struct option_record {
    const char* name; /* the exact word, with its dash; "": a line of help only; null: end of the table */
    const char* help; /* for print_help; may be null, which means none */
    int32_t argument_count; /* 0 to 4 */
    option_handler handler; /* may be null only in a line of help, which is never called */
} option_record;

/* Calls the handler of each option in the vector, in order.
 *
 *   argc, argv  the vector without the program's name
 *   options     the table; if several records have the same word, the first one is used
 *
 * A handler receives the elements after its word, even if they look like options. "-h" prints the help. A
 * word that is not in the table, or with too few elements after it, is reported on stderr; the function then
 * continues with the next element. If an option's argument_count is not 0 to 4, or its handler is null, the
 * process exits with code 1. */
KESTERLIB_API void parse_command_line(int argc, char* const* argv, const option_record* options);

/* Prints the table to standard output. */
KESTERLIB_API void print_help(const option_record* options);

/* Reads a line of any length. A newline, a byte of 0 or 255, and the end of the file each end the line.
 *
 * Returns the line with a newline at its end; the caller frees it with free. At the end of the file it
 * returns an empty line. Returns null if memory is short; the bytes read so far are then lost. */
KESTERLIB_NODISCARD KESTERLIB_API char* read_command_line_from_stream(FILE* stream);

/* Split the next line of a stream, or the first line of a text, into tokens.
 *
 *   stream, text        the input; in a text, a byte of 255 is the end of the input
 *   argc_out, argv_out  receive the tokens; the caller frees them with dispose_argc_commands
 *
 * A newline, a carriage return or a byte of 0 ends a line. Blanks and tabs separate tokens, but not within
 * round brackets; the brackets are part of the token. If a bracket is still open at the end of the line,
 * its token is dropped. A line has at most 200 tokens of at most 200 bytes; the rest is dropped.
 *
 * Return 1 for a line. A line without tokens sets the count to 0 and the vector to null. Return 0, with a
 * count of 0 and a null vector, if the input ended before the line did or memory is short; the line is then
 * lost. */
KESTERLIB_NODISCARD KESTERLIB_API int parse_line_from_stream(FILE* stream, int* argc_out, char*** argv_out);
KESTERLIB_NODISCARD KESTERLIB_API int parse_line_from_buffer(const char* text, int* argc_out,
                                                             char*** argv_out);

/* Frees a vector and its strings. A null string or vector is ignored: a caller that keeps a string sets its
 * element to null. */
KESTERLIB_API void dispose_argc_commands(int argc, char** argv);

/* Returns the number of elements from argv[1] on that begin with a dash, up to the first that does not. If
 * all of them begin with a dash, returns argc. If argc is below 2, returns 1. */
KESTERLIB_NODISCARD KESTERLIB_API int count_leading_dash_args(int argc, char* const* argv);

KESTERLIB_END

#endif
