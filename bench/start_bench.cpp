// SPDX-License-Identifier: MIT
// Measures the time from the start of the program to the first pixels of the page on the screen, in turn with
// a bare window of Qt. The large page is measured twice: with its file in the system's cache, and with its
// file dropped from the cache. Needs a display of its own: the program covers the display with white, and
// reads its middle until it is black.
#include "bench/benchsystem.h"
#include "bench/harness.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

namespace
{
constexpr double kLimitMs = 20'000;
constexpr useconds_t kPollUs = 250;       // between two readings of the screen
constexpr useconds_t kSettleUs = 300'000; // for the work after the first picture

// Part of the screen that is watched while another viewer shows the page.
constexpr int16_t kPeerLeft = 400, kPeerTop = 300;
constexpr uint16_t kPeerSide = 256;
constexpr int kPeerRounds = 3;
constexpr double kPeerIdleMs = 3000, kPeerLimitMs = 120'000;
constexpr useconds_t kPeerPollUs = 10'000;

// The screen, covered by a white window below all others. Reads its pixels.
class Screen
{
public:
    Screen()
    {
        m_connection = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(m_connection))
            return;
        m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        m_cover = xcb_generate_id(m_connection);
        const uint32_t values[] = {m_screen->white_pixel, 1}; // 1: window managers ignore the window
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_cover, m_screen->root, 0, 0,
                          m_screen->width_in_pixels, m_screen->height_in_pixels, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, m_screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(m_connection, m_cover);
        const uint32_t below = XCB_STACK_MODE_BELOW;
        xcb_configure_window(m_connection, m_cover, XCB_CONFIG_WINDOW_STACK_MODE, &below);
        xcb_flush(m_connection);
    }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen() { xcb_disconnect(m_connection); }

    bool Good() const { return m_screen != nullptr; }

    // Waits until the pixel in the middle of the screen is black or, if `black` is false, has another colour.
    // Returns the time at which this is so, or 0 after kLimitMs.
    double WaitFor(bool black) const
    {
        const double start = NowMs();
        while (NowMs() - start < kLimitMs) {
            if (IsBlack() == black)
                return NowMs();
            usleep(kPollUs);
        }
        return 0;
    }

    std::vector<uint8_t> Middle() const { return Pixels(kPeerLeft, kPeerTop, kPeerSide, kPeerSide); }

private:
    bool IsBlack() const
    {
        const std::vector<uint8_t> pixel = Pixels(640, 480, 1, 1);
        return pixel.size() >= 3 && pixel[0] == 0 && pixel[1] == 0 && pixel[2] == 0;
    }

    std::vector<uint8_t> Pixels(int16_t x, int16_t y, uint16_t width, uint16_t height) const
    {
        const auto cookie =
            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_screen->root, x, y, width, height, ~0U);
        xcb_get_image_reply_t* const reply = xcb_get_image_reply(m_connection, cookie, nullptr);
        if (!reply)
            return {};
        const uint8_t* const bytes = xcb_get_image_data(reply);
        std::vector<uint8_t> pixels(bytes, bytes + xcb_get_image_data_length(reply));
        std::free(reply);
        return pixels;
    }

    xcb_connection_t* m_connection = nullptr;
    xcb_screen_t* m_screen = nullptr;
    xcb_window_t m_cover = 0;
};

struct Contender {
    const char* name;
    std::vector<std::string> command;
    bool is_ours = true;
    std::string cold_file = {}; // dropped from the cache before each start
    std::vector<double> times_ms = {};
    std::vector<double> peaks_mb = {};
};

pid_t Start(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    pid_t process = 0;
    Require(posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0,
            command[0] + " does not start");
    return process;
}

void RunOnce(const Harness& bench, const Screen& screen, Contender& contender)
{
    Require(screen.WaitFor(false) != 0, "the screen is still black");
    if (!contender.cold_file.empty())
        Require(DropFromCache(contender.cold_file), "the page's file is still in the cache");
    const double start = NowMs();
    const pid_t process = Start(contender.command);
    const double shown = screen.WaitFor(true);
    usleep(kSettleUs);
    const ProcessMemory memory = ReadProcessMemory(process);
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);
    Require(shown != 0, std::string{contender.name} + ": nothing was shown");
    const double ms = shown - start, megabytes = static_cast<double>(memory.peak) / 1024;
    contender.times_ms.push_back(contender.is_ours ? bench.Ours(ms) : ms);
    contender.peaks_mb.push_back(contender.is_ours ? bench.Ours(megabytes) : megabytes);
}

