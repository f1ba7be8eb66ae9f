// Memory figures, from the kernel's table.
#include "platform/memory.h"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace
{
MemoryStatus (*g_source)() = nullptr;

// The figure behind a line's name, which the kernel gives in KiB, in bytes and held to 31 bits.
uint32_t Figure(std::string_view meminfo, std::string_view name)
{
    size_t at = 0;
    while (meminfo.substr(at, name.size()) != name) {
        at = meminfo.find('\n', at);
        if (at == std::string_view::npos)
            return 0;
        ++at;
    }
    at += name.size();
    while (at < meminfo.size() && meminfo[at] == ' ')
        ++at;
    uint64_t kib = 0;
    for (; at < meminfo.size() && meminfo[at] >= '0' && meminfo[at] <= '9'; ++at)
        kib = std::min<uint64_t>(kib * 10 + static_cast<uint64_t>(meminfo[at] - '0'), 0x7fffffff);
    return static_cast<uint32_t>(std::min<uint64_t>(kib * 1024, 0x7fffffff));
}
} // namespace

MemoryStatus ParseMemoryStatus(std::string_view meminfo)
{
    return {Figure(meminfo, "MemAvailable:"), Figure(meminfo, "SwapFree:")};
}

MemoryStatus GlobalMemoryStatus()
{
    if (g_source)
        return g_source();
    char text[8192];
    size_t length = 0;
    const int file = open("/proc/meminfo", O_RDONLY | O_CLOEXEC);
    if (file >= 0) {
        for (ssize_t got;
             length < sizeof text && (got = read(file, text + length, sizeof text - length)) > 0;)
            length += static_cast<size_t>(got);
        close(file);
    }
    return ParseMemoryStatus({text, length});
}

int64_t LargestBlock()
{
    const MemoryStatus memory = GlobalMemoryStatus();
    return (int64_t{memory.available_physical} + memory.available_page_file) / 2;
}

void SetMemoryStatusSource(MemoryStatus (*source)())
{
    g_source = source;
}
