// SPDX-License-Identifier: MIT
// Reads a header's text line by line, and scans each kind of value. A scanner receives a line and a key, as
// in "/Size". It returns whether the line has the key and a value. If not, its target is unchanged, unless
// stated otherwise.
#pragma once

#include "kesterlib/faxhdr.h"

#include <cstddef>
#include <cstdint>

namespace kesterlib
{
constexpr uint32_t kLineBytes = 256; // bytes of a line, with its line feed and a terminator
constexpr uint32_t kTokenBytes = 81; // the same for the word of a structure line
constexpr uint32_t kTruthBytes = 80; // the same for the value of a truth key

// Copies the line at *position, with its line feed and a terminator, and moves *position to the next line.
// A line takes at most line_bytes - 1 bytes from the buffer; the rest of a longer line is the next line. At
// or after the end of the buffer the line is empty.
void next_header_line(char* line, uint32_t line_bytes, const char* buffer, uint32_t* position, uint32_t size);

void trim_blanks(char* text); // removes blanks and tabs at both ends, in place

// Copies the first word of a line, cut to word_bytes - 1 bytes. Returns false if there is no word.
bool scan_header_word(const char* line, char* word, uint32_t word_bytes);

// Before and after the key there may be any white space or none, except in scan_header_mux.
enum class TextPart { whole_line, first_word };
bool scan_header_text(const char* line, const char* key, TextPart part, char* target, uint32_t target_bytes);
bool scan_header_signed(const char* line, const char* key, int32_t* target);
bool scan_header_unsigned(const char* line, const char* key, uint32_t* target);
bool scan_header_boolean(const char* line, const char* key, int32_t* flag);
// Stores six numbers unchanged. If the line has fewer numbers, those are set before it returns false.
bool scan_header_time(const char* line, const char* key, FAXTime* time);
// Expects one blank, the key, one blank, then the value up to the line feed. The line feed must be present;
// the value may be empty.
bool scan_header_mux(const char* line, const char* key, char* target, uint32_t target_bytes);
} // namespace kesterlib
