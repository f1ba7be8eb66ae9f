// SPDX-License-Identifier: MIT
// The version in a program file: an ELF note with the owner "Vestrel" and the type 1. Its content starts with
// four 16-bit numbers in the byte order of the file. The build puts such a note into Lumenta's own file.
#pragma once

#include "platform/cstring.h"

// The file of the running program, even if another version has been installed over it since.
constexpr const char* kOwnProgramFile = "/proc/self/exe";

// Returns the version in a program or library file as "%d.%d.%d.%d", in the order of the note. The file may
// be for any machine, with 32 or 64 bits and either byte order, and may be stripped. Returns empty text if
// the path is empty, the file cannot be read, is not such a file, has no version or is damaged. Reads at most
// 1 MB of notes. Never blocks.
[[nodiscard]] CString GetFileVersionText(const CString& path);

// The same for an open file. Reads from the file's start, regardless of its position. The caller keeps the
// descriptor.
[[nodiscard]] CString FileVersionTextOf(int file);
