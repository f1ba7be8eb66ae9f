// SPDX-License-Identifier: MIT
// A directory of 10 000 page files with viewed marks. Measures the listing, the time until Open Multiple
// shows the files that are not viewed, and the time until it returns all files. The system calls that
// every listing needs are timed alone, in turn with them, on the same directory.
#include "app/lumentaapp.h"
#include "app/openmultipledialog.h"
#include "bench/benchsystem.h"
#include "bench/harness.h"
#include "platform/directory.h"
#include "platform/testing/testing.h"
#include "platform/text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int kFiles = 10000;
constexpr int kViewedOneIn = 2;
constexpr double kGoalMs = 150, kTakenGoalMs = 20;
constexpr double kOfCalls = 1.4; // goal of the listing, as a ratio to the bare system calls

// A directory that is deleted with its contents.
class PageDirectory
{
public:
    explicit PageDirectory(const char* parent) : m_path(std::string{parent} + "/lumenta-listing-XXXXXX")
    {
        if (!mkdtemp(m_path.data()))
            m_path.clear();
    }
    PageDirectory(const PageDirectory&) = delete;
    PageDirectory& operator=(const PageDirectory&) = delete;
    ~PageDirectory()
    {
        std::error_code ignored;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, ignored);
    }

    const std::string& Path() const { return m_path; }

    // Writes the files. Returns false if the file system keeps no marks.
    bool Fill() const
    {
        for (int i = 0; i < kFiles; ++i) {
            char name[40];
            std::snprintf(name, sizeof name, "/%s%05d_front.%s", i % 3 == 0 ? "Mon" : "mon",
                          i * 7919 % kFiles, i % 5 == 0 ? "FAX" : "fax");
            const std::string page = m_path + name;
            const int file = open(page.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
            if (file < 0 || write(file, name, 5) != 5 || close(file) != 0)
                return false;
            const FileStatus status = FileStatusOf(page);
            if (i % kViewedOneIn == 0)
                MarkViewed(page, status);
            if (i == 0 && !ViewedMarks{}.IsViewed(page.c_str(), status))
                return false;
        }
        return true;
    }

private:
    std::string m_path;
};

bool IsRight(const DirectoryListing& listing)
{
    const auto viewed = std::count_if(listing.entries.begin(), listing.entries.end(),
                                      [](const DirectoryEntry& entry) { return entry.is_viewed; });
    return listing.error == 0 && listing.entries.size() == kFiles && viewed == kFiles / kViewedOneIn;
}

// Reads all names, and the status and the mark of each file. Keeps nothing.
int64_t BareCalls(const std::string& directory)
{
    DIR* const stream = opendir(directory.c_str());
    std::string path = directory + "/";
    const size_t directory_bytes = path.size();
    int64_t sum = 0;
    while (const dirent* item = readdir(stream)) {
        if (item->d_name[0] == '.')
            continue;
        struct stat status;
        char value[64];
        path.replace(directory_bytes, std::string::npos, item->d_name);
        if (fstatat(dirfd(stream), item->d_name, &status, 0) == 0)
            sum +=
                status.st_size + (getxattr(path.c_str(), kViewedMarkName, value, sizeof value) > 0 ? 1 : 0);
    }
    closedir(stream);
    return sum;
}

struct DialogTimes {
    double shown = 0, // ms until the list is filled
        taken = 0;    // ms from the keys that select all files to the end of the dialog
};
DialogTimes TimeDialog(const std::string& directory, bool with_viewed)
{
    const size_t listed = kFiles - (with_viewed ? 0 : kFiles / kViewedOneIn);
    COpenMultipleDialog dialog;
    dialog.m_strDirectory = directory;
    dialog.m_strFilter = "*.fax";
    dialog.m_bShowViewed = with_viewed;
    DialogTimes times;
    double taken_start = 0;
    const double start = NowMs();
    SetDialogHook([&](CDialog&) {
        times.shown = NowMs() - start;
        taken_start = NowMs();
        PressDialogKeys(dialog, {"Ctrl+A", "Return"});
    });
    const bool is_taken =
        dialog.DoModal() == IDOK && dialog.m_Files.size() == listed &&
        std::is_sorted(dialog.m_Files.begin(), dialog.m_Files.end(),
                       [](const CString& a, const CString& b) { return ComesBefore(a, b); });
    SetDialogHook({});
    times.taken = NowMs() - taken_start;
    Require(is_taken, "the dialog did not return the listed files");
    return times;
}

template <class Work>
double TimeOf(Work work)
{
    const double start = NowMs();
    work();
    return NowMs() - start;
}

void Measure(Harness& bench, const std::string& directory)
{
    Require(IsRight(ListDirectory(directory, "*.fax", Marks::read)),
            "the listing differs from the files that were written");
    const auto list = [&](Marks marks) {
        return [&directory, marks] {
            return TimeOf([&] {
                Require(ListDirectory(directory, "*.fax", marks).entries.size() == kFiles,
                        "files are missing");
            });
        };
    };
    const auto call = [&] {
        return TimeOf([&] {
            Require(BareCalls(directory) == int64_t{5} * kFiles + kFiles / kViewedOneIn,
                    "the system calls do not find the files that were written");
        });
    };
    const auto times = bench.InTurn({
        {true, list(Marks::read)},
        {true, list(Marks::leave)},
        {false, call},
        {true, [&] { return TimeDialog(directory, false).shown; }},
        {true, [&] { return TimeDialog(directory, true).taken; }},
    });
    const char* const files = "memory, cached";
    bench.Report("10 000 files with their marks, listed", times[0], "ms", AtMost(kGoalMs), files);
    bench.Report("10 000 files without marks, listed", times[1], "ms", {}, files);
    bench.Report("10 000 files with their marks, system calls alone", times[2], "ms", {}, files);
    bench.Report("10 000 files with their marks, listed / system calls", Ratios(times[0], times[2]), "x",
                 AtMost(kOfCalls), files);
    bench.Report("Open Multiple with files not viewed, to its first paint", times[3], "ms", AtMost(kGoalMs));
    bench.Report("Open Multiple, all 10 000 files selected, and OK", times[4], "ms", AtMost(kTakenGoalMs));
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(argc, argv, {.purpose = "measures listing a directory of 10 000 page files", .rounds = 15});
    bench.SetWhere(std::string{ChooseDisplay() ? kOnX : kInMemory} + ", cached");
    TestApplication application(argc, argv);
    CLumentaApp app; // only for its dialogs; not started
    const char* own = std::getenv("TMPDIR");
    for (const char* parent : {own ? own : "/var/tmp", "/var/tmp", "."}) {
        const PageDirectory directory{parent};
        if (directory.Path().empty() || !directory.Fill())
            continue; // the file system has no extended attributes
        Measure(bench, directory.Path());
        return bench.Finish();
    }
    Fail("nothing measured: no directory was found whose files can be marked");
}
