// SPDX-License-Identifier: MIT
// Reads /proc, selects the display, and drops files from the system's cache.
#include "bench/benchsystem.h"

#include "bench/harness.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

ProcessMemory ReadProcessMemory(pid_t process)
{
    ProcessMemory memory;
    const struct {
        const char* name;
        long* value;
    } fields[] = {{"VmHWM:", &memory.peak},
                  {"VmRSS:", &memory.resident},
                  {"RssAnon:", &memory.anonymous},
                  {"RssFile:", &memory.file},
                  {"RssShmem:", &memory.shared}};
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);)
        for (const auto& field : fields)
            if (line.starts_with(field.name))
                *field.value = std::stol(line.substr(std::strlen(field.name)));
    return memory;
}

std::string PagePathOf(const char* name)
{
    return std::string{LUMENTA_BENCH_PAGES} + "/" + name;
}

bool ChooseDisplay()
{
    const bool is_x = std::getenv("DISPLAY") != nullptr;
    setenv("QT_QPA_PLATFORM", is_x ? "xcb" : "offscreen", 1);
    return is_x;
}

bool HasDisplayOf(int width, int height)
{
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    bool good = xcb_connection_has_error(connection) == 0;
    if (good) {
        const xcb_screen_t* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        good = screen->width_in_pixels == width && screen->height_in_pixels == height;
    }
    xcb_disconnect(connection);
    return good;
}

// Qt reads the size from a configuration file. This one is in memory.
bool ChooseScreen(int width, int height)
{
    const std::string screen = R"({"screens": [{"name": "bench", "x": 0, "y": 0, "width": )" +
                               std::to_string(width) + R"(, "height": )" + std::to_string(height) +
                               R"(, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})";
    const int file = memfd_create("screen", 0);
    if (file < 0 || write(file, screen.data(), screen.size()) != static_cast<ssize_t>(screen.size()))
        return false;
    const std::string platform = "offscreen:configfile=/proc/self/fd/" + std::to_string(file);
    return setenv("QT_QPA_PLATFORM", platform.c_str(), 1) == 0;
}

bool DropFromCache(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const off_t bytes = file < 0 ? 0 : lseek(file, 0, SEEK_END);
    bool gone = false;
    if (bytes > 0) {
        fdatasync(file); // pages that are not written yet would stay in the cache
        posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
        void* const mapped = mmap(nullptr, static_cast<size_t>(bytes), PROT_READ, MAP_SHARED, file, 0);
        if (mapped != MAP_FAILED) {
            const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
            std::vector<unsigned char> is_there((static_cast<size_t>(bytes) + page - 1) / page);
            gone = mincore(mapped, static_cast<size_t>(bytes), is_there.data()) == 0 &&
                   std::none_of(is_there.begin(), is_there.end(),
                                [](unsigned char there) { return (there & 1) != 0; });
            munmap(mapped, static_cast<size_t>(bytes));
        }
    }
    if (file >= 0)
        close(file);
    return gone;
}

namespace
{
#if defined(__x86_64__)
__attribute__((target("avx2"))) uint64_t ReadVectors(const uint8_t* bytes, size_t count)
{
    __m256i sums[4] = {};
    for (size_t i = 0; i + sizeof sums <= count; i += sizeof sums)
        for (size_t k = 0; k < 4; ++k)
            sums[k] = _mm256_add_epi64(
                sums[k], _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + i + 32 * k)));
    alignas(32) uint64_t lanes[4];
    _mm256_store_si256(
        reinterpret_cast<__m256i*>(lanes),
        _mm256_add_epi64(_mm256_add_epi64(sums[0], sums[1]), _mm256_add_epi64(sums[2], sums[3])));
    return lanes[0] + lanes[1] + lanes[2] + lanes[3];
}
#endif
uint64_t ReadWords(const uint8_t* bytes, size_t count)
{
    uint64_t sum = 0;
    for (size_t i = 0; i + 8 <= count; i += 8) {
        uint64_t word;
        std::memcpy(&word, bytes + i, sizeof word);
        sum += word;
    }
    return sum;
}
} // namespace

double TimeRead(const uint8_t* bytes, size_t count)
{
    static uint64_t sum;
    volatile uint64_t& kept = sum; // keeps the compiler from removing the reads
    const double start = NowMs();
#if defined(__x86_64__)
    kept = __builtin_cpu_supports("avx2") ? ReadVectors(bytes, count) : ReadWords(bytes, count);
#else
    kept = ReadWords(bytes, count);
#endif
    return NowMs() - start;
}
