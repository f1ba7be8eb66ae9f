// SPDX-License-Identifier: MIT
// Helpers that leave no trace when a test ends: a temporary directory, collected message boxes, and a limit
// of the process.
#pragma once

#include "platform/testing/testing.h"
#include "tests/support/recorder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <vector>

// A temporary directory that is deleted with its contents.
class ScratchDirectory
{
public:
    ScratchDirectory()
    {
        std::string name = testing::TempDir() + "lumenta-XXXXXX";
        EXPECT_NE(mkdtemp(name.data()), nullptr) << name;
        m_path = std::filesystem::canonical(name).string();
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;
    ~ScratchDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }
    // Writes the file and returns its path.
    std::string Write(const std::string& name, std::string_view bytes) const
    {
        std::ofstream(File(name), std::ios::binary) << bytes;
        return File(name);
    }
    std::string Read(const std::string& name) const
    {
        std::ifstream file(File(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string m_path;
};

// While it exists, collects the texts of all message boxes. None of them blocks.
class BoxTexts
{
public:
    BoxTexts()
    {
        SetMessageBoxHook([this](const CString& text) { m_texts.Add(text.c_str()); });
    }
    BoxTexts(const BoxTexts&) = delete;
    BoxTexts& operator=(const BoxTexts&) = delete;
    ~BoxTexts() { SetMessageBoxHook({}); }

    // Returns the texts since the last call.
    std::vector<std::string> Take() { return m_texts.Take(); }

private:
    Recorder m_texts;
};

// While it exists, no file can grow beyond `bytes`, similar to a full disk.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before{};
    void (*m_handler)(int) = nullptr;
};
