// SPDX-License-Identifier: MIT
// The bytes of a page file, from a file or from standard input.
#pragma once

#include <kesterlib/faxhdr.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

// Open reads the start of the input. MakeSeekable must then be called before File and Seek can be used. The
// functions that return a text return an empty one after a success, else what has failed.
class PageInput
{
public:
    PageInput() = default;
    PageInput(const PageInput&) = delete;
    PageInput& operator=(const PageInput&) = delete;
    ~PageInput();

    // Opens a file; "-" is standard input. A FIFO blocks until another process writes to it.
    [[nodiscard]] std::string Open(const char* path);
    // Returns the first FAXHEADER_BYTES bytes; fewer if the input is shorter.
    [[nodiscard]] std::string_view Start() const { return {m_start, m_start_bytes}; }

    // If the input cannot seek, copies it to its end into a temporary file. The file has no name, so that it
    // disappears with the program.
    [[nodiscard]] std::string MakeSeekable();
    // Sets the position, counted from the start of the page file.
    [[nodiscard]] std::string Seek(int64_t position);
    [[nodiscard]] FILE* File() const { return m_file; }

private:
    [[nodiscard]] std::string CopyToTemporaryFile();

    char m_start[FAXHEADER_BYTES];
    size_t m_start_bytes = 0;
    int m_descriptor = -1;                 // while m_file is null
    FILE* m_file = nullptr;                // owns the descriptor
    std::unique_ptr<char[]> m_file_buffer; // buffer of m_file
    int64_t m_first = 0;                   // position of the page file's first byte
};
