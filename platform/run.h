// SPDX-License-Identifier: MIT
// Runs the program. Receives the application object and the command line from main.cpp. Returns the exit
// status.
#pragma once

#include "platform/app.h"

// Runs the application until its main window is destroyed: InitInstance, the message loop, ExitInstance.
// Returns the exit status. program_name is argv[0]. command_line is the rest of the command line.
//
// Without a display, writes one line to the standard error stream and ends the process with status 1.
//
// SIGTERM, SIGINT and SIGHUP cancel the boxes and dialogs that are open, and then close the main window. A
// second signal ends the process at once. A signal that was ignored when the process started stays ignored.
[[nodiscard]] int RunApplication(CWinApp& app, const char* program_name, const CString& command_line);
