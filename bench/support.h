// Shared by several benchmark programs: memory figures, the pages and their files, and the display.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>

// Memory of a process, in kB.
struct ProcessMemory {
    long peak = 0;      // largest resident memory so far
    long resident = 0;  // anonymous + file + shared
    long anonymous = 0; // heap and stacks
    long file = 0;      // pages of mapped files, including the row store
    long shared = 0;    // shared memory
};
ProcessMemory ReadProcessMemory(pid_t process); // all 0 if there is no such process

// Call before Qt starts. Selects the X display if DISPLAY is set, else windows in memory. Returns true for X.
bool ChooseDisplay();
bool HasDisplayOf(int width, int height); // whether there is an X display with a screen of that size
// Call before Qt starts. Puts all windows of this program on one screen of that size, in memory.
bool ChooseScreen(int width, int height);

// Returns the path of a file that benchpages.cpp has drawn.
std::string PagePathOf(const char* name);
constexpr const char* kBigPage = "big.tif"; // 20 000 x 30 000 px, half text, a picture; Group 4, one strip
constexpr const char* kSmallPage = "small.tif"; // its upper left corner of 1 000 x 1 000 px

// Drops a file from the system's cache. Returns false if parts of it remain, as on a file system in memory.
bool DropFromCache(const std::string& path);

// Reads the bytes from memory as fast as possible and returns the time in ms.
double TimeRead(const uint8_t* bytes, size_t count);
