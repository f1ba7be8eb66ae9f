// SPDX-License-Identifier: MIT
#include "app/arguments.h"

#include "app/pagepath.h"
#include "platform/viewedmark.h"

const char kHelpText[] =
    "Usage: lumenta [FILE]\n"
    "Shows a page bitmap at one page pixel to one screen pixel.\n"
    "\n"
    "FILE is a page file or a TIFF file. Several arguments are joined with blanks into one path.\n"
    "\n"
    "  --help     show this text\n"
    "  --version  show the version\n";

CommandLine ReadCommandLine(std::span<const char* const> arguments, bool (*exists)(const CString& path))
{
    CommandLine line;
    if (!arguments.empty()) {
        const std::string_view first = arguments.front();
        if (first == "--help") {
            line.action = CommandLine::Action::help;
            return line;
        }
        if (first == "--version") {
            line.action = CommandLine::Action::version;
            return line;
        }
    }
    std::string joined;
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (i > 0)
            joined += ' ';
        joined += arguments[i];
    }
    line.text = joined;
    if (!line.text.IsEmpty() && OpensNothing(line.text) && exists(PagePath(line.text)))
        line.text = CString{joined[0] == '/' ? "/." : "./"} + line.text;
    return line;
}

bool PathExists(const CString& path)
{
    return FileStatusOf(path).Exists();
}

bool OpensNothing(const CString& command_line)
{
    const std::string_view text = command_line;
    if (text.empty())
        return true;
    return text.size() > 1 && (text[0] == '-' || text[0] == '/') && (text[1] == 'e' || text[1] == 'E');
}
