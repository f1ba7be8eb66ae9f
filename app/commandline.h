// What the program was called with.
#pragma once

#include "platform/cstring.h"

#include <span>

struct CommandLine {
    enum class Wish { run, help, version };
    Wish wish = Wish::run;
    CString text; // the arguments as one text, one blank between two
};

// arguments: those after the program's name. A first argument "--help" or "--version" is answered by main.
// exists: whether something exists at a path. If the path of something that exists would open nothing (see
// OpensNothing), the text is a variant of the path that opens it ("/./e...", "./-e...").
CommandLine ReadCommandLine(std::span<const char* const> arguments, bool (*exists)(const CString& path));

// Whether anything exists at the path. It need not be readable: then its open reports that.
bool PathExists(const CString& path);

// A command line that opens no page: an empty one, or one that begins with a dash or slash and the letter e.
bool OpensNothing(const CString& command_line);

// The text before the first tab or semicolon, which is all of a path that a page is opened by.
CString PagePath(const CString& path);

extern const char kHelpText[];
