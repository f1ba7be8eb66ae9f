// The program: answers --help and --version, else runs the application on the display.
#include "app/commandline.h"
#include "app/lumentaapp.h"
#include "app/version.h"
#include "platform/run.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

// No connection or page file gets the number of a standard stream that was closed by the caller. Using such a
// stream still fails.
static void OpenStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

int main(int argc, char** argv)
{
    OpenStandardStreams();
    const std::span<const char* const> all{argv, static_cast<size_t>(argc)};
    const CommandLine line = ReadCommandLine(all.subspan(argc > 0 ? 1 : 0), PathExists);
    switch (line.wish) {
    case CommandLine::Wish::help: return fputs(kHelpText, stdout) < 0 || fflush(stdout) != 0;
    case CommandLine::Wish::version:
        return printf("lumenta %s\n", kLumentaVersion) < 0 || fflush(stdout) != 0;
    case CommandLine::Wish::run: break;
    }
    CLumentaApp app;
    return RunApplication(app, argc > 0 ? argv[0] : "lumenta", line.text);
}
