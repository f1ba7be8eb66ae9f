// A callback block over an input in memory, for tests of the JBIG decoder. It can seek, return short reads
// and end early. It keeps its messages, with N instead of source lines, and all requests. Only one can exist
// at a time.
#pragma once

#include "kesterlib/callback.h"

#include "tests/support/jbig_reference.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace test_support
{
class SeekBlock
{
public:
    // The caller owns the input and keeps it alive.
    explicit SeekBlock(const JbigInput& input)
        : m_block(make_unix_callback_block()), m_input(input), m_position(input.start)
    {
        the_block = this;
        set_debug_message_sink(Hear);
        set_callback_debug_memory(m_block, 1);
        Set(CALLBACK_MESSAGE, reinterpret_cast<callback_slot_value>(Message));
        Set(CALLBACK_FREAD, reinterpret_cast<callback_slot_value>(Read));
        Set(CALLBACK_FSEEK, reinterpret_cast<callback_slot_value>(Seek));
        Set(CALLBACK_FTELL, reinterpret_cast<callback_slot_value>(Tell));
        Set(CALLBACK_FFLUSH, reinterpret_cast<callback_slot_value>(Flush));
        Set(CALLBACK_ALLOCATE, reinterpret_cast<callback_slot_value>(Allocate));
        Set(CALLBACK_EXIT, reinterpret_cast<callback_slot_value>(Exit));
    }
    SeekBlock(const SeekBlock&) = delete;
    SeekBlock& operator=(const SeekBlock&) = delete;
    ~SeekBlock()
    {
        Dispose();
        set_debug_message_sink(nullptr);
        the_block = nullptr;
    }

    operator callback_block*() const { return m_block; }
    void Set(int slot, callback_slot_value value) { set_callback_slot(slot, m_block, value); }
    // Frees the block. The messages of the memory tracking are then in `messages`.
    void Dispose()
    {
        dispose_callback_block(m_block);
        m_block = nullptr;
    }
    // For a block that the decoder has made: it prints nothing. Its messages are still added to `messages`.
    static void Silence(callback_block* block)
    {
        set_callback_slot(CALLBACK_MESSAGE, block, reinterpret_cast<callback_slot_value>(Message));
    }

    std::string messages;
    std::vector<size_t> reads; // requested bytes of each read
    int exits = 0;
    size_t allocated_bytes = 0;
    int allocations_left = 1000; // further allocations fail
    int seeks_left = 1000;       // further seeks fail

private:
    static size_t Read(void* buffer, size_t size, size_t count, FILE*)
    {
        SeekBlock& self = *the_block;
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
        SeekBlock& self = *the_block;
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
    static long Tell(FILE*) { return static_cast<long>(the_block->m_position); }
    static int Message(FILE*, const char*, va_list) { return 0; }
    static void Hear(const char* text)
    {
        std::string said = text;
        if (size_t at = said.find("t line "); at != std::string::npos) { // "at line" or "At line"
            at += 7;
            said.replace(at, said.find(' ', at) - at, "N");
        }
        the_block->messages += said;
    }
    static int Flush(FILE*) { return 0; }
    static void* Allocate(size_t size, const char*)
    {
        the_block->allocated_bytes += size;
        return the_block->allocations_left-- > 0 ? malloc(size) : nullptr;
    }
    static void Exit(int) { ++the_block->exits; }

    static inline SeekBlock* the_block = nullptr;
    callback_block* m_block;
    const JbigInput& m_input;
    size_t m_position;
};
} // namespace test_support
