// SPDX-License-Identifier: MIT
// The output of page-to-pbm: standard output or a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The functions that return a text return an empty one after a success, else what has failed.
class PbmOutput
{
public:
    PbmOutput() = default;
    PbmOutput(const PbmOutput&) = delete;
    PbmOutput& operator=(const PbmOutput&) = delete;
    ~PbmOutput(); // removes the temporary file if Finish was not called

    // Opens a file; null is standard output. A regular file is written under a temporary name in the same
    // directory. SIGHUP, SIGINT, SIGPIPE and SIGTERM remove the temporary file before they end the program.
    // Other files are written directly. A terminal is refused.
    [[nodiscard]] std::string Open(const char* path);
    // Returns whether Rewrite can be used.
    [[nodiscard]] bool CanRewrite() const { return m_start >= 0; }

    [[nodiscard]] std::string Write(const void* bytes, size_t count);
    // Replaces the first bytes that were written.
    [[nodiscard]] std::string Rewrite(const void* bytes, size_t count);
    // Closes the output. A temporary file receives its final name.
    [[nodiscard]] std::string Finish();

private:
    [[nodiscard]] std::string OpenTemporaryFile(const char* path);

    int m_descriptor = -1;
    int64_t m_start = -1; // position of the first byte that is written; -1: unknown, or not to be rewritten
    std::string m_path;   // name of the finished file; empty: no temporary file is used
};
