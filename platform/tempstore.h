// SPDX-License-Identifier: MIT
// A temporary file without a name, and its mapping into memory. Its space on the disk is reserved. The system
// deletes it when it is closed or the program ends. The row store of the document uses it.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int kInvalidFile = -1;

// Creates a file of `bytes` bytes in $TMPDIR, else in /var/tmp, else in /tmp. The file gets a unique name
// that begins with `prefix`, and the name is removed at once. Space on the disk is reserved for all its
// bytes. A directory is skipped if it cannot be used, if the file would take more than half of the free space
// there, or, on tmpfs, more than half of the free memory. $TMPDIR is also skipped if it is not an absolute
// path. Returns a descriptor, which the caller closes with CloseTempFile. Returns kInvalidFile if no
// directory could hold the file, or if bytes is not above 0.
[[nodiscard]] int CreateTempFile(const char* prefix, int64_t bytes);
void CloseTempFile(int file);
// Writes bytes at an offset within the file. They are visible through its mapping. For pages that were never
// accessed, this takes a sixth of the time of writing through the mapping. Returns the number of bytes
// written: count, or fewer with errno set.
[[nodiscard]] size_t WriteTempFile(int file, int64_t offset, const uint8_t* bytes, size_t count);

// Maps the whole file, of `bytes` bytes, for reading and writing. Returns null if that fails. The caller
// unmaps it with UnmapTempFile.
[[nodiscard]] uint8_t* MapTempFile(int file, int64_t bytes);
void UnmapTempFile(uint8_t* view, int64_t bytes);

// Removes the mapped pages from this process's memory until the next access to them. Their contents stay in
// the file. view is the result of MapTempFile.
void ReleaseTempPages(uint8_t* view, int64_t bytes);
