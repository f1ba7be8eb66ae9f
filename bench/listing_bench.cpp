// A directory of 10 000 page files with their viewed marks: listed, and in Open Multiple, which shows those
// not viewed, and hands them all back; beside it the bare system calls that no listing can do without, on the
// same directory in turn.
#include "app/lumentaapp.h"
#include "app/openmultipledialog.h"
#include "bench/support.h"
#include "platform/directory.h"
#include "platform/testing.h"

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
constexpr double kGoalMs = 150;

// Removed with all that is in it.
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

    // False where a mark does not hold.
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

// The names, a status and a mark of each; nothing is kept.
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
// Until the list is filled, and from the keys that select all to the end of the dialog; 0 where it went
// wrong.
struct DialogTimes {
    double shown = 0, taken = 0;
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
    return is_taken ? times : DialogTimes{};
}
} // namespace

int main(int argc, char** argv)
{
    TestToolkit toolkit(argc, argv);
    CLumentaApp app; // of its dialogs; not started
    const char* own = std::getenv("TMPDIR");
    for (const char* parent : {own ? own : "/var/tmp", "/var/tmp", "."}) {
        const PageDirectory directory{parent};
        if (directory.Path().empty() || !directory.Fill())
            continue; // a file system without such attributes
        if (!IsRight(ListDirectory(directory.Path(), "*.fax", Marks::read)) ||
            BareCalls(directory.Path()) != int64_t{5} * kFiles + kFiles / kViewedOneIn) {
            std::printf("the listing is not what was written\n");
            return 1;
        }
        std::vector<double> all, plain, bare, shown, taken;
        for (int rounds = RoundsFrom(argc, argv, 15); rounds > 0; --rounds) {
            const double start = NowMs();
            const size_t marked = ListDirectory(directory.Path(), "*.fax", Marks::read).entries.size();
            const double marked_end = NowMs();
            const size_t unmarked = ListDirectory(directory.Path(), "*.fax", Marks::leave).entries.size();
            const double unmarked_end = NowMs();
            if (BareCalls(directory.Path()) == 0 || marked != unmarked)
                return 1;
            bare.push_back(NowMs() - unmarked_end);
            const DialogTimes dialog = TimeDialog(directory.Path(), false);
            const DialogTimes whole = TimeDialog(directory.Path(), true);
            if (dialog.shown <= 0 || whole.shown <= 0) {
                std::printf("the dialog did not hand back what it lists\n");
                return 1;
            }
            shown.push_back(dialog.shown);
            taken.push_back(whole.taken);
            all.push_back(marked_end - start);
            plain.push_back(unmarked_end - marked_end);
        }
        ShowAtMost("10 000 page files with their marks, listed", Median(all), "ms", kGoalMs);
        ShowAtMost("the dialog with those not viewed, to its first paint", Median(shown), "ms", kGoalMs);
        ShowAtMost("all 10 000 selected, and OK", Median(taken), "ms", kGoalMs);
        Show("listed without marks", Median(plain), "ms");
        Show("its system calls alone, with marks", Median(bare), "ms");
        Show("their share", Median(bare) / Median(all) * 100, "%");
        std::printf("%-60s %s ms\n", "the listings took", SpreadOf(all).c_str());
        return 0;
    }
    std::printf("no directory whose files can be marked: nothing measured\n");
    return 0;
}
