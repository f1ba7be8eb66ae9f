// Functions for tests that need Qt itself. Only qt_support.cpp includes it.
#pragma once

#include "platform/types.h"

#include <functional>
#include <string>

// Calls function from the event loop of the next modal window and then closes that window. If it is a message
// box, its text is stored in *text.
void InNextBox(std::function<void()> function, std::string* text = nullptr);

// Returns the title of the parent of the open box or dialog.
std::string BoxParentTitle();

// Runs a hundred rounds of the event loop.
void PumpRounds();

double ScreenRatio();

// Repaints all windows, with bars and borders. Returns the first pixel that changes, or an empty text.
std::string DifferenceFromRepaint();

CPoint BarValues(); // values of the scroll bars of the only frame

std::string TitleOnScreen(); // title of the only frame, as the display knows it

// While it lives, the palette of the desktop has these greys.
class PaletteForTest
{
public:
    PaletteForTest(unsigned mid, unsigned dark, unsigned midlight, unsigned light);
    ~PaletteForTest();
    PaletteForTest(const PaletteForTest&) = delete;
    PaletteForTest& operator=(const PaletteForTest&) = delete;
};
