// SPDX-License-Identifier: MIT
// Opens, reads and writes files. Page files are regular files, opened as descriptors or as CFile. The
// functions with a HANDLE transfer bytes with any open descriptor.
#pragma once

#include "platform/cstring.h"
#include "platform/types.h"

// Opens a regular file for reading, following links. Never blocks. Returns a descriptor, which the caller
// closes. Returns -1 with errno set if the path is no regular file (a directory, FIFO or device), does not
// exist, has 4096 bytes or more, or may not be read.
[[nodiscard]] int OpenRegularFile(const CString& path);

// Thrown by the operations of CFile.
class CFileException
{
public:
    enum Cause {
        generic = 1,
        fileNotFound = 2,
        badPath = 3,
        tooManyOpenFiles = 4,
        accessDenied = 5,
        diskFull = 13
    };

    explicit CFileException(int32_t os_error);

    int m_cause;
    int32_t m_lOsError; // errno of the failed operation
};

// A regular file with its own position, opened with the checks of OpenRegularFile. The constructor, Seek,
// Read, Write and Close throw a CFileException if they fail.
class CFile
{
public:
    enum OpenFlags : UINT {
        modeRead = 0,
        modeWrite = 1,
        modeReadWrite = 2,
        shareDenyNone = 0x40,    // has no effect: other programs can always open the file
        modeCreate = 0x1000,     // creates the file, or empties an existing one; needs a mode that writes
        modeNoTruncate = 0x2000, // with modeCreate: keeps the content of an existing file
    };

    CFile(const CString& path, UINT flags); // opens the file at position 0
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    ~CFile(); // closes the file and ignores a failure

    void Seek(int64_t offset); // bytes from the start of the file
    // Returns the number of bytes read: fewer only at the end of the file.
    [[nodiscard]] uint32_t Read(void* buffer, uint32_t bytes);
    void Write(const void* buffer, uint32_t bytes);
    void Close();

    // Returns the number of bytes from the position to the end of the file; -1 if the file has no known size.
    [[nodiscard]] int64_t BytesLeft() const;

private:
    int m_file = -1; // -1 after Close
};

// ---- Transfers with handles ------------------------------------------------------------------------------

using HANDLE = int; // a file descriptor

// GetLastError for a transfer that is not complete; no errno has this value.
constexpr int32_t kIoPending = 997;

// A pending transfer. A handle can have one at a time. The record and the buffer must stay in place until the
// transfer is complete.
struct OVERLAPPED {
    char* buffer = nullptr; // the part that is still to be transferred
    uint32_t bytes = 0;     // size of that part
    uint32_t done = 0;      // bytes transferred so far
    bool writes = false;    // begun by WriteFile
};

// Transfer bytes at the handle's position, and set *done to the number of bytes transferred. ReadFile returns
// after one read, with 0 bytes at the end of the file. WriteFile writes all bytes. Each returns false after a
// failure, and GetLastError then returns the reason. If the handle is non-blocking and not ready, a call with
// `overlapped` fails with kIoPending, and GetOverlappedResult returns the outcome. A call without
// `overlapped` fails with EAGAIN.
[[nodiscard]] bool ReadFile(HANDLE handle, void* buffer, uint32_t bytes, uint32_t* done,
                            OVERLAPPED* overlapped);
[[nodiscard]] bool WriteFile(HANDLE handle, const void* buffer, uint32_t bytes, uint32_t* done,
                             OVERLAPPED* overlapped);
// Completes a pending transfer. If `wait` is true, blocks until the transfer is complete. Otherwise fails
// with kIoPending if it is not complete.
[[nodiscard]] bool GetOverlappedResult(HANDLE handle, OVERLAPPED* overlapped, uint32_t* done, bool wait);
[[nodiscard]] int32_t GetLastError(); // of the last failed transfer: errno, or kIoPending
// Returns the number of bytes from the position to the end of a regular file; -1 if the number is not known.
[[nodiscard]] int64_t BytesLeft(HANDLE handle);
