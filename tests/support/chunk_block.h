// A callback block over bytes in memory, for tests of the decoders. It delivers the bytes in pieces, keeps
// its messages, counts requests, and can run out of memory or fail to read. Only one can exist at a time.
#pragma once

#include "kesterlib/callback.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace test_support
{
class ChunkBlock
{
public:
    // The input is empty until SetInput is called.
    ChunkBlock() : m_block(make_unix_callback_block())
    {
        the_block = this;
        set_callback_debug_memory(m_block, 1);
        Set(CALLBACK_MESSAGE, reinterpret_cast<callback_slot_value>(Message));
        Set(CALLBACK_FREAD, reinterpret_cast<callback_slot_value>(Read));
        Set(CALLBACK_FERROR, reinterpret_cast<callback_slot_value>(Error));
        Set(CALLBACK_FFLUSH, reinterpret_cast<callback_slot_value>(Flush));
        Set(CALLBACK_ALLOCATE, reinterpret_cast<callback_slot_value>(Allocate));
        Set(CALLBACK_EXIT, reinterpret_cast<callback_slot_value>(Exit));
    }
    ChunkBlock(const ChunkBlock&) = delete;
    ChunkBlock& operator=(const ChunkBlock&) = delete;
    ~ChunkBlock()
    {
        Dispose();
        the_block = nullptr;
    }

    operator callback_block*() const { return m_block; }
    void Set(int slot, callback_slot_value value) { set_callback_slot(slot, m_block, value); }

    // The caller owns the bytes and keeps them alive.
    void SetInput(std::span<const uint8_t> bytes, size_t most_a_read = SIZE_MAX)
    {
        input = bytes;
        most = most_a_read;
    }
    // Frees the block. The messages of the memory tracking are then in `messages`.
    void Dispose()
    {
        dispose_callback_block(m_block);
        m_block = nullptr;
    }

    std::string messages;
    int exits = 0;               // calls of the exit slot, which returns here
    std::vector<size_t> reads;   // requested bytes of each read
    bool read_error = false;     // result of the error slot
    size_t allocated_bytes = 0;  // requested, also if there was no memory
    int allocations_left = 1000; // further allocations fail
    std::span<const uint8_t> input;
    size_t most = SIZE_MAX;

private:
    static size_t Read(void* buffer, size_t size, size_t count, FILE*)
    {
        ChunkBlock& self = *the_block;
        self.reads.push_back(size * count);
        const size_t given = std::min({size * count, self.most, self.input.size()}) / size;
        if (given == 0)
            return 0;
        memcpy(buffer, self.input.data(), given * size);
        self.input = self.input.subspan(given * size);
        return given;
    }
    static int Message(FILE*, const char* format, va_list arguments)
    {
        char text[512];
        const int length = vsnprintf(text, sizeof text, format, arguments);
        the_block->messages += text;
        return length;
    }
    static int Error(FILE*) { return the_block->read_error; }
    static int Flush(FILE*) { return 0; }
    static void* Allocate(size_t size, const char*)
    {
        the_block->allocated_bytes += size;
        return the_block->allocations_left-- > 0 ? malloc(size) : nullptr;
    }
    static void Exit(int) { ++the_block->exits; }

    static inline ChunkBlock* the_block = nullptr;
    callback_block* m_block;
};
} // namespace test_support
