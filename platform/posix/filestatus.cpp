// SPDX-License-Identifier: MIT
#include "platform/posix/filestatus.h"

FileStatus FileStatusFrom(const struct stat& system)
{
    FileStatus status;
    status.kind = S_ISREG(system.st_mode)   ? FileStatus::Kind::file
                  : S_ISDIR(system.st_mode) ? FileStatus::Kind::directory
                                            : FileStatus::Kind::other;
    status.modified_ns = static_cast<uint32_t>(system.st_mtim.tv_nsec);
    status.modified_s = system.st_mtim.tv_sec;
    status.size_bytes = system.st_size;
    status.device = system.st_dev;
    status.inode = system.st_ino;
    return status;
}
