// From the start of the program to the first pixels of the page on the screen, beside a bare window of the
// toolkit, in turn. Needs a display of its own: it is covered with white, and looked at in the middle until
// that turns black.
#include "bench/support.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace
{
constexpr double kLimitMs = 20'000;
constexpr useconds_t kLookEveryUs = 250;
constexpr useconds_t kSettleUs = 300'000; // till what follows the first picture is over

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
        const uint32_t values[] = {m_screen->white_pixel, 1}; // window managers leave it alone
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

    // The moment at which the pixel in the middle of the window's place is black, or is not; 0 if that does
    // not come.
    double WaitFor(bool black) const
    {
        const double start = NowMs();
        while (NowMs() - start < kLimitMs) {
            if (IsBlack() == black)
                return NowMs();
            usleep(kLookEveryUs);
        }
        return 0;
    }

private:
    bool IsBlack() const
    {
        const auto cookie =
            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_screen->root, 640, 480, 1, 1, ~0U);
        xcb_get_image_reply_t* const reply = xcb_get_image_reply(m_connection, cookie, nullptr);
        if (!reply)
            return false;
        const uint8_t* const pixel = xcb_get_image_data(reply);
        const bool black = pixel[0] == 0 && pixel[1] == 0 && pixel[2] == 0;
        std::free(reply);
        return black;
    }

    xcb_connection_t* m_connection = nullptr;
    xcb_screen_t* m_screen = nullptr;
    xcb_window_t m_cover = 0;
};

struct Contender {
    const char* name;
    std::vector<std::string> command;
    std::vector<double> times_ms = {};
    std::vector<double> peaks_kb = {};
};

bool RunOnce(const Screen& screen, Contender& contender)
{
    if (screen.WaitFor(false) == 0) {
        std::fputs("something black stays on the screen\n", stderr);
        return false;
    }
    std::vector<char*> arguments;
    for (std::string& argument : contender.command)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    pid_t process = 0;
    const double start = NowMs();
    if (posix_spawn(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0)
        return false;
    const double shown = screen.WaitFor(true);
    usleep(kSettleUs);
    const ProcessMemory memory = ReadProcessMemory(process);
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);
    if (shown == 0) {
        std::fprintf(stderr, "%s: nothing was shown\n", contender.name);
        return false;
    }
    contender.times_ms.push_back(shown - start);
    contender.peaks_kb.push_back(static_cast<double>(memory.peak));
    return true;
}

double MedianDifference(const std::vector<double>& of, const std::vector<double>& against)
{
    std::vector<double> differences;
    for (size_t i = 0; i < of.size(); ++i)
        differences.push_back(of[i] - against[i]);
    return Median(differences);
}

double MedianRatio(const std::vector<double>& of, const std::vector<double>& against)
{
    std::vector<double> ratios;
    for (size_t i = 0; i < of.size(); ++i)
        ratios.push_back(of[i] / against[i]);
    return Median(ratios);
}

// Settings of our own, with a window of the bare window's size and place.
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
    const int rounds = RoundsFrom(argc, argv, 21);
    const Screen screen;
    if (!screen.Good()) {
        std::fputs("start_bench needs a display\n", stderr);
        return 1;
    }
    const std::string config = MakeSettings();
    setenv("XDG_CONFIG_HOME", config.c_str(), 1);

    Contender bare{"bare window", {BARE_WINDOW_PROGRAM}};
    Contender picture{"the same with a picture", {BARE_WINDOW_PROGRAM, "--picture"}};
    Contender small{"1 000 x 1 000 page", {LUMENTA_PROGRAM, PagePathOf(kSmallPage)}};
    Contender big{"20 000 x 30 000 page", {LUMENTA_PROGRAM, PagePathOf(kBigPage)}};
    bool good = true;
    for (int round = -1; round < rounds && good; ++round) // one round to warm up, not counted
        for (Contender* const contender : {&bare, &picture, &small, &big}) {
            good = good && RunOnce(screen, *contender);
            if (round < 0) {
                contender->times_ms.clear();
                contender->peaks_kb.clear();
            }
        }
    std::filesystem::remove_all(config);
    if (!good)
        return 1;

    std::printf("%d rounds, medians; from exec to black in the middle of the screen\n", rounds);
    for (const Contender* const contender : {&bare, &picture, &small, &big}) {
        const auto [least, most] =
            std::minmax_element(contender->times_ms.begin(), contender->times_ms.end());
        std::printf("%-24s %8.1f ms (%.1f to %.1f)  peak %8.0f kB\n", contender->name,
                    Median(contender->times_ms), *least, *most, Median(contender->peaks_kb));
    }
    ShowAtMost("small page - bare window", MedianDifference(small.times_ms, bare.times_ms), "ms", 25);
    Show("big page - bare window", MedianDifference(big.times_ms, bare.times_ms), "ms");
    ShowAtMost("big page - small page", MedianDifference(big.times_ms, small.times_ms), "ms", 3);
    ShowAtMost("big page / small page", MedianRatio(big.times_ms, small.times_ms), "x", 1.2);
    const auto megabytes = [](const Contender& of, const Contender& against) {
        return MedianDifference(of.peaks_kb, against.peaks_kb) / 1024;
    };
    ShowAtMost("peak memory, small page - bare window", megabytes(small, bare), "MB", 10);
    ShowAtMost("peak memory, big page - bare window", megabytes(big, bare), "MB", 10);
    ShowAtMost("peak memory, big page - small page", megabytes(big, small), "MB", 1.5);
    Show("peak memory, small page - window with a picture", megabytes(small, picture), "MB");
    Show("peak memory, big page - window with a picture", megabytes(big, picture), "MB");
    return 0;
}
