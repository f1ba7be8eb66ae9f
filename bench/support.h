// What the benchmark programs share: the clock, medians, memory figures, the pages, and lines with a goal
// behind.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

double NowMs(); // of a clock that only runs forward

double Median(std::vector<double> values); // of at least one

// Of a process, in kB; all 0 if there is none of that number.
struct ProcessMemory {
    long peak = 0;     // the most that was resident at any time
    long resident = 0; // the three below together
    long anonymous = 0;
    long file = 0; // pages of mapped files, the row store among them
    long shared = 0;
};
ProcessMemory ReadProcessMemory(pid_t process);

// N of an argument --rounds=N. Other arguments, as they are meant for other programs of the run, are passed
// over.
int RoundsFrom(int argc, char** argv, int by_default);

// Before the toolkit starts: all windows of this program stand on one screen of that size, which no display
// has to show.
bool ChooseScreen(int width, int height);

// Files that benchpages.cpp has drawn.
std::string PagePathOf(const char* name);
constexpr const char* kBigPage = "big.tif";     // 20 000 x 30 000, Group 4 in one strip, half text, a picture
constexpr const char* kSmallPage = "small.tif"; // its upper left corner of 1 000 x 1 000

// The lowest and highest of at least one value, as "4.61 to 4.93".
std::string SpreadOf(const std::vector<double>& values);

// One line of the result: what, value, unit, and the goal with whether it is met.
void Show(const char* what, double value, const char* unit);
void ShowAtMost(const char* what, double value, const char* unit, double goal);
void ShowAtLeast(const char* what, double value, const char* unit, double goal);

// A gate stands at nine tenths of a goal, so that noise does not close it. For ratios to a peer of the same
// run only. Prints nothing where it is passed; a program that measures ends with GateStatus(): 0 if all were
// passed, else 1.
void GateAtLeast(const char* what, double value, double goal);
void GateAtMost(const char* what, double value, double goal);
int GateStatus();
