// SPDX-License-Identifier: MIT
// Writes through a temporary file, which is removed if the program ends early.
#include "pbmoutput.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGPIPE, SIGTERM};

// The temporary file that a signal removes.
char g_temporary[PATH_MAX];
volatile sig_atomic_t g_has_temporary = 0;

void RemoveTemporaryFile()
{
    if (g_has_temporary)
        unlink(g_temporary);
    g_has_temporary = 0;
}

// The signal has its default action again, which ends the program when this function returns.
void EndBySignal(int signal)
{
    RemoveTemporaryFile();
    raise(signal);
}

// Signals that the program ignores, such as SIGHUP under nohup, stay ignored.
void HandleEndingSignals()
{
    for (const int signal : kEndingSignals) {
        struct sigaction old {
        };
        sigaction(signal, nullptr, &old);
        if (old.sa_handler == SIG_IGN)
            continue;
        struct sigaction action {
        };
        action.sa_handler = EndBySignal;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(signal, &action, nullptr);
    }
}

// Blocks the ending signals while it exists.
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : kEndingSignals)
            sigaddset(&signals, signal);
        sigprocmask(SIG_BLOCK, &signals, &m_before);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { sigprocmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before;
};

std::string SystemError()
{
    return std::strerror(errno);
}
} // namespace

PbmOutput::~PbmOutput()
{
    const SignalsBlocked blocked;
    RemoveTemporaryFile();
    if (m_descriptor > STDERR_FILENO)
        close(m_descriptor);
}

std::string PbmOutput::Open(const char* path)
{
    struct stat about {
    };
    if (!path) {
        m_descriptor = STDOUT_FILENO;
    } else if (stat(path, &about) == 0 && !S_ISREG(about.st_mode)) {
        m_descriptor = open(path, O_WRONLY | O_CLOEXEC | O_NOCTTY);
    } else {
        if (std::string error = OpenTemporaryFile(path); !error.empty())
            return error;
    }
    if (m_descriptor < 0)
        return SystemError();
    if (isatty(m_descriptor))
        return "will not write an image to a terminal";
    const int flags = fcntl(m_descriptor, F_GETFL);
    if (fstat(m_descriptor, &about) == 0 && S_ISREG(about.st_mode) && flags >= 0 && !(flags & O_APPEND))
        m_start = lseek(m_descriptor, 0, SEEK_CUR);
    return {};
}

std::string PbmOutput::OpenTemporaryFile(const char* path)
{
    // The file that a symbolic link names is replaced, not the link. A link that cannot be followed is not
    // replaced either.
    const std::unique_ptr<char, decltype(&std::free)> target{realpath(path, nullptr), &std::free};
    struct stat about {
    };
    if (!target && (errno != ENOENT || !*path || lstat(path, &about) == 0))
        return SystemError();
    m_path = target ? target.get() : path;
    // The new file has the permissions of the file that it replaces.
    const bool replaces = stat(path, &about) == 0;
    const mode_t mode = replaces ? about.st_mode & 0777 : 0666;
    const size_t slash = m_path.find_last_of('/');
    const std::string directory = slash == std::string::npos ? "" : m_path.substr(0, slash + 1);
    const std::string prefix = directory + ".page-to-pbm." + std::to_string(getpid()) + '.';
    const SignalsBlocked blocked;
    constexpr int kTries = 100; // other processes can have had the same number
    for (int i = 0; i < kTries && m_descriptor < 0; ++i) {
        const std::string name = prefix + std::to_string(i);
        if (name.size() >= sizeof g_temporary)
            return std::strerror(ENAMETOOLONG);
        memcpy(g_temporary, name.c_str(), name.size() + 1);
        m_descriptor = open(g_temporary, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode); // minus the umask
        if (m_descriptor < 0 && errno != EEXIST)
            break;
        g_has_temporary = m_descriptor >= 0;
    }
    if (m_descriptor < 0)
        return SystemError();
    if (replaces)
        (void)fchmod(m_descriptor, mode); // some file systems have no permissions
    HandleEndingSignals();
    (void)std::at_quick_exit(RemoveTemporaryFile);
    return {};
}

std::string PbmOutput::Write(const void* bytes, size_t count)
{
    const char* next = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t written = write(m_descriptor, next, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return SystemError();
        next += written;
        count -= static_cast<size_t>(written);
    }
    return {};
}

std::string PbmOutput::Rewrite(const void* bytes, size_t count)
{
    // The first bytes are few, so they are written completely or not at all.
    return pwrite(m_descriptor, bytes, count, m_start) == static_cast<ssize_t>(count) ? "" : SystemError();
}

std::string PbmOutput::Finish()
{
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (close(descriptor) != 0)
        return SystemError();
    if (m_path.empty())
        return {};
    const SignalsBlocked blocked;
    if (std::rename(g_temporary, m_path.c_str()) != 0)
        return SystemError();
    g_has_temporary = 0;
    return {};
}
