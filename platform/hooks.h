// SPDX-License-Identifier: MIT
// The parts of the program that tests and benchmarks can replace. platform/testing sets the members. In the
// program itself every member is empty, so nothing is replaced.
#pragma once

#include "platform/cstring.h"
#include "platform/freememory.h"

#include <cstdint>
#include <functional>

class CPrintInfo;
class CWnd;
class MarkCalls;

struct Hooks {
    [[nodiscard]] static Hooks& Get()
    {
        static Hooks hooks;
        return hooks;
    }

    // Called instead of a message box.
    std::function<void(const CString& text)> message_box;
    // Called instead of the print dialog. Returns the file to print to, or an empty text for Cancel.
    std::function<CString(CPrintInfo& info)> print_dialog;
    // Called for each part of Qt's file dialog that the program looks for. If it returns true, the program
    // does not find this part.
    std::function<bool()> hide_file_dialog_part;

    // Called before each paint of a view.
    std::function<void(const CWnd& view)> before_paint;
    // Returns the milliseconds of the clock that measures how long work lasts, see
    // CCmdTarget::WorkInterrupted.
    std::function<int64_t()> work_clock_ms;

    CString settings_file; // path; empty: the user's settings file
    // Returns the free memory that the program finds. ReadFreeMemory with a root does not call it.
    std::function<MemoryStatus()> memory_status;
    MarkCalls* mark_calls = nullptr; // borrowed; null: the system's calls
};
