// A callback block for tests. It records its messages and exit codes, and its exit slot returns. Only one
// may exist at a time.
#pragma once

#include "kesterlib/callback.h"

#include <string>
#include <utility>
#include <vector>

class RecordedBlock
{
public:
    explicit RecordedBlock(callback_block* block = make_unix_callback_block()) : m_block(block)
    {
        s_messages.clear();
        s_exits.clear();
        set_callback_slot(CALLBACK_MESSAGE, block, reinterpret_cast<callback_slot_value>(&Message));
        set_callback_slot(CALLBACK_EXIT, block, reinterpret_cast<callback_slot_value>(&Exit));
    }
    ~RecordedBlock() { dispose_callback_block(m_block); }
    RecordedBlock(const RecordedBlock&) = delete;
    RecordedBlock& operator=(const RecordedBlock&) = delete;

    operator callback_block*() const { return m_block; }
    callback_block* operator->() const { return m_block; }

    // Returns the messages since the last call, with N instead of the line number in a fatal report.
    static std::string TakeMessages()
    {
        const std::string mark = "At line ";
        std::string taken = std::exchange(s_messages, {});
        for (size_t at = 0; (at = taken.find(mark, at)) != std::string::npos;) {
            at += mark.size();
            taken.replace(at, taken.find(' ', at) - at, "N");
        }
        return taken;
    }

    // Returns the exit codes since the last call.
    static std::vector<int> TakeExits() { return std::exchange(s_exits, {}); }

private:
    static int Message(FILE*, const char* format, va_list arguments)
    {
        char text[1000];
        const int length = vsnprintf(text, sizeof text, format, arguments);
        s_messages += text;
        return length;
    }
    static void Exit(int code) { s_exits.push_back(code); }

    callback_block* m_block;
    static inline std::string s_messages;
    static inline std::vector<int> s_exits;
};
