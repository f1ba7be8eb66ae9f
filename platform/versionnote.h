// The version that a program file carries: an ELF note of the owner "Vestrel" and the type 1, whose content
// starts with four 16-bit numbers in the byte order of the file. The build puts one into Lumenta's own file.
#pragma once

#include "platform/cstring.h"

// The file of the running program, also when another one has been installed over it since.
constexpr const char* kOwnProgramFile = "/proc/self/exe";

// The version in a program or library file, as "%d.%d.%d.%d" in the order of the note; of 32 or 64 bits, in
// either byte order, for whatever machine, stripped or not. Empty where the file has none, is no such file,
// is damaged ahead of the note, or cannot be read; an empty path is such a file. Never blocks, allocates no
// more than the result.
CString GetFileVersionText(const CString& path);

// The same of an open file, from its start wherever its position is. The descriptor stays the caller's.
CString FileVersionTextOf(int file);
