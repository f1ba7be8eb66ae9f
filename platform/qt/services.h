// Variables that tests replace, and the part of the start that test programs share with the real program.
#pragma once

#include "platform/cstring.h"

#include <functional>

class CDialog;
class CFileDialog;
class CPrintInfo;

extern std::function<void(const CString&)> g_message_box_hook;
// Returns the file to print to, or an empty text for Cancel.
extern std::function<CString(CPrintInfo&)> g_print_dialog_hook;
extern std::function<void(CDialog&)> g_dialog_hook; // called from the loop of each dialog
extern std::function<void(CFileDialog&)> g_file_dialog_hook;
extern int g_missing_file_dialog_part; // number of the next part that is not found, from 1; 0: none
// Empty: the user's settings file.
extern CString g_settings_file;

// Called after the application object is created. Sets the locale, signals, and what ends the loop.
void PrepareProcess();
