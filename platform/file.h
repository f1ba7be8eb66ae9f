// Files: page files as descriptors and as CFile, and transfers over any open handle.
#pragma once

#include "platform/cstring.h"
#include "platform/types.h"

// Opens a regular file for reading, links followed. Anything else (directory, FIFO, device, no permission, no
// file, a path of 4096 bytes and more) gives -1 and never blocks. The caller closes the descriptor.
int OpenRegularFile(const CString& path);

// What the operations of CFile throw.
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
    int32_t m_lOsError; // errno of the failure
};

// A regular file, at a position of its own; by the same rule as OpenRegularFile. Every operation throws a
// CFileException where it cannot be done as asked.
class CFile
{
public:
    enum OpenFlags : UINT {
        modeRead = 0,
        modeWrite = 1,
        modeReadWrite = 2,
        shareDenyNone = 0x40,    // always so here: no other program is kept out
        modeCreate = 0x1000,     // makes the file, or empties the one that is there; with a mode that writes
        modeNoTruncate = 0x2000, // with modeCreate: what is there stays
    };

    CFile(const CString& path, UINT flags); // at offset 0
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    ~CFile(); // closes, without a word

    void Seek(int64_t offset);                   // from the start
    uint32_t Read(void* buffer, uint32_t bytes); // the bytes that came: fewer only at the end of the file
    void Write(const void* buffer, uint32_t bytes);
    void Close();

    // Behind the position; -1 where the file does not tell its size.
    int64_t BytesLeft() const;

private:
    int m_file = -1; // -1 once closed
};

// ---- Transfers over handles ------------------------------------------------------------------------------

using HANDLE = int; // a file descriptor

constexpr int32_t kIoPending = 997; // the last error of a transfer that goes on; no errno has this number

// A transfer that is pending. One at a time; it and the buffer stay where they are until the transfer is
// over.
struct OVERLAPPED {
    char* buffer = nullptr; // what is still to be transferred
    uint32_t bytes = 0;
    uint32_t done = 0;
    bool writes = false;
};

// The calls below, as a test may replace them.
class FileTransfers
{
public:
    virtual ~FileTransfers() = default;
    virtual bool Read(HANDLE handle, void* buffer, uint32_t bytes, uint32_t* done,
                      OVERLAPPED* overlapped) = 0;
    virtual bool Write(HANDLE handle, const void* buffer, uint32_t bytes, uint32_t* done,
                       OVERLAPPED* overlapped) = 0;
    virtual bool GetResult(HANDLE handle, OVERLAPPED* overlapped, uint32_t* done, bool wait) = 0;
    virtual int32_t LastError() = 0;
    virtual int64_t BytesLeft(HANDLE handle) = 0;
};
void SetFileTransfers(FileTransfers* transfers); // null restores those of the system

// At the handle's position. *done becomes the bytes transferred: ReadFile gives what one read brings, 0 at
// the end; WriteFile writes all. False: GetLastError has the reason. On a handle that does not block and is
// not ready, a call with `overlapped` fails with kIoPending, and GetOverlappedResult has the outcome;
// without, that is an error.
bool ReadFile(HANDLE handle, void* buffer, uint32_t bytes, uint32_t* done, OVERLAPPED* overlapped);
bool WriteFile(HANDLE handle, const void* buffer, uint32_t bytes, uint32_t* done, OVERLAPPED* overlapped);
// With wait, blocks until the pending transfer is over. Without, one that is not fails with kIoPending.
bool GetOverlappedResult(HANDLE handle, OVERLAPPED* overlapped, uint32_t* done, bool wait);
int32_t GetLastError(); // of the last transfer that failed: errno, or kIoPending
// Behind the position of a regular file; -1 where there is no telling.
int64_t BytesLeft(HANDLE handle);
