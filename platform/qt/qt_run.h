// The part of the program's start that test programs share with it.
#pragma once

// Call this after the application object is created. Sets the locale, the signals, and what ends the loop.
void PrepareProcess();
