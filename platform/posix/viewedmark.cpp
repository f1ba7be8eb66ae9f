// SPDX-License-Identifier: MIT
// Sets and reads the viewed mark: the archive attribute on FAT, and an extended attribute on other file
// systems.
#include "platform/viewedmark.h"
#include "platform/file.h"
#include "platform/hooks.h"
#include "platform/posix/filestatus.h"
#include "platform/posix/markcalls.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <linux/magic.h>
#include <linux/msdos_fs.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/statfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace
{
constexpr uint32_t kArchive = ATTR_ARCH;
constexpr int64_t kExfatMagic = 0x2011bab0; // EXFAT_SUPER_MAGIC, which older kernel headers do not have

int ResultOrErrno(int result)
{
    return result < 0 ? -errno : result;
}

class SystemCalls : public MarkCalls
{
public:
    int Open(const char* path) override { return ResultOrErrno(OpenRegularFile(path)); }
    int Close(int file) override { return ResultOrErrno(close(file)); }
    int Status(int file, FileStatus* status) override
    {
        struct stat system;
        if (fstat(file, &system) != 0)
            return -errno;
        *status = FileStatusFrom(system);
        return 0;
    }
    int64_t FileSystemType(const char* path) override
    {
        struct statfs system;
        // Some magic numbers have the top bit set, and the field is signed.
        return statfs(path, &system) != 0 ? -errno : int64_t{static_cast<uint32_t>(system.f_type)};
    }
    int GetAttributes(int file, uint32_t* attributes) override
    {
        return ResultOrErrno(ioctl(file, FAT_IOCTL_GET_ATTRIBUTES, attributes));
    }
    int SetAttributes(int file, uint32_t attributes) override
    {
        return ResultOrErrno(ioctl(file, FAT_IOCTL_SET_ATTRIBUTES, &attributes));
    }
    int64_t GetMark(const char* path, char* value, size_t room) override
    {
        const ssize_t bytes = getxattr(path, kViewedMarkName, value, room);
        return bytes < 0 ? -errno : bytes;
    }
    int SetMark(int file, const char* value, size_t bytes) override
    {
        return ResultOrErrno(fsetxattr(file, kViewedMarkName, value, bytes, 0));
    }
};

MarkCalls& Calls()
{
    static SystemCalls system_calls;
    MarkCalls* const replaced = Hooks::Get().mark_calls;
    return replaced ? *replaced : system_calls;
}

bool IsFat(int64_t file_system_type)
{
    return file_system_type == MSDOS_SUPER_MAGIC || file_system_type == kExfatMagic;
}

// The value of the attribute that marks a file in this state. IsViewed compares the whole value with this
// text. So no value has to be parsed.
class MarkText
{
public:
    explicit MarkText(const FileStatus& status)
    {
        const int bytes = snprintf(m_text, sizeof m_text, "1 %" PRId64 ".%09" PRIu32 " %" PRId64,
                                   status.modified_s, status.modified_ns, status.size_bytes);
        m_bytes = static_cast<size_t>(bytes);
    }
    std::string_view View() const { return {m_text, m_bytes}; }

    // "1 ", seconds, ".", nanoseconds, " ", size, NUL.
    static constexpr size_t kRoom = 2 + 20 + 1 + 10 + 1 + 20 + 1;

private:
    char m_text[kRoom];
    size_t m_bytes;
};

void MarkOpenFile(int file, const CString& path, const FileStatus& status)
{
    // The attributes are read before the status. A write between the two calls sets the archive attribute
    // again and changes the status.
    const bool is_fat = IsFat(Calls().FileSystemType(path.c_str()));
    uint32_t attributes = 0;
    if (is_fat && Calls().GetAttributes(file, &attributes) < 0)
        return;
    FileStatus now;
    if (Calls().Status(file, &now) < 0 || now != status)
        return;
    if (!is_fat) {
        const MarkText mark{status};
        Calls().SetMark(file, mark.View().data(), mark.View().size());
    } else if (attributes & kArchive) {
        Calls().SetAttributes(file, attributes & ~kArchive);
    }
}
} // namespace

FileStatus FileStatusOf(const CString& path)
{
    struct stat system;
    if (stat(path.c_str(), &system) == 0)
        return FileStatusFrom(system);
    FileStatus status;
    if (errno != ENOENT && errno != ENOTDIR)
        status.kind = FileStatus::Kind::unknown;
    return status;
}

void MarkViewed(const CString& path, const FileStatus& status)
{
    if (!status.IsFile())
        return;
    const int file = Calls().Open(path.c_str());
    if (file < 0)
        return;
    MarkOpenFile(file, path, status);
    Calls().Close(file);
}

bool ViewedMarks::HasAttributes(const char* path, uint64_t device)
{
    const auto known = std::find_if(m_devices.begin(), m_devices.end(),
                                    [device](const Device& each) { return each.number == device; });
    if (known != m_devices.end())
        return known->has_attributes;
    const int64_t type = Calls().FileSystemType(path);
    if (type >= 0) // after a failure the type is unknown, and the next file tries again
        m_devices.push_back({device, IsFat(type)});
    return IsFat(type);
}

bool ViewedMarks::IsViewed(const char* path, const FileStatus& status)
{
    if (!status.IsFile())
        return false;
    if (!HasAttributes(path, status.device)) {
        char value[MarkText::kRoom]; // a longer value is not a mark
        const int64_t bytes = Calls().GetMark(path, value, sizeof value);
        return bytes > 0 && std::string_view{value, static_cast<size_t>(bytes)} == MarkText{status}.View();
    }
    const int file = Calls().Open(path);
    if (file < 0)
        return false;
    uint32_t attributes = 0;
    const bool is_viewed = Calls().GetAttributes(file, &attributes) >= 0 && !(attributes & kArchive);
    Calls().Close(file);
    return is_viewed;
}
