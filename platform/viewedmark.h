// SPDX-License-Identifier: MIT
// The viewed mark of page files. It is off for a new file, on after the file was viewed, and off again after
// the file is rewritten. Every user of the directory sees the same mark. On FAT file systems, a file is
// marked if its archive attribute is off: each write switches this attribute on. On other file systems, the
// mark is the extended attribute kViewedMarkName. It holds the modification time and the size that the file
// had when it was viewed. A file that cannot be marked stays unmarked, without a message.
#pragma once

#include "platform/cstring.h"

#include <cstdint>
#include <vector>

// The value is "1", the modification time as seconds and nanoseconds, and the size in bytes:
//
//     1 1700000000.123456789 3519092
//
// Any other value is not a mark. A value with another time or size is not a mark either.
constexpr const char* kViewedMarkName = "user.lumenta.viewed";

// Distinguishes one state of a file from the next. Read it before a page is opened: if the page is rewritten
// while it is shown, the file then stays new.
struct FileStatus {
    enum class Kind : uint8_t { none, unknown, file, directory, other };

    Kind kind = Kind::none;   // none: nothing exists; unknown: the system refuses the status
    uint32_t modified_ns = 0; // 0 to 999999999, added to modified_s
    int64_t modified_s = 0;   // seconds since 1970; the kernel's clock ticks limit the resolution
    int64_t size_bytes = 0;
    uint64_t device = 0; // the file system; device and inode identify the file
    uint64_t inode = 0;

    [[nodiscard]] bool Exists() const { return kind != Kind::none && kind != Kind::unknown; }
    [[nodiscard]] bool IsFile() const { return kind == Kind::file; }
    [[nodiscard]] bool IsDirectory() const { return kind == Kind::directory; }
    friend bool operator==(const FileStatus&, const FileStatus&) = default;
};

// Returns the status of the file at a path, following links. Opens nothing, and never blocks on a FIFO or
// device. The file need not be readable. The kind is `none` if nothing exists there, and `unknown` if the
// system cannot tell: no right to search a directory, an error of the disk or of a network mount.
[[nodiscard]] FileStatus FileStatusOf(const CString& path);

// Marks the file at path as viewed in the state `status`. Does nothing if status is not that of a regular
// file, or if path now is another file or in another state. A failure leaves the file unmarked (no rights, a
// read-only medium, no space, a file system without such attributes). On FAT only the owner of the mount may
// mark a file. On other file systems, every user who may write the file may mark it.
void MarkViewed(const CString& path, const FileStatus& status);

// Reads marks. An object stores the type of each file system with its device number. Later the number may
// belong to another medium. So use a new object for each listing. Reading a mark takes one system call. On
// FAT it takes more, because the file is opened.
class ViewedMarks
{
public:
    // `status` is the current status of the file, links followed. Returns false if the file is new or no
    // regular file, or if the mark cannot be read.
    [[nodiscard]] bool IsViewed(const char* path, const FileStatus& status);

private:
    [[nodiscard]] bool HasAttributes(const char* path, uint64_t device);

    struct Device {
        uint64_t number;
        bool has_attributes;
    };
    std::vector<Device> m_devices;
};
