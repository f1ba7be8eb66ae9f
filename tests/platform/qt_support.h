// SPDX-License-Identifier: MIT
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

// Sends the event of each running timer of the windows several times. Nothing else is handled meanwhile.
void SendTimerEvents(int times);

double ScreenRatio();

// Repaints all windows, with bars and borders. Returns the first pixel that changes, or an empty text if none
// does. If there is no window to compare, it returns "nothing compared".
std::string DifferenceFromRepaint();

// While it exists, the desktop style draws scroll bars with their minimum at the right or bottom end. The
// buttons of the bars show whether the slider is at an end.
class BarStyleForTest
{
public:
    BarStyleForTest();
    ~BarStyleForTest();
    BarStyleForTest(const BarStyleForTest&) = delete;
    BarStyleForTest& operator=(const BarStyleForTest&) = delete;

private:
    const std::string m_before; // name of the style to restore
};

CPoint BarValues(); // values of the scroll bars of the only frame

std::string TitleOnScreen(); // title of the only frame, as the display knows it

// While it exists, the palette of the desktop has these greys.
class PaletteForTest
{
public:
    PaletteForTest(unsigned mid, unsigned dark, unsigned midlight, unsigned light);
    ~PaletteForTest();
    PaletteForTest(const PaletteForTest&) = delete;
    PaletteForTest& operator=(const PaletteForTest&) = delete;
};
