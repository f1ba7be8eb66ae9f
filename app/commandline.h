// What the program was called with.
#pragma once

#include "platform/cstring.h"

#include <span>

struct CommandLine {
    enum class Wish { run, help, version };
    Wish wish = Wish::run;
    CString text; // the arguments as one text, one blank between two
};

// arguments are those behind the program's name. A first argument "--help" or "--version" is answered by
// main. is_file says whether a path names a file: one that looks as if it opened nothing is then given as a
// path that does not ("/./e...", "./-e..."), so that a page below /export opens.
CommandLine ReadCommandLine(std::span<const char* const> arguments, bool (*is_file)(const CString& path));

// A command line that opens no page: an empty one, or one that begins with a dash or slash and the letter e.
bool OpensNothing(const CString& command_line);

// The text before the first tab or semicolon, which is all of a path that a page is opened by.
CString PagePath(const CString& path);

extern const char kHelpText[];
