// SPDX-License-Identifier: MIT
// A fake file system for viewed marks, in which every call can fail.
#pragma once

#include "platform/posix/markcalls.h"
#include "platform/testing/testing.h"
#include "platform/viewedmark.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

constexpr int64_t kExt4Type = 0xef53, kFatType = 0x4d44, kExfatType = 0x2011bab0;

// Replaces the system's calls while it lives. Every path leads to the same file.
struct FakeMarks : MarkCalls {
    FakeMarks() { SetMarkCalls(this); }
    ~FakeMarks() override { SetMarkCalls(nullptr); }

    int Open(const char*) override { return Say("open", open_result); }
    int Close(int file) override { return Say(file == open_result ? "close" : "close what is not open", 0); }
    int Status(int, FileStatus* result) override
    {
        *result = status;
        return Say("status", status_result);
    }
    int64_t FileSystemType(const char*) override { return Say("type", 0) + type; }
    int GetAttributes(int, uint32_t* result) override
    {
        *result = attributes;
        return Say("get", attributes_result);
    }
    int SetAttributes(int, uint32_t value) override
    {
        return Say("set:" + std::to_string(value), attributes_result);
    }
    int64_t GetMark(const char* path, char* value, size_t room) override
    {
        Say(path, 0);
        if (mark_result < 0 || mark.size() > room)
            return mark_result < 0 ? mark_result : -ERANGE;
        memcpy(value, mark.data(), mark.size());
        return static_cast<int64_t>(mark.size());
    }
    int SetMark(int, const char* value, size_t bytes) override
    {
        return Say("mark:" + std::string(value, bytes), mark_result);
    }

    int64_t type = kExt4Type;
    int open_result = 5, status_result = 0, attributes_result = 0, mark_result = 0;
    FileStatus status;
    uint32_t attributes = 0x20;
    std::string mark;
    std::string trace; // the calls, each followed by a blank

private:
    int Say(const std::string& what, int result)
    {
        trace += what + " ";
        return result;
    }
};

// Keeps the viewed marks in memory, so that the test needs no support of the file system.
class KeptMarks : public FakeMarks
{
public:
    int Open(const char* path) override
    {
        m_open = path;
        return FakeMarks::Open(path);
    }
    int Status(int, FileStatus* result) override
    {
        *result = FileStatusOf(m_open.c_str());
        return 0;
    }
    int64_t GetMark(const char* path, char* value, size_t room) override
    {
        const auto found = m_marks.find(std::filesystem::path(path).lexically_normal());
        mark = found == m_marks.end() ? "" : found->second;
        return FakeMarks::GetMark(path, value, room);
    }
    int SetMark(int, const char* value, size_t bytes) override
    {
        m_marks[m_open].assign(value, bytes);
        set.push_back(std::filesystem::path{m_open}.filename());
        return 0;
    }

    std::vector<std::string> set; // names of the files, in the order in which they were marked

private:
    std::map<std::string, std::string> m_marks;
    std::string m_open;
};
