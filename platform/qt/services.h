// What the tests replace, and what a test program shares with the real one's start.
#pragma once

#include "platform/cstring.h"

#include <functional>

extern std::function<void(const CString&)> g_message_box_hook;
extern CString g_settings_file;

// After the toolkit's application object is made: locale, signals, what ends the loop.
void PrepareProcess();
