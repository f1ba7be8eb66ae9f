// The way into the program.
#pragma once

#include "platform/app.h"

// Runs the application until its main window is gone: InitInstance, the message loop, ExitInstance. Returns
// the exit status. program_name is argv[0].
//
// Without a display this ends the process with status 1, after one line on the standard error stream.
int RunApplication(CWinApp& app, const char* program_name, const CString& command_line);
