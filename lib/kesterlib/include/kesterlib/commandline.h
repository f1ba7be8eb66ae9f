/* A small command-line parser: a table of option words, each with a fixed number of text arguments and a
 * handler. A line from a file or a buffer can be split into an argument vector of the same form. */
#ifndef KESTERLIB_COMMANDLINE_H
#define KESTERLIB_COMMANDLINE_H

#include "kesterlib/export.h"

#include <stdint.h>
#include <stdio.h>

KESTERLIB_BEGIN

/* A function that takes argument_count texts (const char*) and returns nothing, in a cast:
 * (option_handler)my_handler. */
typedef void (*option_handler)(void);

typedef struct option_record {
    const char* name; /* the exact word, with its dash; "" is a line of help only; null ends the table */
    const char* help; /* for print_help; may be null */
    int32_t argument_count; /* 0 to 4 */
    option_handler handler; /* not called for a line of help */
} option_record;

/* Walks the vector from element 0 (pass it without the program's name) and calls the handler of each option
 * with the elements behind the word, whatever they look like. "-h" prints the help. A word that no record
 * has, or one with too few elements behind it, is reported on stderr, and the walk goes on. A record with an
 * argument_count outside 0 to 4 ends the process with code 1 when its option is met. */
KESTERLIB_API void parse_command_line(int argc, char* const* argv, const option_record* options);

/* The table on standard output. */
KESTERLIB_API void print_help(const option_record* options);

/* One line of any length, with a newline at its end, in memory for free(). A byte of 0 or 255 and the end of
 * the file stand for a newline, so that the end of the file reads as an empty line. Null without memory. */
KESTERLIB_API char* read_command_line_from_stream(FILE* stream);

/* Split the next line of a stream, or the first of a text, at blanks and tabs into a vector for
 * dispose_argc_commands; blanks within round brackets do not split, and the brackets stay. A line ends at a
 * newline, a return or a byte of 0; a bracket still open there loses its token. At most 200 tokens of at most
 * 200 bytes: what goes beyond is dropped.
 *
 * Return 1 for a line, which may have no tokens (count 0, null vector). Return 0, count 0 and a null vector
 * where the input ended before the line did, or without memory; the line is then lost. In a text the byte 255
 * is the end of the input. */
KESTERLIB_API int parse_line_from_stream(FILE* stream, int* argc_out, char*** argv_out);
KESTERLIB_API int parse_line_from_buffer(const char* text, int* argc_out, char*** argv_out);

/* Frees a vector and its strings. A string set to null is left out, a null vector ignored. */
KESTERLIB_API void dispose_argc_commands(int argc, char** argv);

/* Of the elements from 1 on, those in front of the first that does not begin with a dash. If all begin with
 * one, argc; 1 for an argc below 2. */
KESTERLIB_API int count_leading_dash_args(int argc, char* const* argv);

KESTERLIB_END

#endif
