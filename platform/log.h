// SPDX-License-Identifier: MIT
// Lines for the system's log, which the program does not show to the user.
#pragma once

// Writes a line at debug level.
void OutputDebugStringA(const char* text);
