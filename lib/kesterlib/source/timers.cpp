// SPDX-License-Identifier: MIT
// The timers. A pass during which the clock wraps still counts the time that passed.
#include "kesterlib/timers.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

namespace
{
constexpr int kTimers = 64;
constexpr double kSecondsPerTick = 0.001;
constexpr double kClockSeconds = 4294967296.0 * kSecondsPerTick; // period of the clock: 2^32 ticks

struct Timer {
    double total; // seconds
    uint32_t passes;
    char* name;   // owned by the table, or null
    double start; // seconds, at the last timerOn
};

Timer timer_table[kTimers];

// The existing timers from `first` to `last`.
struct Range {
    Timer* from;
    Timer* to;
    Timer* begin() const { return from; }
    Timer* end() const { return to; }
};

Range timers(int first, int last)
{
    first = first < 0 ? 0 : first;
    last = last > kTimers - 1 ? kTimers - 1 : last;
    return first <= last ? Range{timer_table + first, timer_table + last + 1}
                         : Range{timer_table, timer_table};
}
} // namespace

double millisec_time(void)
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const auto ticks = static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000 +
                                             static_cast<uint64_t>(now.tv_nsec) / 1000000);
    return ticks * kSecondsPerTick;
}

void timerReset(int first, int last)
{
    for (Timer& timer : timers(first, last)) {
        free(timer.name);
        timer.name = nullptr;
        timer.passes = 0;
        timer.total = 0;
    }
}

void timerOn(int number)
{
    for (Timer& timer : timers(number, number))
        timer.start = millisec_time();
}

double timerOff(int number, const char* name)
{
    double elapsed = 0;
    for (Timer& timer : timers(number, number)) {
        elapsed = millisec_time() - timer.start;
        if (elapsed < 0)
            elapsed += kClockSeconds;
        timer.total += elapsed;
        ++timer.passes;
        if (timer.name == nullptr && name != nullptr) {
            const size_t name_bytes = strlen(name) + 1;
            timer.name = static_cast<char*>(malloc(name_bytes));
            if (timer.name != nullptr)
                memcpy(timer.name, name, name_bytes);
        }
    }
    return elapsed;
}

void timerShow(int first, int last, const char* title)
{
    printf("%s\n", title);
    for (const Timer& timer : timers(first, last))
        if (timer.name != nullptr)
            printf("%10.5f - %6ld - %s\n", timer.total, static_cast<long>(timer.passes), timer.name);
}
