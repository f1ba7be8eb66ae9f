// SPDX-License-Identifier: MIT
// The amount of free memory, the opening of page files, and the temporary store.
#include "platform/file.h"
#include "platform/freememory.h"
#include "platform/tempstore.h"
#include "platform/testing/testing.h"
#include "tests/support/child.h"
#include "tests/support/scratch.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace
{
TEST(MemoryStatus, ReadsTheKernelsText)
{
    constexpr uint64_t kMost = UINT64_MAX / 1024 * 1024;
    struct {
        const char* text;
        FreeMemory memory;
        MemoryStatus status;
    } const cases[] = {
        {"MemTotal: 9 kB\nMemAvailable:     100 kB\nSwapFree:   7 kB\n", {102400, 7168}, {102400, 7168}},
        {"SwapFree: 7 kB\nMemAvailable: 100", {102400, 7168}, {102400, 7168}}, // without a line end
        {"XMemAvailable: 5 kB\nMemAvailable: 1 kB\n", {1024, 0}, {1024, 0}},
        {"MemAvailable: 2097151 kB\nSwapFree: 2097152 kB\n",
         {0x7ffffc00, 0x80000000},
         {0x7ffffc00, 0x7fffffff}},
        {"MemAvailable: 99999999999999999999999999999 kB\nSwapFree: 18014398509481984 kB",
         {kMost, kMost},
         {0x7fffffff, 0x7fffffff}},
        {"MemAvailable: -5 kB\nSwapFree: much\n", {}, {}},
        {"MemAvailable:", {}, {}},
        {"", {}, {}},
    };
    const ScratchDirectory root;
    std::filesystem::create_directory(root.File("proc"));
    for (const auto& c : cases) {
        root.Write("proc/meminfo", c.text);
        const FreeMemory got = ReadFreeMemory(root.Path());
        EXPECT_EQ(got.physical, c.memory.physical) << c.text;
        EXPECT_EQ(got.page_file, c.memory.page_file) << c.text;
        EXPECT_EQ(ClampToStatus(got).available_physical, c.status.available_physical) << c.text;
        EXPECT_EQ(ClampToStatus(got).available_page_file, c.status.available_page_file) << c.text;
    }
    EXPECT_GT(GlobalMemoryStatus().available_physical, 0U);
}

TEST(MemoryStatus, ControlGroupsLimitIt)
{
    std::string deep = "0::";
    while (deep.size() < 20000)
        deep += "/deep";
    struct {
        const char* name;
        std::string groups;           // text of /proc/self/cgroup
        const char* files;            // below /sys/fs/cgroup: path, "=", text, and ";" before the next
        uint64_t physical, page_file; // 1000 KiB and 500 KiB without limits
    } const cases[] = {
        {"no limit", "0::/a\n", "a/memory.max=max\n;a/memory.current=5\n", 1024000, 512000},
        {"a limit of a group above", "0::/a/b/c\n",
         "a/memory.max=9000;a/memory.current=2000;a/b/c/memory.max=8000;a/b/c/memory.current=10", 7000,
         512000},
        {"a path above the root of a container", "0::/../../x\n",
         "memory.max=9000;memory.current=2000;../../x/memory.max=1;../../x/memory.current=1", 7000, 512000},
        {"more used than allowed", "0::/a\n", "a/memory.max=9;a/memory.current=20", 0, 512000},
        {"cached files count as free", "0::/a\n",
         "a/memory.max=9000;a/memory.current=8999;a/memory.stat=anon 8\nactive_file 7\ninactive_file 500\n",
         501, 512000},
        {"no swap", "0::/a\n", "a/memory.swap.max=0;a/memory.swap.current=0", 1024000, 0},
        {"cgroup version 1", "9:cpu,memory:/a\n4:pids:/p\n0::/b\n",
         "memory/memory.limit_in_bytes=9223372036854771712;memory/memory.usage_in_bytes=77;"
         "memory/a/memory.limit_in_bytes=9000;memory/a/memory.usage_in_bytes=2000;"
         "memory/a/memory.stat=inactive_file 9\ntotal_inactive_file 30\n;"
         "memory/a/memory.memsw.limit_in_bytes=9500;memory/a/memory.memsw.usage_in_bytes=2100",
         7030, 400},
        {"nonsense", "0::/a\n0:/b\n::\n\n0::c\nmemory\n4:memory:/a",
         "a/memory.max=-1;a/memory.current=5;memory/a/memory.limit_in_bytes=12;memory/memory.limit_in_bytes=",
         1024000, 512000},
        {"a text longer than the reader reads", deep, "", 1024000, 512000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ScratchDirectory root;
        const auto write = [&](const std::string& path, const std::string& text) {
            std::filesystem::create_directories(std::filesystem::path{root.File(path)}.parent_path());
            root.Write(path, text);
        };
        write("proc/meminfo", "MemAvailable: 1000 kB\nSwapFree: 500 kB\n");
        write("proc/self/cgroup", c.groups);
        write("sys/fs/cgroup/cgroup.procs", "");
        std::istringstream files{c.files};
        for (std::string file; std::getline(files, file, ';');)
            write("sys/fs/cgroup/" + file.substr(0, file.find('=')), file.substr(file.find('=') + 1));
        const FreeMemory got = ReadFreeMemory(root.Path());
        EXPECT_EQ(got.physical, c.physical);
        EXPECT_EQ(got.page_file, c.page_file);
    }
}

TEST(MemoryStatus, TheAddressSpaceLimitsIt)
{
    const ScratchDirectory root;
    std::filesystem::create_directories(root.File("proc/self"));
    root.Write("proc/meminfo", "MemAvailable: 1000000 kB\nSwapFree: 1000000 kB\n");
    root.Write("proc/self/statm", "25000 7 7\n");
    const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    for (const uint64_t room : {uint64_t{0}, uint64_t{5000}, uint64_t{1'500'000'000}})
        EXPECT_EQ(InChild([&] {
                      const rlimit limit{25000 * page + room, RLIM_INFINITY};
                      if (setrlimit(RLIMIT_AS, &limit) != 0)
                          return std::string{"no limit"};
                      const FreeMemory got = ReadFreeMemory(root.Path());
                      return std::to_string(got.physical) + " " + std::to_string(got.page_file);
                  }),
                  std::to_string(std::min<uint64_t>(room, 1'024'000'000)) + " " +
                      std::to_string(room > 1'024'000'000 ? room - 1'024'000'000 : 0));
}

TEST(OpenRegularFile, OpensOnlyRegularFiles)
{
    const ScratchDirectory scratch;
    const std::string& directory = scratch.Path();
    const std::string page = scratch.Write("page \xff.fax", "");
    ASSERT_EQ(symlink(page.c_str(), scratch.File("link").c_str()), 0);
    ASSERT_EQ(symlink("/dev/zero", scratch.File("device").c_str()), 0);
    ASSERT_EQ(mkfifo(scratch.File("fifo").c_str(), 0644), 0);
    std::string long_path = directory;
    while (long_path.size() < 5000)
        long_path += "/.";
    struct {
        std::string path;
        bool opens;
    } const cases[] = {
        {page, true},
        {scratch.File("link"), true},
        {directory, false},
        {scratch.File("device"), false},
        {scratch.File("fifo"), false},
        {scratch.File("nothing"), false},
        {long_path + page.substr(directory.size()), false},
    };
    for (const auto& c : cases) {
        alarm(20); // a call that blocks ends the program
        const int file = OpenRegularFile(c.path);
        alarm(0);
        EXPECT_EQ(file >= 0, c.opens) << c.path;
        if (file >= 0) {
            EXPECT_TRUE(fcntl(file, F_GETFD) & FD_CLOEXEC);
            close(file);
        }
    }
    chmod(directory.c_str(), 0755);
    chmod(page.c_str(), 0);
    EXPECT_EQ(InChild([&] {
                  const bool other = geteuid() != 0 || setuid(65534) == 0;
                  return other && OpenRegularFile(page) == -1 ? "refused" : "opened";
              }),
              "refused");
}

// Returns the path of the open file. If it was deleted, the path ends with " (deleted)".
std::string PlaceOf(int file)
{
    char text[4096] = "";
    const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), text, sizeof text);
    return {text, length > 0 ? static_cast<size_t>(length) : 0};
}

TEST(TempStore, IsAFileWithoutANameInTheFirstUsableDirectory)
{
    const ScratchDirectory scratch;
    const std::string& directory = scratch.Path();
    const std::string system = access("/var/tmp", W_OK) == 0 ? "/var/tmp" : "/tmp";
    struct {
        const char* variable;
        std::string want;
    } const cases[] = {
        {directory.c_str(), directory}, {nullptr, system}, {"tmp", system},
        {"/nonexistent/x", system},     {"/proc", system},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.variable ? c.variable : "(none)");
        c.variable ? setenv("TMPDIR", c.variable, 1) : unsetenv("TMPDIR");
        const int64_t bytes = 3000001;
        const int file = CreateTempFile("SQZ", bytes);
        ASSERT_NE(file, kInvalidFile);
        const std::string place = PlaceOf(file);
        EXPECT_EQ(place.substr(0, c.want.size() + 4), c.want + "/SQZ");
        EXPECT_TRUE(place.ends_with(" (deleted)")) << place;
        struct stat status {
        };
        ASSERT_EQ(fstat(file, &status), 0);
        EXPECT_EQ(status.st_nlink, 0U);
        EXPECT_EQ(status.st_size, bytes);
        EXPECT_GE(status.st_blocks * 512, bytes); // the blocks are allocated
        EXPECT_TRUE(fcntl(file, F_GETFD) & FD_CLOEXEC);
        uint8_t* view = MapTempFile(file, bytes);
        ASSERT_TRUE(view);
        CloseTempFile(file); // the mapping stays valid
        view[0] = 1;
        view[bytes - 1] = 2;
        EXPECT_EQ(view[0] + view[bytes - 1], 3);
        UnmapTempFile(view, bytes);
    }
    unsetenv("TMPDIR");
}

TEST(TempStore, RefusesSizesThatDoNotFit)
{
    uint64_t most_free = 0;
    for (const char* place : {"/var/tmp", "/tmp"}) {
        struct statvfs status {
        };
        if (statvfs(place, &status) == 0)
            most_free = std::max(most_free, uint64_t{status.f_bavail} * status.f_frsize);
    }
    for (const int64_t bytes : {int64_t{0}, int64_t{-1}, INT64_MAX, static_cast<int64_t>(most_free / 8 * 5)})
        EXPECT_EQ(CreateTempFile("SQZ", bytes), kInvalidFile) << bytes;
    const FileSizeLimit limit{1 << 20};
    const int file = CreateTempFile("SQZ", 1 << 20);
    EXPECT_NE(file, kInvalidFile);
    CloseTempFile(file);
    EXPECT_EQ(CreateTempFile("SQZ", (1 << 20) + 1), kInvalidFile);
}

// A tmpfs can be larger than the free memory.
TEST(TempStore, OnTmpfsItTakesAtMostHalfOfTheMemory)
{
    struct statfs status;
    if (statfs("/dev/shm", &status) != 0 || status.f_type != TMPFS_MAGIC || access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "no tmpfs in /dev/shm";
    const ScratchDirectory disk;
    if (statfs(disk.Path().c_str(), &status) != 0 || status.f_type == TMPFS_MAGIC)
        GTEST_SKIP() << "no disk";
    const auto place = [](const char* directory, int64_t bytes) {
        setenv("TMPDIR", directory, 1);
        const int file = CreateTempFile("SQZ", bytes);
        const std::string path = PlaceOf(file);
        CloseTempFile(file);
        unsetenv("TMPDIR");
        return path.substr(0, path.rfind('/'));
    };
    SetMemoryStatusSource([] { return MemoryStatus{2 << 20, 4 << 20}; });
    EXPECT_EQ(place("/dev/shm", 1 << 20), "/dev/shm");
    EXPECT_NE(place("/dev/shm", (1 << 20) + 1), "/dev/shm");
    EXPECT_EQ(place(disk.Path().c_str(), (1 << 20) + 1), disk.Path());
    SetMemoryStatusSource(nullptr);
}
} // namespace
