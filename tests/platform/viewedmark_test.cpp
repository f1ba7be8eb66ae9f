// SPDX-License-Identifier: MIT
// The viewed mark: on a fake file system, in which every call can fail, and on real files.
#include "platform/viewedmark.h"
#include "tests/support/child.h"
#include "tests/support/fake_marks.h"
#include "tests/support/scratch.h"

#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace
{
constexpr char kMark[] = "1 1700000000.000000007 3519092";

FileStatus StatusOfPage()
{
    FileStatus status;
    status.kind = FileStatus::Kind::file;
    status.modified_s = 1700000000;
    status.modified_ns = 7;
    status.size_bytes = 3519092;
    status.device = 1;
    status.inode = 2;
    return status;
}

TEST(MarkViewed, UsesTheVariantOfTheFileSystemOrNone)
{
    const std::string mark = kMark;
    struct {
        int64_t type;
        int open_result, status_result, attributes_result;
        uint32_t attributes;
        std::string want;
    } const cases[] = {
        {kExt4Type, 5, 0, -ENOTTY, 0, "open type status mark:" + mark + " close "},
        {kExt4Type, 5, -EIO, 0, 0, "open type status close "},
        {kExt4Type, -EACCES, 0, 0, 0, "open "},
        {kFatType, 5, 0, 0, 0x21, "open type get status set:1 close "}, // the read-only bit stays
        {kFatType, 5, 0, 0, 2, "open type get status close "},          // already viewed
        {kFatType, 5, 0, -ENOTTY, 0x20, "open type get close "},
        {kExfatType, 5, 0, 0, 0x20, "open type get status set:0 close "},
    };
    for (const auto& c : cases) {
        FakeMarks calls;
        calls.status = StatusOfPage();
        calls.type = c.type;
        calls.open_result = c.open_result;
        calls.status_result = c.status_result;
        calls.attributes_result = c.attributes_result;
        calls.attributes = c.attributes;
        MarkViewed("page", StatusOfPage());
        EXPECT_EQ(calls.trace, c.want);
    }
    // Another file, or the same file in another state, is not marked.
    for (const int64_t type : {kExt4Type, kFatType}) {
        FakeMarks calls;
        calls.type = type;
        calls.status = StatusOfPage();
        ++calls.status.inode;
        MarkViewed("page", StatusOfPage());
        EXPECT_TRUE(calls.trace.ends_with("status close ")) << calls.trace;
    }
    FakeMarks calls;
    MarkViewed("page", FileStatus{});
    EXPECT_EQ(calls.trace, "");
}

TEST(ViewedMarks, AcceptOnlyACompleteMarkForTheFilesCurrentState)
{
    const std::string mark = kMark;
    struct {
        std::string mark;
        int mark_result;
        bool viewed;
    } const marks[] = {
        {mark, 0, true},
        {mark.substr(0, mark.size() - 1), 0, false},
        {mark + "0", 0, false},
        {std::string(100, '1'), 0, false},
        {"2" + mark.substr(1), 0, false},
        {"1 1700000001.000000007 3519092", 0, false},
        {"1 1700000000.000000008 3519092", 0, false},
        {"1 1700000000.000000007 3519093", 0, false},
        {"", 0, false},
        {mark, -ENODATA, false},
    };
    for (const auto& c : marks) {
        FakeMarks calls;
        calls.mark = c.mark;
        calls.mark_result = c.mark_result;
        EXPECT_EQ(ViewedMarks{}.IsViewed("page", StatusOfPage()), c.viewed) << c.mark << c.mark_result;
        EXPECT_EQ(calls.trace, "type page ");
    }
    struct {
        uint32_t attributes;
        int open_result, attributes_result;
        bool viewed;
        const char* trace;
    } const attributes[] = {
        {0x27, 5, 0, false, "type open get close "},
        {0x07, 5, 0, true, "type open get close "},
        {0, 5, -ENOTTY, false, "type open get close "},
        {0, -EACCES, 0, false, "type open "},
    };
    for (const auto& c : attributes) {
        FakeMarks calls;
        calls.type = kFatType;
        calls.attributes = c.attributes;
        calls.open_result = c.open_result;
        calls.attributes_result = c.attributes_result;
        EXPECT_EQ(ViewedMarks{}.IsViewed("page", StatusOfPage()), c.viewed) << c.attributes;
        EXPECT_EQ(calls.trace, c.trace);
    }
    FakeMarks calls; // the type is read once per file system, and nothing is read for a directory
    ViewedMarks reader;
    FileStatus status = StatusOfPage();
    for (const uint64_t device : {1, 2, 1, 2}) {
        status.device = device;
        EXPECT_FALSE(reader.IsViewed("page", status));
    }
    status.kind = FileStatus::Kind::directory;
    EXPECT_FALSE(reader.IsViewed("page", status));
    EXPECT_EQ(calls.trace, "type page type page page page ");
}

// Returns a directory whose file system has extended attributes of users, or null if none is found.
std::unique_ptr<ScratchDirectory> MarkableDirectory()
{
    const char* own = getenv("TEST_TMPDIR");
    const std::string before = own ? own : "";
    const std::string build = std::filesystem::current_path().string();
    std::unique_ptr<ScratchDirectory> found;
    for (const std::string& parent : {before, std::string{"/var/tmp"}, build}) {
        setenv("TEST_TMPDIR", parent.c_str(), 1);
        auto scratch = std::make_unique<ScratchDirectory>();
        if (setxattr(scratch->Write("try", "").c_str(), "user.lumenta.try", "1", 1, 0) == 0) {
            found = std::move(scratch);
            break;
        }
    }
    own ? setenv("TEST_TMPDIR", before.c_str(), 1) : unsetenv("TEST_TMPDIR");
    return found;
}

bool IsViewed(const std::string& path)
{
    return ViewedMarks{}.IsViewed(path.c_str(), FileStatusOf(path));
}

TEST(ViewedMarks, StayWithAFileUntilItIsRewritten)
{
    const auto scratch = MarkableDirectory();
    if (!scratch)
        GTEST_SKIP() << "no extended attributes of users in the temporary or the build directory";
    const std::string page = scratch->Write("page \xff\n.fax", "rows");
    const FileStatus status = FileStatusOf(page);
    EXPECT_EQ(status.size_bytes, 4);
    EXPECT_FALSE(IsViewed(page));
    MarkViewed(page, status);
    EXPECT_TRUE(IsViewed(page));
    EXPECT_EQ(FileStatusOf(page), status); // marking changes neither time nor size

    const std::string moved = scratch->File("moved");
    ASSERT_EQ(rename(page.c_str(), moved.c_str()), 0);
    EXPECT_TRUE(IsViewed(moved));

    scratch->Write("moved", "longer");
    EXPECT_FALSE(IsViewed(moved));
    MarkViewed(moved, status); // status of the old content
    EXPECT_FALSE(IsViewed(moved));
    MarkViewed(moved, FileStatusOf(moved));
    timespec times[2] = {{0, UTIME_OMIT}, {1700000000, 123456789}};
    ASSERT_EQ(utimensat(AT_FDCWD, moved.c_str(), times, 0), 0); // like a rewrite of the same size
    EXPECT_FALSE(IsViewed(moved));
    MarkViewed(moved, FileStatusOf(moved));
    char value[64] = "";
    EXPECT_GT(getxattr(moved.c_str(), "user.lumenta.viewed", value, sizeof value), 0);
    EXPECT_STREQ(value, "1 1700000000.123456789 6");

    // Another user may read marks, but may set them only on files that it may write.
    chmod(scratch->Path().c_str(), 0755);
    const std::string closed = scratch->Write("closed", ""), open_to_all = scratch->Write("open", "");
    chmod(closed.c_str(), 0644);
    chmod(open_to_all.c_str(), 0666);
    EXPECT_EQ(InChild([&]() -> std::string {
                  if (geteuid() == 0 ? setuid(65534) != 0 : chmod(closed.c_str(), 0444) != 0)
                      return "no other user";
                  for (const std::string& path : {closed, open_to_all})
                      MarkViewed(path, FileStatusOf(path));
                  return std::string{IsViewed(moved) ? "seen, " : "unseen, "} +
                         (IsViewed(closed) ? "marked" : "unmarked");
              }),
              "seen, unmarked");
    EXPECT_FALSE(IsViewed(closed));
    EXPECT_TRUE(IsViewed(open_to_all));
}

TEST(ViewedMarks, NeverBlock)
{
    const ScratchDirectory scratch;
    const std::string fifo = scratch.File("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0666), 0);
    alarm(20); // a call that blocks ends the program
    FileStatus status = FileStatusOf(fifo);
    EXPECT_FALSE(status.IsFile());
    status.kind = FileStatus::Kind::file; // as if it had been a file when its status was read
    MarkViewed(fifo, status);
    EXPECT_FALSE(ViewedMarks{}.IsViewed(fifo.c_str(), status));
    alarm(0);
    EXPECT_TRUE(FileStatusOf(scratch.Path()).IsDirectory());
    EXPECT_EQ(FileStatusOf(scratch.File("nothing")), FileStatus{});
    EXPECT_EQ(FileStatusOf(scratch.File("fifo/below")), FileStatus{});
    ASSERT_EQ(symlink("loop", scratch.File("loop").c_str()), 0);
    EXPECT_EQ(FileStatusOf(scratch.File("loop")).kind, FileStatus::Kind::unknown);
    EXPECT_FALSE(FileStatusOf(scratch.File("loop")).Exists());
}
} // namespace
