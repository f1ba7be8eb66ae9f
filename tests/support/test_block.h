// SPDX-License-Identifier: MIT
// Callback blocks for tests of the codec library. They record their messages and exit codes, and their exit
// slot returns. Only one can exist at a time.
#pragma once

#include "kesterlib/callback.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace test_support
{
class RecordedBlock
{
public:
    explicit RecordedBlock(callback_block* block = make_unix_callback_block()) : m_block(block)
    {
        s_messages.clear();
        s_exits.clear();
        set_debug_message_sink(Record);
        Silence(block);
        block->exit = [](int code) { s_exits.push_back(code); };
    }
    RecordedBlock(const RecordedBlock&) = delete;
    RecordedBlock& operator=(const RecordedBlock&) = delete;
    ~RecordedBlock()
    {
        Dispose();
        set_debug_message_sink(nullptr);
    }

    operator callback_block*() const { return m_block; }
    callback_block* operator->() const { return m_block; }

    // Frees the block. The messages of the memory tracking are then recorded too.
    void Dispose() { dispose_callback_block(std::exchange(m_block, nullptr)); }

    // Makes a block print nothing. The messages of every block are recorded.
    static void Silence(callback_block* block)
    {
        block->message = [](FILE*, const char*, va_list) { return 0; };
    }

    // Returns the messages since the last call, with N instead of line numbers of sources.
    static std::string TakeMessages() { return std::exchange(s_messages, {}); }

    // Returns the exit codes since the last call.
    static std::vector<int> TakeExits() { return std::exchange(s_exits, {}); }

private:
    static void Record(const char* text)
    {
        std::string message = text;
        if (size_t at = message.find("t line "); at != std::string::npos) { // "at line" or "At line"
            at += 7;
            message.replace(at, message.find(' ', at) - at, "N");
        }
        s_messages += message;
    }

    callback_block* m_block;
    static inline std::string s_messages;
    static inline std::vector<int> s_exits;
};

struct TestInput {
    std::vector<uint8_t> bytes;
    size_t start = 0;              // position in `bytes` of the first byte to decode
    bool mapped = false;           // true: in memory; false: a stream
    size_t most_a_read = SIZE_MAX; // bytes that the stream returns per read at most
    size_t most_in_all = SIZE_MAX; // position in `bytes` at which the stream ends
    int error = EINVAL;            // errno after a short read or a failed seek
};

// A block that reads bytes in memory. It counts requests, and can run out of memory or fail to read or seek.
class InputBlock : public RecordedBlock
{
public:
    explicit InputBlock(TestInput input = {}) : m_input(std::move(input)), m_position(m_input.start)
    {
        the_block = this;
        callback_block* const block = *this;
        set_callback_debug_memory(block, 1);
        block->fread = Read;
        block->fseek = Seek;
        block->ftell = [](FILE*) { return static_cast<long>(the_block->m_position); };
        block->ferror = [](FILE*) -> int { return the_block->read_error; };
        block->fflush = [](FILE*) { return 0; };
        block->allocate = Allocate;
    }

    std::vector<size_t> reads;   // requested bytes of each read
    bool read_error = false;     // result of the error slot
    int seeks_left = 1000;       // further seeks fail
    size_t allocated_bytes = 0;  // requested, also if there was no memory
    int allocations_left = 1000; // further allocations fail

private:
    static size_t Read(void* buffer, size_t size, size_t count, FILE*)
    {
        InputBlock& self = *the_block;
        const std::vector<uint8_t>& bytes = self.m_input.bytes;
        const size_t wanted = size * count;
        self.reads.push_back(wanted);
        // The search for the last marker reads single bytes. It finds the true end.
        const size_t end = wanted == 1 ? bytes.size() : std::min(bytes.size(), self.m_input.most_in_all);
        const size_t there = self.m_position < end ? end - self.m_position : 0;
        const size_t got = std::min({wanted, there, self.m_input.most_a_read});
        if (got > 0)
            memcpy(buffer, bytes.data() + self.m_position, got);
        self.m_position += got;
        if (got < wanted)
            errno = self.m_input.error;
        return got / size;
    }
    static int Seek(FILE*, long offset, int whence)
    {
        InputBlock& self = *the_block;
        const auto size = static_cast<long>(self.m_input.bytes.size());
        const long from = whence == SEEK_END   ? size
                          : whence == SEEK_CUR ? static_cast<long>(self.m_position)
                                               : 0;
        if (from + offset < 0 || self.seeks_left-- <= 0) {
            errno = self.m_input.error;
            return -1;
        }
        self.m_position = static_cast<size_t>(from + offset);
        return 0;
    }
    static void* Allocate(size_t size, const char*)
    {
        the_block->allocated_bytes += size;
        return the_block->allocations_left-- > 0 ? malloc(size) : nullptr;
    }

    static inline InputBlock* the_block = nullptr;
    const TestInput m_input;
    size_t m_position;
};
} // namespace test_support
