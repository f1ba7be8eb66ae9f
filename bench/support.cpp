#include "bench/support.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

double NowMs()
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

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

int RoundsFrom(int argc, char** argv, int by_default)
{
    constexpr std::string_view kRounds = "--rounds=";
    int rounds = by_default;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument.starts_with(kRounds))
            std::from_chars(argument.data() + kRounds.size(), argument.data() + argument.size(), rounds);
    }
    return std::max(rounds, 1);
}

std::string PagePathOf(const char* name)
{
    return std::string{LUMENTA_BENCH_PAGES} + "/" + name;
}

void Show(const char* what, double value, const char* unit)
{
    std::printf("%-60s %11.2f %s\n", what, value, unit);
}

void ShowAtMost(const char* what, double value, const char* unit, double goal)
{
    std::printf("%-60s %11.2f %-8s goal: at most %g%s\n", what, value, unit, goal,
                value <= goal ? "" : "  MISSED");
}

void ShowAtLeast(const char* what, double value, const char* unit, double goal)
{
    std::printf("%-60s %11.2f %-8s goal: at least %g%s\n", what, value, unit, goal,
                value >= goal ? "" : "  MISSED");
}

std::string SpreadOf(const std::vector<double>& values)
{
    const auto [lowest, highest] = std::minmax_element(values.begin(), values.end());
    char text[64];
    std::snprintf(text, sizeof text, "%.2f to %.2f", *lowest, *highest);
    return text;
}

namespace
{
constexpr double kGate = 0.9;
int closed_gates = 0;

void Gate(const char* what, double value, double goal, bool passed)
{
    if (passed)
        return;
    ++closed_gates;
    std::printf("GATE: %s: %.2f, the goal is %g\n", what, value, goal);
}
} // namespace

void GateAtLeast(const char* what, double value, double goal)
{
    Gate(what, value, goal, value >= goal * kGate);
}

void GateAtMost(const char* what, double value, double goal)
{
    Gate(what, value, goal, value <= goal / kGate);
}

int GateStatus()
{
    return closed_gates == 0 ? 0 : 1;
}

// Qt reads the size from a file, which is kept in memory.
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
