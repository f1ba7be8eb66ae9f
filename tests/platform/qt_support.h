// The little that tests need from the toolkit itself.
#pragma once

#include <functional>
#include <string>

// Calls function from the loop of the next modal window, then closes that. What the window says is in *text.
void InNextBox(std::function<void()> function, std::string* text = nullptr);

// The title of the window that the open box or dialog belongs to.
std::string BoxParentTitle();

// Runs the event loop a hundred rounds, whatever waits in it.
void PumpRounds();

double ScreenRatio();

std::string TitleOnScreen(); // of the only frame, as the display has it

// Gives the desktop's palette these greys for as long as it lives.
class PaletteForTest
{
public:
    PaletteForTest(unsigned mid, unsigned dark, unsigned midlight, unsigned light);
    ~PaletteForTest();
    PaletteForTest(const PaletteForTest&) = delete;
    PaletteForTest& operator=(const PaletteForTest&) = delete;
};
