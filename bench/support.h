// What some benchmark programs share: memory figures, the pages and their files, and the display.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>

// Of a process, in kB; all 0 if there is none of that number.
struct ProcessMemory {
    long peak = 0;     // the most that was resident at any time
    long resident = 0; // the three below together
    long anonymous = 0;
    long file = 0; // pages of mapped files, the row store among them
    long shared = 0;
};
ProcessMemory ReadProcessMemory(pid_t process);

// Before Qt starts: X if there is a display, else windows in memory. True if it is X.
bool ChooseDisplay();
bool HasDisplayOf(int width, int height); // whether there is an X display with a screen of that size
// Before Qt starts: all windows of this program are on one screen of that size, in memory.
bool ChooseScreen(int width, int height);

// Files that benchpages.cpp has drawn.
std::string PagePathOf(const char* name);
constexpr const char* kBigPage = "big.tif";     // 20 000 x 30 000, Group 4 in one strip, half text, a picture
constexpr const char* kSmallPage = "small.tif"; // its upper left corner of 1 000 x 1 000

// Takes a file out of the system's cache. False if parts of it stay there, as on file systems in memory.
bool DropFromCache(const std::string& path);

// The shortest time in which bytes can be read from memory, in ms.
double TimeRead(const uint8_t* bytes, size_t count);
