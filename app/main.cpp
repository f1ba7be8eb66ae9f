// SPDX-License-Identifier: MIT
// The program. Answers --help and --version; otherwise runs the application.
#include "app/arguments.h"
#include "app/lumentaapp.h"
#include "app/programversion.h"
#include "platform/run.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

// Opens /dev/null for each standard stream that is closed at the start. Otherwise a connection or a page file
// could get the descriptor number of that stream. The access mode is wrong on purpose: standard input is
// opened for writing, and the others for reading. So a use of the stream still fails.
static void OpenStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

// Prints the version, and the commit in brackets if it is known. Returns false if this fails.
static bool PrintVersion()
{
    const bool has_commit = kLumentaCommit[0] != '\0';
    return printf(has_commit ? "lumenta %s (%s)\n" : "lumenta %s\n", kLumentaVersion, kLumentaCommit) >= 0 &&
           fflush(stdout) == 0;
}

int main(int argc, char** argv)
{
    OpenStandardStreams();
    const std::span<const char* const> all{argv, static_cast<size_t>(argc)};
    const CommandLine line = ReadCommandLine(all.subspan(argc > 0 ? 1 : 0), PathExists);
    switch (line.action) {
    case CommandLine::Action::help: return fputs(kHelpText, stdout) < 0 || fflush(stdout) != 0;
    case CommandLine::Action::version: return !PrintVersion();
    case CommandLine::Action::run: break;
    }
    CLumentaApp app;
    return RunApplication(app, argc > 0 ? argv[0] : "lumenta", line.text);
}
