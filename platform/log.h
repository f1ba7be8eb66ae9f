// What the program tells nobody but the system's log.
#pragma once

// A line at debug level.
void OutputDebugStringA(const char* text);
