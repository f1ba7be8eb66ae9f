// Page files are regular files and nothing else.
#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

int OpenRegularFile(const CString& path)
{
    // Asked before the open as well: opening alone wakes the writer of a FIFO and sets some devices going.
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return -1;
    // O_NONBLOCK: a FIFO put there meanwhile must not hold the program up; it means nothing for a regular
    // file.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return -1;
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(file);
        return -1;
    }
    return file;
}
