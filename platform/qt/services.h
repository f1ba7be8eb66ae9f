// What the tests replace, and what a test program shares with the real one's start.
#pragma once

#include "platform/cstring.h"

#include <functional>

class CDialog;
class CFileDialog;
class CPrintInfo;

extern std::function<void(const CString&)> g_message_box_hook;
extern std::function<CString(CPrintInfo&)> g_print_dialog_hook; // the file to print to, or empty for Cancel
extern std::function<void(CDialog&)> g_dialog_hook;             // called from the loop of each dialog
extern std::function<void(CFileDialog&)> g_file_dialog_hook;
extern int g_missing_file_dialog_part; // counts down to the lookup of a part that finds nothing; 0: none
extern CString g_settings_file;

// After the toolkit's application object is made: locale, signals, what ends the loop.
void PrepareProcess();
