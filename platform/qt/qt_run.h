// SPDX-License-Identifier: MIT
// The part of the program's start that test programs use too.
#pragma once

// Call this after the application object is created. Sets the locale, the signals, and what ends the loop.
void PrepareProcess();
