// SPDX-License-Identifier: MIT
// Creates, writes and maps temporary files. The space of a file is reserved before the file is mapped. So a
// full disk is an error here, and does not end the program during a later paint.
#include "platform/tempstore.h"

#include "platform/freememory.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <linux/magic.h>
#include <string>
#include <sys/mman.h>
#include <sys/statfs.h>
#include <unistd.h>

static_assert(sizeof(size_t) >= sizeof(int64_t), "a page may have more bytes than a 32-bit size can count");

namespace
{
// Not posix_fallocate: if the file system cannot reserve space, that function writes a byte into every block.
bool Reserve(int file, int64_t bytes)
{
    int result;
    do
        result = fallocate(file, 0, 0, bytes);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

// Returns true if the file leaves half of the free space free. A tmpfs keeps its files in memory and may be
// larger than the free memory. On a tmpfs, the file must also leave half of the free memory free.
bool LeavesHalf(int file, int64_t bytes)
{
    struct statfs status;
    if (fstatfs(file, &status) != 0)
        return false;
    const auto wanted = static_cast<uint64_t>(bytes);
    const uint64_t free_bytes = uint64_t{status.f_bavail} * static_cast<uint64_t>(status.f_frsize);
    return wanted <= free_bytes / 2 &&
           (status.f_type != TMPFS_MAGIC || wanted <= ReadFreeMemory().physical / 2);
}

int CreateIn(const char* directory, const char* prefix, int64_t bytes)
{
    std::string name = std::string{directory} + "/" + prefix + "XXXXXX";
    const int file = mkostemp(name.data(), O_CLOEXEC);
    if (file < 0)
        return kInvalidFile;
    unlink(name.c_str());
    if (LeavesHalf(file, bytes) && Reserve(file, bytes))
        return file;
    close(file);
    return kInvalidFile;
}
} // namespace

int CreateTempFile(const char* prefix, int64_t bytes)
{
    if (bytes <= 0)
        return kInvalidFile;
    const char* own = std::getenv("TMPDIR");
    const char* const directories[] = {own && own[0] == '/' ? own : nullptr, "/var/tmp", "/tmp"};
    for (const char* directory : directories) {
        if (!directory)
            continue;
        const int file = CreateIn(directory, prefix, bytes);
        if (file != kInvalidFile)
            return file;
    }
    return kInvalidFile;
}

void CloseTempFile(int file)
{
    if (file != kInvalidFile)
        close(file);
}

size_t WriteTempFile(int file, int64_t offset, const uint8_t* bytes, size_t count)
{
    size_t done = 0;
    while (done < count) {
        const ssize_t written = pwrite(file, bytes + done, count - done, offset + static_cast<int64_t>(done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            break;
        done += static_cast<size_t>(written);
    }
    return done;
}

uint8_t* MapTempFile(int file, int64_t bytes)
{
    void* view = mmap(nullptr, static_cast<size_t>(bytes), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    return view == MAP_FAILED ? nullptr : static_cast<uint8_t*>(view);
}

void UnmapTempFile(uint8_t* view, int64_t bytes)
{
    if (view)
        munmap(view, static_cast<size_t>(bytes));
}

void ReleaseTempPages(uint8_t* view, int64_t bytes)
{
    if (view)
        madvise(view, static_cast<size_t>(bytes), MADV_DONTNEED);
}
