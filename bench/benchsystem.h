// SPDX-License-Identifier: MIT
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

// Call before Qt starts. If DISPLAY is set, selects the X display and returns true. Otherwise selects windows
// in memory and returns false.
bool ChooseDisplay();
bool HasDisplayOf(int width, int height); // true if the first screen of the X display has this size
// Call before Qt starts. Puts all windows of this program on one screen of this size, in memory.
bool ChooseScreen(int width, int height);

// Returns the path of a page file that the program bench_pages has written.
std::string PagePathOf(const char* name);
// 20 000 x 30 000 px with text and halftones, coded as Group 4 in one strip.
constexpr const char* kBigPage = "big.tif";
constexpr const char* kSmallPage = "small.tif"; // the upper left 1 000 x 1 000 px of kBigPage

// Removes a file from the system's cache. Returns false if a part of it is still in the cache. On a file
// system in memory it always returns false.
bool DropFromCache(const std::string& path);

// Reads the bytes from memory as fast as possible and returns the time in ms.
double TimeRead(const uint8_t* bytes, size_t count);
