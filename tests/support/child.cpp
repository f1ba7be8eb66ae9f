// SPDX-License-Identifier: MIT
// Forks a child process, and reads the text of its work from a pipe.
#include "tests/support/child.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr unsigned kLongestWork = 60; // seconds; work that blocks for longer is ended and fails
}

std::string InChild(const std::function<std::string()>& work)
{
    int ends[2];
    if (pipe(ends) != 0) {
        ADD_FAILURE() << "no pipe";
        return {};
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        alarm(kLongestWork);
        const std::string text = work();
        const bool sent = write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        _exit(sent ? 0 : 1);
    }
    close(ends[1]);
    std::string text;
    char part[4096];
    for (ssize_t got; (got = read(ends[0], part, sizeof part)) > 0;)
        text.append(part, static_cast<size_t>(got));
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the child process failed";
    return text;
}

int64_t PeakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return int64_t{usage.ru_maxrss} * 1024;
}
