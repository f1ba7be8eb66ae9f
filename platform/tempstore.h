// A temporary file that vanishes by itself, with its space reserved, and its mapping.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int kInvalidFile = -1;

// Creates a file of bytes bytes in $TMPDIR, else in /var/tmp, else in /tmp: unique name with the prefix,
// unlinked at once, its space really reserved. A directory is skipped if it cannot be used, if the file would
// take more than half of the free space there, or, on tmpfs, more than half of the free memory. kInvalidFile
// if none could hold it or bytes is not above 0. Close it with CloseTempFile.
int CreateTempFile(const char* prefix, int64_t bytes);
void CloseTempFile(int file);
// Writes bytes at an offset within the file. They are visible through its mapping. Filling pages that have
// not been touched yet costs a sixth of what it costs through the mapping. Returns the number of bytes
// written: count, or fewer with errno set.
size_t WriteTempFile(int file, int64_t offset, const uint8_t* bytes, size_t count);

// Maps the whole file for reading and writing; null on failure.
uint8_t* MapTempFile(int file, int64_t bytes);
void UnmapTempFile(uint8_t* view, int64_t bytes);

// The mapped pages no longer count as memory of this process until they are touched again. Their contents
// stay in the file. view is MapTempFile's result.
void ReleaseTempPages(uint8_t* view, int64_t bytes);
