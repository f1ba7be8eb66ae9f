// The viewed mark of page files, which every user of a directory sees: off for a new file, on once it has
// been viewed, off again when it is rewritten. It stands for the archive attribute turned round, and on FAT
// file systems it is that attribute. Elsewhere it is the extended attribute kViewedMarkName, which holds the
// modification time and the size for which the file was viewed. What cannot be marked stays unmarked without
// a word.
#pragma once

#include "platform/cstring.h"

#include <cstdint>
#include <vector>

// "1", the modification time as seconds and nanoseconds, the size in bytes: "1 1700000000.123456789 3519092".
// Any other value, and one for another time or size, is no mark.
constexpr const char* kViewedMarkName = "user.lumenta.viewed";

// What tells one state of a file from the next. Take it before a page is opened: a page that is rewritten
// while it is on the screen then stays new.
struct FileStatus {
    enum class Kind : uint8_t { none, file, directory, other };

    Kind kind = Kind::none;   // none: nothing there, or not to be looked at
    uint32_t modified_ns = 0; // 0 to 999999999, behind modified_s
    int64_t modified_s = 0;   // since 1970; the kernel's own clock ticks decide how fine it is
    int64_t size_bytes = 0;
    uint64_t device = 0; // of the file system, with inode the file's identity
    uint64_t inode = 0;

    bool IsFile() const { return kind == Kind::file; }
    bool IsDirectory() const { return kind == Kind::directory; }
    friend bool operator==(const FileStatus&, const FileStatus&) = default;
};

// Follows links, opens nothing and never blocks on a FIFO or device. The file need not be readable. Kind none
// if nothing exists there or the system does not tell.
FileStatus FileStatusOf(const CString& path);

// Marks the file at path as viewed in the state of `status`. Does nothing where status is of no regular file,
// or the file is in another state or another file by now; every failure (rights, a read-only medium, no room,
// a file system without such attributes) leaves it unmarked. On FAT only the owner of the mount may mark,
// elsewhere whoever may write the file.
void MarkViewed(const CString& path, const FileStatus& status);

// Reads marks. Keeps what it has learnt about file systems, so use one for a listing and drop it then: a
// device number may mean another medium later. One system call a file; on FAT the file is opened.
class ViewedMarks
{
public:
    // `status` is the file's at this moment, links followed. False where the file is new, is no regular file,
    // or the mark cannot be read.
    bool IsViewed(const char* path, const FileStatus& status);

private:
    bool HasAttributes(const char* path, uint64_t device);

    struct Device {
        uint64_t number;
        bool has_attributes;
    };
    std::vector<Device> m_devices;
};

// The system calls behind the marks, as a test may replace them. 0 or more: done; below 0: errno with a
// minus.
class MarkCalls
{
public:
    virtual ~MarkCalls() = default;
    // A descriptor for reading, of a regular file only (see OpenRegularFile).
    virtual int Open(const char* path) = 0;
    virtual int Close(int file) = 0;
    virtual int Status(int file, FileStatus* status) = 0;
    // The magic number of the file system.
    virtual int64_t FileSystemType(const char* path) = 0;
    // FAT attributes: 1 read-only, 2 hidden, 4 system, 0x20 archive.
    virtual int GetAttributes(int file, uint32_t* attributes) = 0;
    virtual int SetAttributes(int file, uint32_t attributes) = 0;
    // The extended attribute kViewedMarkName. GetMark gives the bytes of the value; one larger than the room
    // fails.
    virtual int64_t GetMark(const char* path, char* value, size_t room) = 0;
    virtual int SetMark(int file, const char* value, size_t bytes) = 0;
};
void SetMarkCalls(MarkCalls* calls); // the caller's; null restores those of the system
