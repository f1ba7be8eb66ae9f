// SPDX-License-Identifier: MIT
// The timers: what they return and print.
#include "kesterlib/timers.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{
std::string Shown(int first, int last)
{
    testing::internal::CaptureStdout();
    timerShow(first, last, "title");
    return testing::internal::GetCapturedStdout();
}

// Returns when the clock has moved.
void PassTime()
{
    for (const double now = millisec_time(); millisec_time() == now;) {
    }
}

std::string Line(double total, int passes, const char* name)
{
    char line[64];
    snprintf(line, sizeof line, "%10.5f - %6d - %s\n", total, passes, name);
    return line;
}

TEST(Timers, AddUpTheirPassesUnderTheFirstName)
{
    const double before = millisec_time();
    double total = 0;
    for (const char* name : {"first", "second"}) {
        timerOn(5);
        PassTime();
        std::string passing = name;
        const double elapsed = timerOff(5, passing.c_str());
        passing = "gone away";
        EXPECT_GT(elapsed, 0.0005);
        EXPECT_LE(elapsed, millisec_time() - before + 0.0001);
        total += elapsed;
    }
    const std::string first = Line(total, 2, "first");
    timerOn(63);
    const std::string last = Line(timerOff(63, "last"), 1, "last");
    timerOff(7, nullptr); // a timer without a name is not printed
    EXPECT_EQ(Shown(INT_MIN, INT_MAX), "title\n" + first + last);
    EXPECT_EQ(Shown(0, 62), "title\n" + first);
    EXPECT_EQ(Shown(6, 63), "title\n" + last);
    EXPECT_EQ(Shown(63, 5), "title\n");
    timerReset(6, 63);
    EXPECT_EQ(Shown(0, 63), "title\n" + first);
    timerReset(INT_MIN, INT_MAX);
    EXPECT_EQ(Shown(0, 63), "title\n");
    for (const int number : {-1, 64, INT_MIN, INT_MAX}) {
        timerOn(number);
        EXPECT_EQ(timerOff(number, "outside"), 0);
    }
}
} // namespace
