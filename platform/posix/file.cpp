// SPDX-License-Identifier: MIT
// Opens, reads and writes files with system calls. Page files must be regular files. A handle is a descriptor
// of any kind.
#include "platform/file.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// errno if a path is neither a regular file nor a directory.
constexpr int kNoRegularFile = EACCES;
// errno of a write that writes no byte and reports no error. If it were repeated, it might never end.
constexpr int kNoProgress = EIO;

// Returns a descriptor, or -1 with errno set. Without O_CREAT in `flags`, the file must exist.
int OpenRegular(const CString& path, int flags)
{
    const auto refuses = [](const struct stat& status) {
        if (S_ISREG(status.st_mode))
            return false;
        errno = S_ISDIR(status.st_mode) ? EISDIR : kNoRegularFile;
        return true;
    };
    // Also checked before the file is opened: opening a FIFO wakes its writer, and opening some devices
    // starts them.
    struct stat status;
    if (stat(path.c_str(), &status) == 0) {
        if (refuses(status))
            return -1;
    } else if (errno != ENOENT || !(flags & O_CREAT)) {
        return -1;
    }
    // O_NONBLOCK: the path may have become a FIFO meanwhile, and that must not block the program. The flag
    // has no effect on a regular file.
    const int file = open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
    if (file < 0)
        return -1;
    if (fstat(file, &status) != 0 || refuses(status)) {
        const int reason = errno;
        close(file);
        errno = reason;
        return -1;
    }
    return file;
}

int64_t BytesAfterPosition(int file)
{
    struct stat status;
    const off_t position = lseek(file, 0, SEEK_CUR);
    // A file that the kernel generates has content, but its size is 0.
    if (position < 0 || fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size <= 0)
        return -1;
    return std::max<int64_t>(status.st_size - position, 0);
}

int CauseOf(int32_t os_error)
{
    switch (os_error) {
    case ENOENT:
    case ENAMETOOLONG: return CFileException::fileNotFound;
    case ENOTDIR:
    case ELOOP: return CFileException::badPath;
    case EMFILE:
    case ENFILE: return CFileException::tooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
    case EISDIR: return CFileException::accessDenied;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return CFileException::diskFull;
    default: return CFileException::generic;
    }
}
} // namespace

int OpenRegularFile(const CString& path)
{
    return OpenRegular(path, O_RDONLY);
}

CFileException::CFileException(int32_t os_error) : m_cause(CauseOf(os_error)), m_lOsError(os_error) {}

CFile::CFile(const CString& path, UINT flags)
{
    const int access = flags & modeReadWrite ? O_RDWR : flags & modeWrite ? O_WRONLY : O_RDONLY;
    const int create = flags & modeNoTruncate ? O_CREAT : O_CREAT | O_TRUNC;
    m_file = OpenRegular(path, access | (flags & modeCreate ? create : 0));
    if (m_file < 0)
        throw CFileException(errno);
}

CFile::~CFile()
{
    if (m_file >= 0)
        close(m_file);
}

void CFile::Seek(int64_t offset)
{
    if (lseek(m_file, offset, SEEK_SET) < 0)
        throw CFileException(errno);
}

uint32_t CFile::Read(void* buffer, uint32_t bytes)
{
    uint32_t done = 0;
    while (done < bytes) {
        const ssize_t count = read(m_file, static_cast<char*>(buffer) + done, bytes - done);
        if (count == 0)
            break;
        if (count > 0)
            done += static_cast<uint32_t>(count);
        else if (errno != EINTR)
            throw CFileException(errno);
    }
    return done;
}

void CFile::Write(const void* buffer, uint32_t bytes)
{
    for (uint32_t done = 0; done < bytes;) {
        const ssize_t count = write(m_file, static_cast<const char*>(buffer) + done, bytes - done);
        if (count > 0)
            done += static_cast<uint32_t>(count);
        else if (count == 0)
            throw CFileException(kNoProgress);
        else if (errno != EINTR)
            throw CFileException(errno);
    }
}

void CFile::Close()
{
    const int file = m_file;
    m_file = -1; // the descriptor is closed even if close fails
    if (close(file) != 0)
        throw CFileException(errno);
}

int64_t CFile::BytesLeft() const
{
    return BytesAfterPosition(m_file);
}

namespace
{
int32_t g_last_error = 0;

// Transfers bytes until the handle is not ready. Returns true after the transfer is complete.
bool ContinueTransfer(HANDLE handle, OVERLAPPED& transfer)
{
    while (transfer.bytes > 0) {
        const ssize_t count = transfer.writes ? write(handle, transfer.buffer, transfer.bytes)
                                              : read(handle, transfer.buffer, transfer.bytes);
        if (count == 0 && transfer.writes) {
            g_last_error = kNoProgress;
            return false;
        }
        if (count >= 0) {
            transfer.buffer += count;
            transfer.bytes -= static_cast<uint32_t>(count);
            transfer.done += static_cast<uint32_t>(count);
            if (!transfer.writes)
                return true;
        } else if (errno != EINTR) {
            g_last_error = errno == EAGAIN ? kIoPending : errno;
            return false;
        }
    }
    return true;
}

bool BeginTransfer(HANDLE handle, OVERLAPPED transfer, uint32_t* done, OVERLAPPED* overlapped)
{
    const bool is_complete = ContinueTransfer(handle, transfer);
    *done = transfer.done;
    if (!is_complete && g_last_error == kIoPending) {
        if (overlapped)
            *overlapped = transfer;
        else
            g_last_error = EAGAIN;
    }
    return is_complete;
}
} // namespace

bool ReadFile(HANDLE handle, void* buffer, uint32_t bytes, uint32_t* done, OVERLAPPED* overlapped)
{
    return BeginTransfer(handle, {static_cast<char*>(buffer), bytes, 0, false}, done, overlapped);
}

bool WriteFile(HANDLE handle, const void* buffer, uint32_t bytes, uint32_t* done, OVERLAPPED* overlapped)
{
    // The record is used in both directions. A transfer that writes only reads from its buffer.
    return BeginTransfer(handle, {static_cast<char*>(const_cast<void*>(buffer)), bytes, 0, true}, done,
                         overlapped);
}

bool GetOverlappedResult(HANDLE handle, OVERLAPPED* overlapped, uint32_t* done, bool wait)
{
    bool is_complete = false;
    while (!(is_complete = ContinueTransfer(handle, *overlapped)) && g_last_error == kIoPending && wait) {
        pollfd ready{handle, static_cast<short>(overlapped->writes ? POLLOUT : POLLIN), 0};
        if (poll(&ready, 1, -1) < 0 && errno != EINTR) {
            g_last_error = errno;
            break;
        }
    }
    *done = overlapped->done;
    return is_complete;
}

int32_t GetLastError()
{
    return g_last_error;
}

int64_t BytesLeft(HANDLE handle)
{
    return BytesAfterPosition(handle);
}
