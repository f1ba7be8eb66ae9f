// What the decoders of the codec library run on in the application.
#pragma once

#include <cstdio>
#include <kesterlib/callback.h>

// A decoder's input if it is not a stream.
class DecoderInput
{
public:
    // Copies the next bytes into buffer and returns how many: at most size, and 0 at the end or after an
    // error.
    virtual size_t Read(void* buffer, size_t size) = 0;

protected:
    ~DecoderInput() = default;
};

// A callback block. If there is no memory for it or for a decoder, the decoder's open returns null; the
// library's own blocks would end the program. Must outlive the decoder. If a decoder did not free its memory,
// the destructor reports it on the standard error stream.
class DecoderBlock
{
public:
    DecoderBlock() = default;
    ~DecoderBlock();
    DecoderBlock(const DecoderBlock&) = delete;
    DecoderBlock& operator=(const DecoderBlock&) = delete;

    // The block, with a stream that stays the caller's; null without memory.
    callback_block* Over(FILE* file);
    // The same with an input that must outlive the decoder.
    callback_block* From(DecoderInput* input);

private:
    callback_block* Make();

    callback_block* m_pBlock = nullptr; // made when it is first asked for
};
