// SPDX-License-Identifier: MIT
// The system calls that read and write viewed marks. viewedmark.cpp calls them through this interface, so
// that tests can replace them.
#pragma once

#include "platform/viewedmark.h"

#include <cstddef>
#include <cstdint>

// Each call returns 0 or more after a success, and a negative errno after a failure.
class MarkCalls
{
public:
    virtual ~MarkCalls() = default;
    // Returns a descriptor for reading; fails unless path is a regular file (see OpenRegularFile).
    [[nodiscard]] virtual int Open(const char* path) = 0;
    virtual int Close(int file) = 0;
    [[nodiscard]] virtual int Status(int file, FileStatus* status) = 0;
    // Returns the magic number of the file system.
    [[nodiscard]] virtual int64_t FileSystemType(const char* path) = 0;
    // Bits of the FAT attributes: 1 read-only, 2 hidden, 4 system, 0x20 archive.
    [[nodiscard]] virtual int GetAttributes(int file, uint32_t* attributes) = 0;
    virtual int SetAttributes(int file, uint32_t attributes) = 0;
    // The extended attribute kViewedMarkName. GetMark returns the number of bytes of the value, and fails if
    // the value is larger than `room`.
    [[nodiscard]] virtual int64_t GetMark(const char* path, char* value, size_t room) = 0;
    virtual int SetMark(int file, const char* value, size_t bytes) = 0;
};
