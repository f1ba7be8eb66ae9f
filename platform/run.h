// The way into the program.
#pragma once

#include "platform/app.h"

// True if the environment names a display that answers, or a platform of its own.
bool HasDisplay();

// Runs the application until its main window is gone: InitInstance, the message loop, ExitInstance.
// program_name is argv[0]. The result is the exit status.
int RunApplication(CWinApp& app, const char* program_name, const CString& command_line);
