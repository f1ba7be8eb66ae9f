// SPDX-License-Identifier: MIT
// Reads the command line. Receives the program's arguments from main.cpp. Returns the requested action and
// the path of the page to open.
#pragma once

#include "platform/cstring.h"

#include <span>

struct CommandLine {
    enum class Action { run, help, version };
    Action action = Action::run;
    CString text; // the whole command line, for RunApplication; empty for help and version
};

// Reads the command line.
//
//   arguments  the arguments after the program's name
//   exists     returns whether anything exists at a path
//
// If the first argument is "--help" or "--version", only `action` is set. Otherwise `text` has all arguments,
// with one blank between two of them. If OpensNothing is true for this path although it exists, text is a
// variant of the path that opens it: "/./e..." or "./-e...".
[[nodiscard]] CommandLine ReadCommandLine(std::span<const char* const> arguments,
                                          bool (*exists)(const CString& path));

// Returns whether anything exists at the path. It need not be readable.
[[nodiscard]] bool PathExists(const CString& path);

// Returns whether a command line opens no page. This is so if it is empty, or if it begins with a dash or
// slash and the letter e or E.
[[nodiscard]] bool OpensNothing(const CString& command_line);

extern const char kHelpText[]; // what --help prints
