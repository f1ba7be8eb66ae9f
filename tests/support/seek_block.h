// A callback block over an input in memory, for tests of the JBIG decoder. It can also seek and end early.
// Its messages have N instead of source lines.
#pragma once

#include "tests/support/chunk_block.h"
#include "tests/support/jbig_reference.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace test_support
{
class SeekBlock : public ChunkBlock
{
public:
    // The caller owns the input and keeps it alive.
    explicit SeekBlock(const JbigInput& stream) : m_input(stream), m_position(stream.start)
    {
        the_block = this;
        set_debug_message_sink(Hear);
        Silence(*this);
        Set(CALLBACK_FREAD, reinterpret_cast<callback_slot_value>(Read));
        Set(CALLBACK_FSEEK, reinterpret_cast<callback_slot_value>(Seek));
        Set(CALLBACK_FTELL, reinterpret_cast<callback_slot_value>(Tell));
    }
    SeekBlock(const SeekBlock&) = delete;
    SeekBlock& operator=(const SeekBlock&) = delete;
    ~SeekBlock()
    {
        Dispose();
        set_debug_message_sink(nullptr);
        the_block = nullptr;
    }

    // For a block that the decoder has made: it prints nothing. Its messages are still added to `messages`.
    static void Silence(callback_block* block)
    {
        set_callback_slot(CALLBACK_MESSAGE, block, reinterpret_cast<callback_slot_value>(Message));
    }

    int seeks_left = 1000; // further seeks fail

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
        std::string message = text;
        if (size_t at = message.find("t line "); at != std::string::npos) { // "at line" or "At line"
            at += 7;
            message.replace(at, message.find(' ', at) - at, "N");
        }
        the_block->messages += message;
    }

    static inline SeekBlock* the_block = nullptr;
    const JbigInput& m_input;
    size_t m_position;
};
} // namespace test_support
