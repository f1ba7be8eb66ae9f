// Memory figures, the open of page files, the temporary store.
#include "platform/file.h"
#include "platform/memory.h"
#include "platform/tempstore.h"
#include "tests/support/child.h"
#include "tests/support/scratch.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace
{
TEST(MemoryStatus, FiguresOutOfTheKernelsText)
{
    struct {
        const char* text;
        uint32_t physical, page_file;
    } const cases[] = {
        {"MemTotal: 9 kB\nMemAvailable:     100 kB\nSwapFree:   7 kB\n", 102400, 7168},
        {"SwapFree: 7 kB\nMemAvailable: 100", 102400, 7168}, // no line end
        {"XMemAvailable: 5 kB\nMemAvailable: 1 kB\n", 1024, 0},
        {"MemAvailable: 2097151 kB\nSwapFree: 2097152 kB\n", 0x7ffffc00, 0x7fffffff},
        {"MemAvailable: 99999999999999999999999999999 kB\nSwapFree: 18014398509481984 kB", 0x7fffffff,
         0x7fffffff},
        {"MemAvailable: -5 kB\nSwapFree: much\n", 0, 0},
        {"MemAvailable:", 0, 0},
        {"MemAvailable", 0, 0},
        {"\n\n\n", 0, 0},
        {"", 0, 0},
    };
    for (const auto& c : cases) {
        const MemoryStatus got = ParseMemoryStatus(c.text);
        EXPECT_EQ(got.available_physical, c.physical) << c.text;
        EXPECT_EQ(got.available_page_file, c.page_file) << c.text;
    }
    EXPECT_GT(GlobalMemoryStatus().available_physical, 0U);
    SetMemoryStatusSource([] { return MemoryStatus{3, 4}; });
    EXPECT_EQ(GlobalMemoryStatus().available_page_file, 4U);
    SetMemoryStatusSource(nullptr);
    EXPECT_NE(GlobalMemoryStatus().available_physical, 3U);
}

TEST(OpenRegularFile, OpensRegularFilesAndNothingElse)
{
    const ScratchDirectory scratch;
    const std::string& directory = scratch.Path();
    const std::string page = scratch.Write("page \xff.fax", "");
    ASSERT_EQ(symlink(page.c_str(), scratch.File("link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", scratch.File("dangling").c_str()), 0);
    ASSERT_EQ(symlink("loop", scratch.File("loop").c_str()), 0);
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
        {scratch.File("dangling"), false},
        {scratch.File("loop"), false},
        {scratch.File("device"), false},
        {scratch.File("fifo"), false},
        {"/dev/zero", false},
        {scratch.File("nothing"), false},
        {"", false},
        {long_path + page.substr(directory.size()), false},
    };
    for (const auto& c : cases) {
        alarm(20); // what blocks ends the test
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

// Where a descriptor's file lies or lay.
std::string PlaceOf(int file)
{
    char text[4096] = "";
    const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), text, sizeof text);
    return {text, length > 0 ? static_cast<size_t>(length) : 0};
}

TEST(TempStore, LiesInTheFirstUsableDirectoryWithoutAName)
{
    const ScratchDirectory scratch;
    const std::string& directory = scratch.Path();
    const std::string system = access("/var/tmp", W_OK) == 0 ? "/var/tmp" : "/tmp";
    struct {
        const char* variable;
        std::string want;
    } const cases[] = {
        {directory.c_str(), directory},
        {nullptr, system},
        {"", system},
        {".", system},
        {"tmp", system},
        {"/nonexistent/x", system},
        {"/proc", system},
        {"/dev/null", system},
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
        EXPECT_GE(status.st_blocks * 512, bytes); // reserved, not a hole
        EXPECT_TRUE(fcntl(file, F_GETFD) & FD_CLOEXEC);
        uint8_t* view = MapTempFile(file, bytes);
        ASSERT_TRUE(view);
        CloseTempFile(file); // the mapping stays
        view[0] = 1;
        view[bytes - 1] = 2;
        EXPECT_EQ(view[0] + view[bytes - 1], 3);
        UnmapTempFile(view, bytes);
    }
    unsetenv("TMPDIR");
}

TEST(TempStore, RefusesWhatCannotBeHeld)
{
    uint64_t most_free = 0;
    for (const char* place : {"/var/tmp", "/tmp"}) {
        struct statvfs status {
        };
        if (statvfs(place, &status) == 0)
            most_free = std::max(most_free, uint64_t{status.f_bavail} * status.f_frsize);
    }
    for (const int64_t bytes :
         {int64_t{0}, int64_t{-1}, INT64_MIN, INT64_MAX, static_cast<int64_t>(most_free / 8 * 5)})
        EXPECT_EQ(CreateTempFile("SQZ", bytes), kInvalidFile) << bytes;
    const FileSizeLimit limit{1 << 20};
    const int file = CreateTempFile("SQZ", 1 << 20);
    EXPECT_NE(file, kInvalidFile);
    CloseTempFile(file);
    EXPECT_EQ(CreateTempFile("SQZ", (1 << 20) + 1), kInvalidFile);
}
} // namespace
