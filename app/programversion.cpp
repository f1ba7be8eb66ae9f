// SPDX-License-Identifier: MIT
#include "app/programversion.h"

#include <cstdint>
#include <iterator>

const char kLumentaVersion[] = LUMENTA_VERSION; // set by the build, as is LUMENTA_VERSION_NUMBERS

// The same version as a note, which GetFileVersionText reads. The note must have an alignment of exactly 4.
// It is written in assembly, because compilers and sanitizers may increase the alignment of a variable.
#define LUMENTA_TEXT_OF(...) #__VA_ARGS__
#define LUMENTA_TEXT(...) LUMENTA_TEXT_OF(__VA_ARGS__)
__asm__(".pushsection .note.lumenta.version, \"a\", %note\n"
        ".balign 4\n"
        ".4byte 8, 8, 1\n" // bytes of the name, bytes of the content, type
        ".asciz \"Vestrel\"\n"
        ".2byte " LUMENTA_TEXT(LUMENTA_VERSION_NUMBERS) "\n.popsection\n");

static constexpr uint16_t kNumbers[] = {LUMENTA_VERSION_NUMBERS};
static_assert(std::size(kNumbers) == 4, "the note has room for four numbers of 16 bits");
