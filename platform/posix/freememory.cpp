// SPDX-License-Identifier: MIT
// Reads the free memory of the machine from the kernel's files, and then the limits of the control groups and
// of the process.
#include "platform/freememory.h"

#include "platform/hooks.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/resource.h>
#include <unistd.h>

namespace
{
// Reads small text files. Each call of Read overwrites the text of the call before.
class TextReader
{
public:
    explicit TextReader(std::string_view root) : m_root(root) {}

    // Returns the text of the file root + directory + group + "/" + name, cut to the size of the buffer. It
    // is empty if the file cannot be read.
    std::string_view Read(std::string_view directory, std::string_view group, std::string_view name)
    {
        std::array<char, 4096> path;
        const int length = snprintf(path.data(), path.size(), "%.*s%.*s%.*s/%.*s", Length(m_root),
                                    m_root.data(), Length(directory), directory.data(), Length(group),
                                    group.data(), Length(name), name.data());
        if (length < 0 || static_cast<size_t>(length) >= path.size())
            return {};
        const int file = open(path.data(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (file < 0)
            return {};
        size_t filled = 0;
        for (ssize_t got; filled < m_text.size() &&
                          (got = read(file, m_text.data() + filled, m_text.size() - filled)) > 0;)
            filled += static_cast<size_t>(got);
        close(file);
        return {m_text.data(), filled};
    }

private:
    static int Length(std::string_view text) { return static_cast<int>(std::min<size_t>(text.size(), 4096)); }

    std::string_view m_root;
    std::array<char, 8192> m_text;
};

// Returns the number at the start of a text, after blanks. A number of more than 64 bits becomes UINT64_MAX.
std::optional<uint64_t> ParseNumber(std::string_view text)
{
    const size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos || text[start] < '0' || text[start] > '9')
        return {};
    uint64_t value = 0;
    for (size_t at = start; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        if (__builtin_mul_overflow(value, uint64_t{10}, &value) ||
            __builtin_add_overflow(value, static_cast<uint64_t>(text[at] - '0'), &value))
            return UINT64_MAX;
    return value;
}

// Returns the number after a name at the start of a line, or 0 if there is none.
uint64_t FieldNumber(std::string_view text, std::string_view name)
{
    for (size_t at = 0; at != std::string_view::npos && at < text.size();) {
        if (text.substr(at).starts_with(name))
            return ParseNumber(text.substr(at + name.size())).value_or(0);
        at = text.find('\n', at);
        at += at != std::string_view::npos;
    }
    return 0;
}

uint64_t KibField(std::string_view text, std::string_view name)
{
    return std::min(FieldNumber(text, name), UINT64_MAX / 1024) * 1024;
}

uint64_t SaturatedSum(uint64_t one, uint64_t other)
{
    return one > UINT64_MAX - other ? UINT64_MAX : one + other;
}

uint64_t Remaining(uint64_t limit, uint64_t used)
{
    return limit - std::min(limit, used);
}

// The files of a control group, of either version.
struct GroupFiles {
    const char* directory; // where the groups are mounted
    const char *limit, *usage;
    const char* reclaimable; // field of memory.stat: cached file pages that the kernel drops first
    const char *swap_limit, *swap_usage;
    bool swap_counts_memory; // the swap figures are the sums of memory and swap
};
constexpr GroupFiles kUnified{
    "/sys/fs/cgroup",      "memory.max", "memory.current", "inactive_file ", "memory.swap.max",
    "memory.swap.current", false};
constexpr GroupFiles kLegacy{"/sys/fs/cgroup/memory",
                             "memory.limit_in_bytes",
                             "memory.usage_in_bytes",
                             "total_inactive_file ",
                             "memory.memsw.limit_in_bytes",
                             "memory.memsw.usage_in_bytes",
                             true};

void ClampToGroup(TextReader& reader, const GroupFiles& files, std::string_view group, FreeMemory* memory)
{
    // Returns the difference of limit and usage, or nothing if there is no limit: the text is "max", or the
    // root group has no such files.
    const auto left = [&](const char* limit_name, const char* usage_name) -> std::optional<uint64_t> {
        const std::optional<uint64_t> limit = ParseNumber(reader.Read(files.directory, group, limit_name));
        const std::optional<uint64_t> usage =
            limit ? ParseNumber(reader.Read(files.directory, group, usage_name)) : std::nullopt;
        return usage ? std::optional{Remaining(*limit, *usage)} : std::nullopt;
    };
    uint64_t cache = 0;
    if (const std::optional<uint64_t> room = left(files.limit, files.usage);
        room && *room < memory->physical) {
        cache = FieldNumber(reader.Read(files.directory, group, "memory.stat"), files.reclaimable);
        memory->physical = std::min(memory->physical, SaturatedSum(*room, cache));
    }
    if (memory->page_file == 0)
        return;
    if (const std::optional<uint64_t> room = left(files.swap_limit, files.swap_usage))
        memory->page_file = std::min(
            memory->page_file,
            files.swap_counts_memory ? Remaining(SaturatedSum(*room, cache), memory->physical) : *room);
}

// Applies the limits of the group and of all groups above it. In a container, the path of a group may contain
// "/..", because the group is outside the mounted tree. Only the limits of the root group are then used.
void ClampToGroups(TextReader& reader, const GroupFiles& files, std::string_view group, FreeMemory* memory)
{
    if (group.find("/..") != std::string_view::npos)
        group = {};
    while (true) {
        ClampToGroup(reader, files, group, memory);
        if (group.empty())
            return;
        group = group.substr(0, group.rfind('/'));
    }
}

// Applies the limits of the groups of this process. Each line of /proc/self/cgroup names one of them: number,
// controllers and path, with colons between them.
void ClampToOwnGroups(TextReader& reader, FreeMemory* memory)
{
    std::array<char, 8192> copy; // the reader overwrites its text
    const std::string_view text = reader.Read("/proc/self", "", "cgroup");
    std::string_view rest{copy.data(), text.copy(copy.data(), copy.size())};
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const size_t first = line.find(':');
        const size_t second = first == std::string_view::npos ? first : line.find(':', first + 1);
        if (second == std::string_view::npos || !line.substr(second + 1).starts_with('/'))
            continue;
        const std::string_view controllers = line.substr(first + 1, second - first - 1);
        std::string_view group = line.substr(second + 1);
        if (group == "/")
            group = {};
        if (controllers.empty())
            ClampToGroups(reader, kUnified, group, memory);
        else if (controllers == "memory" || controllers.starts_with("memory,") ||
                 controllers.ends_with(",memory") || controllers.find(",memory,") != std::string_view::npos)
            ClampToGroups(reader, kLegacy, group, memory);
    }
}

void ClampToAddressSpace(TextReader& reader, FreeMemory* memory)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return;
    const uint64_t pages = ParseNumber(reader.Read("/proc/self", "", "statm")).value_or(0);
    const uint64_t room = Remaining(limit.rlim_cur, pages * static_cast<uint64_t>(sysconf(_SC_PAGESIZE)));
    memory->physical = std::min(memory->physical, room);
    memory->page_file = std::min(memory->page_file, room - memory->physical);
}
} // namespace

FreeMemory ReadFreeMemory(std::string_view root)
{
    if (const auto& replaced = Hooks::Get().memory_status; replaced && root.empty()) {
        const MemoryStatus status = replaced();
        return {status.available_physical, status.available_page_file};
    }
    TextReader reader{root};
    const std::string_view meminfo = reader.Read("/proc", "", "meminfo");
    FreeMemory memory{KibField(meminfo, "MemAvailable:"), KibField(meminfo, "SwapFree:")};
    ClampToOwnGroups(reader, &memory);
    ClampToAddressSpace(reader, &memory);
    return memory;
}

MemoryStatus ClampToStatus(const FreeMemory& memory)
{
    const auto clamp = [](uint64_t bytes) {
        return static_cast<uint32_t>(std::min<uint64_t>(bytes, 0x7fffffff));
    };
    return {clamp(memory.physical), clamp(memory.page_file)};
}

MemoryStatus GlobalMemoryStatus()
{
    return ClampToStatus(ReadFreeMemory());
}

int64_t LargestBlock()
{
    const MemoryStatus memory = GlobalMemoryStatus();
    return (int64_t{memory.available_physical} + memory.available_page_file) / 2;
}
