// SPDX-License-Identifier: MIT
// Opens inputs, and copies those that cannot seek.
#include "pageinput.h"

#include "tool.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr size_t kBufferBytes = size_t{1} << 16;

// Reads `bytes` bytes, or fewer if the input ends. Returns their number, or -1 with errno.
ssize_t ReadAll(int descriptor, char* buffer, size_t bytes)
{
    size_t arrived = 0;
    while (arrived < bytes) {
        const ssize_t got = read(descriptor, buffer + arrived, bytes - arrived);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        arrived += static_cast<size_t>(got);
    }
    return static_cast<ssize_t>(arrived);
}

bool WriteAll(int descriptor, const char* bytes, size_t count)
{
    while (count > 0) {
        const ssize_t written = write(descriptor, bytes, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        bytes += written;
        count -= static_cast<size_t>(written);
    }
    return true;
}

// Opens a new file without a name. Returns -1 with errno if no directory can be used.
int OpenTemporaryFile()
{
    const char* const directories[] = {std::getenv("TMPDIR"), "/var/tmp", "/tmp"};
    for (const char* const directory : directories) {
        if (!directory || !*directory)
            continue;
        std::string path = std::string{directory} + "/page-tool-XXXXXX";
        const int descriptor = mkstemp(path.data());
        if (descriptor < 0)
            continue;
        unlink(path.c_str());
        return descriptor;
    }
    return -1;
}
} // namespace

PageInput::~PageInput()
{
    if (m_file)
        std::fclose(m_file);
    else if (m_descriptor >= 0)
        close(m_descriptor);
}

std::string PageInput::Open(const char* path)
{
    m_descriptor = IsStandardInput(path) ? dup(STDIN_FILENO) : open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (m_descriptor < 0)
        return std::strerror(errno);
    if (const off_t here = lseek(m_descriptor, 0, SEEK_CUR); here > 0)
        m_first = here; // another program has read the first part of standard input
    const ssize_t bytes = ReadAll(m_descriptor, m_start, sizeof m_start);
    if (bytes < 0)
        return std::strerror(errno);
    m_start_bytes = static_cast<size_t>(bytes);
    return {};
}

std::string PageInput::MakeSeekable()
{
    struct stat about {
    };
    const bool seekable =
        fstat(m_descriptor, &about) == 0 && (S_ISREG(about.st_mode) || S_ISBLK(about.st_mode));
    if (!seekable)
        if (std::string error = CopyToTemporaryFile(); !error.empty())
            return error;
    m_file = fdopen(m_descriptor, "rb");
    if (!m_file)
        return std::strerror(errno);
    // Decoders read 512 or 4096 bytes at a time.
    m_file_buffer = std::make_unique_for_overwrite<char[]>(kBufferBytes);
    std::setvbuf(m_file, m_file_buffer.get(), _IOFBF, kBufferBytes);
    return {};
}

std::string PageInput::CopyToTemporaryFile()
{
    const int copy = OpenTemporaryFile();
    const auto buffer = std::make_unique_for_overwrite<char[]>(kBufferBytes);
    ssize_t bytes = 0;
    bool copied = copy >= 0 && WriteAll(copy, m_start, m_start_bytes);
    while (copied && (bytes = ReadAll(m_descriptor, buffer.get(), kBufferBytes)) > 0)
        copied = WriteAll(copy, buffer.get(), static_cast<size_t>(bytes));
    if (!copied || bytes < 0) {
        std::string error = std::strerror(errno);
        if (!copied)
            error = "cannot be copied to a temporary file: " + error;
        if (copy >= 0)
            close(copy);
        return error;
    }
    close(m_descriptor);
    m_descriptor = copy;
    m_first = 0;
    return {};
}

std::string PageInput::Seek(int64_t position)
{
    return fseeko(m_file, m_first + position, SEEK_SET) == 0 ? std::string{} : std::strerror(errno);
}
