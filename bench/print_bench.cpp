// Peak memory and time of a print into a PDF file, from the start of the program on, with the page on the
// screen. Each print runs in a process of its own: this program starts itself with --print.
#include "app/lumentaapp.h"
#include "bench/support.h"
#include "pages.h"
#include "platform/testing.h"
#include "tiffout.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr useconds_t kSampleEveryUs = 500;
constexpr double kPeakGoalMb = 150;
constexpr CSize kPaper{9500, 13'600}; // fits the printable area of A4 at 1200 dpi

struct Print {
    const char* name;
    std::string page;
    double goal_mb; // 0: none
};

// The child: opens the page as the program does, and prints it.
int PrintOnce(int argc, char** argv, const CString& page, const CString& pdf)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    TestToolkit toolkit(argc, argv);
    SetSettingsFile("/dev/null");
    bool good = true;
    SetMessageBoxHook([&](const CString& text) {
        std::fprintf(stderr, "%s\n", text.c_str());
        good = false;
    });
    SetPrintDialogHook([&](CPrintInfo&) { return pdf; });
    CLumentaApp app;
    StartApplication(app, page);
    auto* const frame = DynamicDowncast<CFrameWnd>(app.m_pMainWnd);
    CView* const view = frame ? frame->GetActiveView() : nullptr;
    const double start = NowMs();
    if (view)
        view->OnFilePrint();
    std::printf("%-60s %11.2f ms\n", "time of the print", NowMs() - start);
    EndApplication(app);
    return view && good ? 0 : 1;
}

// The greatest of each figure while the process runs. VmHWM counts what is mapped of the row store's file,
// too.
bool Measure(const Print& print, const std::string& pdf)
{
    std::printf("%s\n", print.name);
    std::fflush(stdout);
    const char* const arguments[] = {"/proc/self/exe", "--print", print.page.c_str(), pdf.c_str(), nullptr};
    pid_t process = 0;
    if (posix_spawn(&process, arguments[0], nullptr, nullptr, const_cast<char**>(arguments), environ) != 0)
        return false;
    ProcessMemory most;
    int status = 0;
    while (waitpid(process, &status, WNOHANG) == 0) {
        const ProcessMemory now = ReadProcessMemory(process);
        most.peak = std::max(most.peak, now.peak);
        most.anonymous = std::max(most.anonymous, now.anonymous);
        most.file = std::max(most.file, now.file);
        most.shared = std::max(most.shared, now.shared);
        usleep(kSampleEveryUs);
    }
    const auto megabytes = [](long kb) { return static_cast<double>(kb) / 1024; };
    if (print.goal_mb > 0)
        ShowAtMost("peak memory (VmHWM)", megabytes(most.peak), "MB", print.goal_mb);
    else
        Show("peak memory (VmHWM)", megabytes(most.peak), "MB");
    Show("  of it anonymous, at most", megabytes(most.anonymous), "MB");
    Show("  of it files, with the mapped rows, at most", megabytes(most.file), "MB");
    Show("  of it shared memory, at most", megabytes(most.shared), "MB");
    std::error_code unknown;
    Show("PDF file", static_cast<double>(std::filesystem::file_size(pdf, unknown)) / 1e6, "MB");
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 && !unknown;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && std::strcmp(argv[1], "--print") == 0)
        return PrintOnce(1, argv, argv[2], argv[3]);

    std::string scratch = std::filesystem::temp_directory_path() / "lumenta-print-XXXXXX";
    if (!mkdtemp(scratch.data()))
        return 1;
    const pages::PageOptions options{.draw = pages::Draw::Mixed, .width = kPaper.cx, .height = kPaper.cy};
    const std::string fits = scratch + "/fits.tif", grey = scratch + "/grey.tif";
    pages::TiffOptions group4;
    group4.compression = pages::Compression::Group4;
    bool good = pages::write_tiff(fits, pages::draw_page(options), group4).empty() &&
                pages::write_tiff(grey, pages::draw_grey_page(options), {}).empty();

    const Print prints[] = {
        {"20 000 x 30 000, larger than the paper", PagePathOf(kBigPage), kPeakGoalMb},
        {"9 500 x 13 600, of one bit a pixel", fits, kPeakGoalMb},
        {"9 500 x 13 600, grey", grey, 0},
    };
    for (const Print& print : prints)
        good = good && Measure(print, scratch + "/page.pdf");
    std::filesystem::remove_all(scratch);
    return good ? 0 : 1;
}
