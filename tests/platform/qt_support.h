// The little that tests need from the toolkit itself.
#pragma once

#include "platform/types.h"

#include <functional>
#include <string>

// Calls function from the loop of the next modal window, then closes that. What the window says is in *text.
void InNextBox(std::function<void()> function, std::string* text = nullptr);

// The title of the window that the open box or dialog belongs to.
std::string BoxParentTitle();

// Runs the event loop a hundred rounds, whatever waits in it.
void PumpRounds();

double ScreenRatio();

// Empty if the windows hold what a repaint of all of each draws, bars and borders included; else where not.
std::string DifferenceFromRepaint();

CPoint BarValues(); // what the bars of the only frame say

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