// Returns the processor time of a process so far.
double CpuMs(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text{std::istreambuf_iterator<char>(file), {}};
    std::istringstream fields(text.substr(text.rfind(')') + 1)); // from the third field on
    std::string skipped;
    for (int i = 0; i < 11; ++i)
        fields >> skipped;
    double user = 0, system = 0; // in ticks
    fields >> user >> system;
    return (user + system) * 1000 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// Each viewer shows the page in its own way, so no single pixel says when the page is complete. This measures
// the time until the last change in the middle of the screen before the program is idle for kPeerIdleMs.
void MeasurePeer(Harness& bench, const Screen& screen, const std::string& name,
                 const std::vector<std::string>& command, bool is_ours)
{
    std::vector<double> times, peaks, cpu;
    for (int round = 0; round < kPeerRounds; ++round) {
        Require(screen.WaitFor(false) != 0, "the screen is still black");
        std::vector<uint8_t> seen = screen.Middle();
        const double start = NowMs();
        const pid_t process = Start(command);
        double changed = 0, busy = start, used = 0;
        while (changed == 0 || NowMs() - std::max(changed, busy) < kPeerIdleMs) {
            Require(NowMs() - start < kPeerLimitMs, name + ": nothing was shown");
            if (std::vector<uint8_t> now = screen.Middle(); now != seen) {
                seen = std::move(now);
                changed = NowMs();
            }
            if (const double now = CpuMs(process); now > used + 10) {
                used = now;
                busy = NowMs();
            }
            usleep(kPeerPollUs);
        }
        const ProcessMemory memory = ReadProcessMemory(process);
        cpu.push_back(CpuMs(process));
        kill(process, SIGTERM);
        waitpid(process, nullptr, 0);
        times.push_back(changed - start);
        peaks.push_back(static_cast<double>(memory.peak) / 1024);
    }
    if (is_ours) {
        times = bench.Ours(times);
        peaks = bench.Ours(peaks);
        cpu = bench.Ours(cpu);
    }
    bench.Report("large page in " + name + ", until it is complete", times, "ms");
    bench.Report("large page in " + name + ", peak memory", peaks, "MB");
    bench.Report("large page in " + name + ", processor time", cpu, "ms");
}

bool IsInstalled(const std::string& program)
{
    const char* const path = std::getenv("PATH");
    std::istringstream directories(path ? path : "");
    for (std::string directory; std::getline(directories, directory, ':');)
        if (access(directory.append("/").append(program).c_str(), X_OK) == 0)
            return true;
    return false;
}

// Writes settings in which the window has the size and position of the bare window. Returns their directory.
std::string MakeSettings()
{
    std::string directory = std::filesystem::temp_directory_path() / "lumenta-start-XXXXXX";
    if (!mkdtemp(directory.data()))
        return {};
    const std::string settings = directory + "/Vestrel";
    std::filesystem::create_directory(settings);
    std::ofstream(settings + "/LUMENTA.ini") << "[window]\nMainFrame=0 0 1280 960\n";
    return directory;
}
} // namespace

int main(int argc, char** argv)
{
    Harness bench(
        argc, argv,
        {.purpose = "measures the time from the start of the program to the page on the screen",
         .rounds = 21,
         .options = {{"--peers", "also measures the large page in feh and Geeqie, if they are installed"}}});
    bench.SetWhere("X, cached");
    const Screen screen;
    Require(screen.Good(), "start_bench needs a display");
    const std::string config = MakeSettings();
    setenv("XDG_CONFIG_HOME", config.c_str(), 1);

    const std::string big_page = PagePathOf(kBigPage);
    Contender bare{"bare window", {BARE_WINDOW_PROGRAM}, false};
    Contender picture{"bare window with a picture", {BARE_WINDOW_PROGRAM, "--picture"}, false};
    Contender small{"1 000 x 1 000 page", {LUMENTA_PROGRAM, PagePathOf(kSmallPage)}};
    Contender big{"20 000 x 30 000 page", {LUMENTA_PROGRAM, big_page}};
    Contender cold{"20 000 x 30 000 page", {LUMENTA_PROGRAM, big_page}, true, big_page};
    std::vector<Contender*> contenders{&bare, &picture, &small, &big};
    if (DropFromCache(big_page))
        contenders.push_back(&cold);
    else
        std::printf("cold: not measured, the file system keeps the page in memory\n");
    for (int round = -1; round < bench.Rounds(); ++round) // the first round is not counted
        for (Contender* const contender : contenders) {
            RunOnce(bench, screen, *contender);
            if (round < 0) {
                contender->times_ms.clear();
                contender->peaks_mb.clear();
            }
        }

    std::printf("from exec to black in the middle of the screen\n");
    for (const Contender* const contender : contenders) {
        const std::string where = contender == &cold ? "X, cold" : "";
        bench.Report(std::string{"start, "} + contender->name, contender->times_ms, "ms", {}, where);
        bench.Report(std::string{"start, "} + contender->name + ", peak memory", contender->peaks_mb, "MB",
                     {}, where);
    }
    bench.Report("start, small page - bare window", Differences(small.times_ms, bare.times_ms), "ms",
                 AtMost(25));
    bench.Report("start, large page - bare window", Differences(big.times_ms, bare.times_ms), "ms");
    // Both are ours. To have an effect, LUMENTA_BENCH_SLOWDOWN is applied once more to the large page.
    bench.Report("start, large page - small page", Differences(bench.Ours(big.times_ms), small.times_ms),
                 "ms", AtMost(3));
    bench.Report("start, large page / small page", Ratios(bench.Ours(big.times_ms), small.times_ms), "x",
                 AtMost(1.2));
    bench.Report("start, small page - bare window, peak memory", Differences(small.peaks_mb, bare.peaks_mb),
                 "MB", AtMost(10));
    bench.Report("start, large page - bare window, peak memory", Differences(big.peaks_mb, bare.peaks_mb),
                 "MB", AtMost(10));
    // The rows in the window, 2500 bytes each instead of 125, take 2.1 MB more.
    bench.Report("start, large page - small page, peak memory",
                 Differences(bench.Ours(big.peaks_mb), small.peaks_mb), "MB", AtMost(2.3));
    if (bench.Has("peers")) {
        MeasurePeer(bench, screen, "this program", big.command, true);
        for (const char* const peer : {"feh", "geeqie"}) {
            if (IsInstalled(peer))
                MeasurePeer(bench, screen, peer, {peer, big_page}, false);
            else
                std::printf("%s is not installed\n", peer);
        }
    }
    std::filesystem::remove_all(config);
    return bench.Finish();
}
