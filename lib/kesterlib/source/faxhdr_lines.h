// A header's text line by line: the reader of lines, and a scanner for each kind of value. A scanner is given
// a line and a key, as in "/Size", and tells whether the line fits; it sets its target only then, unless told
// otherwise.
#pragma once

#include "kesterlib/faxhdr.h"

#include <cstddef>
#include <cstdint>

namespace kesterlib
{
constexpr uint32_t kLineBytes = 256; // a line, its line feed and a terminator
constexpr uint32_t kTokenBytes = 81; // the word of a structure line
constexpr uint32_t kTruthBytes = 80; // the word of a truth key

// Copies the line at *position, line feed included, and steps over it. At most line_bytes - 1 bytes of the
// buffer go into a line; what is left of a longer one is the next line. At the end of the buffer and behind
// it the line is empty.
void next_header_line(char* line, uint32_t line_bytes, const char* buffer, uint32_t* position, uint32_t size);

void trim_blanks(char* text); // blanks and tabs at both ends, in place

// The first word of a line, cut to word_bytes - 1; false if there is none.
bool scan_header_word(const char* line, char* word, uint32_t word_bytes);

// White space before the key and behind it is any or none, but for scan_header_mux.
enum class TextPart { whole_line, first_word };
bool scan_header_text(const char* line, const char* key, TextPart part, char* target, uint32_t target_bytes);
bool scan_header_signed(const char* line, const char* key, int32_t* target);
bool scan_header_unsigned(const char* line, const char* key, uint32_t* target);
bool scan_header_boolean(const char* line, const char* key, int32_t* flag);
// Six numbers, taken as they stand. Those before the one that does not fit are set.
bool scan_header_time(const char* line, const char* key, FAXTime* time);
// One blank, the key, one blank, then all up to the line feed, which must be there. May be empty.
bool scan_header_mux(const char* line, const char* key, char* target, uint32_t target_bytes);
} // namespace kesterlib
