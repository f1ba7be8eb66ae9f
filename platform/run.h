// The way into the program.
#pragma once

#include "platform/app.h"

// Runs the application until its main window is gone: InitInstance, the message loop, ExitInstance. Returns
// the exit status. program_name is argv[0].
//
// Without a display this ends the process with status 1, after one line on the standard error stream.
//
// SIGTERM, SIGINT and SIGHUP cancel the boxes and dialogs that are open and then close the main window. A
// second signal ends the process at once. A signal that the process was started to ignore stays ignored.
int RunApplication(CWinApp& app, const char* program_name, const CString& command_line);
