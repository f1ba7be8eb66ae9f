// SPDX-License-Identifier: MIT
// Measures peak memory and time of a print into a PDF file. The memory is that of the whole program with the
// page on the screen. Each print runs in a process of its own: this program starts itself with --print.
#include "app/lumentaapp.h"
#include "bench/benchsystem.h"
#include "bench/harness.h"
#include "pages.h"
#include "platform/testing/testing.h"
#include "tiffout.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr useconds_t kSampleEveryUs = 500;
constexpr double kPeakGoalMb = 150;
constexpr CSize kPaper{9500, 13'600}; // fits the printable area of A4 at 1200 dpi

struct Print {
    const char* name;
    std::string page;
    double goal_mb; // goal of the peak memory; 0: none
};

// The child: opens the page as the program does, and prints it.
int PrintOnce(int argc, char** argv, const CString& page, const CString& pdf)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    TestApplication application(argc, argv);
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
    std::printf("%f\n", NowMs() - start); // the parent reads this
    EndApplication(app);
    return view && good ? 0 : 1;
}

struct Figures {
    std::vector<double> ms, peak, anonymous, file, shared; // memory in MB
};

// Prints once in a child process and adds the largest value of each figure. VmHWM includes the mapped part of
// the row store's file.
void PrintInChild(const Print& print, const std::string& pdf, Figures* figures)
{
    const char* const arguments[] = {"/proc/self/exe", "--print", print.page.c_str(), pdf.c_str(), nullptr};
    int pipe_ends[2];
    Require(pipe2(pipe_ends, O_CLOEXEC) == 0, "no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe_ends[1], STDOUT_FILENO);
    pid_t process = 0;
    Require(posix_spawn(&process, arguments[0], &actions, nullptr, const_cast<char**>(arguments), environ) ==
                0,
            "the printing process does not start");
    posix_spawn_file_actions_destroy(&actions);
    close(pipe_ends[1]);
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
    char text[64] = {};
    const ssize_t got = read(pipe_ends[0], text, sizeof text - 1);
    close(pipe_ends[0]);
    Require(WIFEXITED(status) && WEXITSTATUS(status) == 0 && got > 0,
            std::string{print.name} + ": the print failed");
    const auto megabytes = [](long kb) { return static_cast<double>(kb) / 1024; };
    figures->ms.push_back(std::strtod(text, nullptr));
    figures->peak.push_back(megabytes(most.peak));
    figures->anonymous.push_back(megabytes(most.anonymous));
    figures->file.push_back(megabytes(most.file));
    figures->shared.push_back(megabytes(most.shared));
}

void Measure(Harness& bench, const Print& print, const std::string& pdf)
{
    Figures figures;
    for (int round = 0; round < bench.Rounds(); ++round) {
        std::filesystem::remove(pdf);
        PrintInChild(print, pdf, &figures);
        figures.ms.back() = bench.Ours(figures.ms.back());
        figures.peak.back() = bench.Ours(figures.peak.back());
    }
    const std::string name = std::string{"print of "} + print.name;
    bench.Report(name, figures.ms, "ms");
    bench.Report(name + ", peak memory (VmHWM)", figures.peak, "MB",
                 print.goal_mb > 0 ? AtMost(print.goal_mb) : Goal{});
    bench.Report(name + ", anonymous memory, at most", figures.anonymous, "MB");
    bench.Report(name + ", files with the mapped rows, at most", figures.file, "MB");
    bench.Report(name + ", shared memory, at most", figures.shared, "MB");
    bench.Report(name + ", PDF file", static_cast<double>(std::filesystem::file_size(pdf)) / 1e6, "MB");
}
} // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && std::strcmp(argv[1], "--print") == 0)
        return PrintOnce(1, argv, argv[2], argv[3]);

    Harness bench(argc, argv,
                  {.purpose = "measures peak memory and time of a print into a PDF file", .rounds = 3});
    bench.SetWhere("memory, cached");
    std::string scratch = std::filesystem::temp_directory_path() / "lumenta-print-XXXXXX";
    Require(mkdtemp(scratch.data()) != nullptr, "no directory for the files");
    const pages::PageOptions options{.draw = pages::Draw::Mixed, .width = kPaper.cx, .height = kPaper.cy};
    const std::string fits = scratch + "/fits.tif", grey = scratch + "/grey.tif";
    pages::TiffOptions group4;
    group4.compression = pages::Compression::Group4;
    Require(pages::write_tiff(fits, pages::draw_page(options), group4).empty() &&
                pages::write_tiff(grey, pages::draw_grey_page(options), {}).empty(),
            "the pages cannot be written");

    const Print prints[] = {
        {"20 000 x 30 000, larger than the paper", PagePathOf(kBigPage), kPeakGoalMb},
        {"9 500 x 13 600, 1 bit per pixel", fits, kPeakGoalMb},
        {"9 500 x 13 600, grey", grey, 0},
    };
    for (const Print& print : prints)
        Measure(bench, print, scratch + "/page.pdf");
    std::filesystem::remove_all(scratch);
    return bench.Finish();
}
