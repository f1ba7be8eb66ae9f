// SPDX-License-Identifier: MIT
// The functions of testing.h that replace a part of the program.
#include "platform/testing/testing.h"

#include "platform/hooks.h"

void SetMessageBoxHook(std::function<void(const CString&)> hook)
{
    Hooks::Get().message_box = std::move(hook);
}

void SetPrintDialogHook(std::function<CString(CPrintInfo&)> hook)
{
    Hooks::Get().print_dialog = std::move(hook);
}

void SetWorkClock(std::function<int64_t()> clock)
{
    Hooks::Get().work_clock_ms = std::move(clock);
}

void SetSettingsFile(const CString& path)
{
    Hooks::Get().settings_file = path;
}

void SetMemoryStatusSource(std::function<MemoryStatus()> source)
{
    Hooks::Get().memory_status = std::move(source);
}

void SetHidePartHook(std::function<bool()> hook)
{
    Hooks::Get().hide_file_dialog_part = std::move(hook);
}

void SetMarkCalls(MarkCalls* calls)
{
    Hooks::Get().mark_calls = calls;
}
