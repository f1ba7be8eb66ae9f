// A temporary file that vanishes by itself, with its space reserved, and its mapping.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int kInvalidFile = -1;

// Makes a file of bytes bytes in $TMPDIR, else in /var/tmp, else in /tmp: unique name with the prefix,
// unlinked at once, its space reserved for real. A directory that cannot be used, or where it would take more
// than half of what is free, is passed over. kInvalidFile if none could hold it or bytes is not above 0.
// Close it with CloseTempFile.
int CreateTempFile(const char* prefix, int64_t bytes);
void CloseTempFile(int file);
// Puts bytes at an offset within the file. Those seen through its mapping are the same; what has not been
// touched yet is filled this way at a sixth of what it costs through the mapping. False if it could not be
// done.
bool WriteTempFile(int file, int64_t offset, const uint8_t* bytes, size_t count);

// Maps the whole file for reading and writing; null on failure.
uint8_t* MapTempFile(int file, int64_t bytes);
void UnmapTempFile(uint8_t* view, int64_t bytes);
