// SPDX-License-Identifier: MIT
// Connects the page images to the decoders of kesterlib. Receives an open file or another source of bytes.
// Returns the callback block through which a decoder reads its input and allocates memory.
#pragma once

#include <cstdio>
#include <kesterlib/callback.h>

// A decoder's input that is not a FILE.
class DecoderInput
{
public:
    // Copies the next bytes into `buffer`, which has room for `size` bytes. Returns the number of bytes
    // copied, or 0 at the end or after an error.
    [[nodiscard]] virtual size_t Read(void* buffer, size_t size) = 0;

protected:
    ~DecoderInput() = default;
};

// Owns a callback block for one decoder at a time, and must outlive the decoder. If memory is short, the
// decoder's open function returns null; with the library's own blocks the program would end. If a decoder did
// not free its memory, the destructor reports it on the standard error stream.
class DecoderBlock
{
public:
    DecoderBlock() = default;
    ~DecoderBlock();
    DecoderBlock(const DecoderBlock&) = delete;
    DecoderBlock& operator=(const DecoderBlock&) = delete;

    // Returns the block with `file` as its stream, or null if there is no memory for the block. The caller
    // keeps the stream, which stays open. If the user interrupts the work, the stream reports an error to the
    // decoder.
    [[nodiscard]] callback_block* ForFile(FILE* file);
    // Returns the block with another input, or null if there is no memory for the block. The input must
    // outlive the decoder.
    [[nodiscard]] callback_block* ForInput(DecoderInput* input);

private:
    [[nodiscard]] callback_block* Make();

    callback_block* m_pBlock = nullptr; // allocated by the first call of ForFile or ForInput
};
