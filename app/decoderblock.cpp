// SPDX-License-Identifier: MIT
#include "app/decoderblock.h"

#include "platform/messages.h"

#include <cstdio>
#include <cstdlib>
#include <initializer_list>

namespace
{
void* AllocateOrNull(size_t bytes, const char*)
{
    return std::malloc(bytes);
}

// The ferror slot of a block with a stream. Decoders also call it during long work: the JBIG decoder between
// the rows of a large stripe, the Squeeze decoder within a long number.
int FailIfInterrupted(FILE* file)
{
    return CCmdTarget::WorkInterrupted() ? 1 : std::ferror(file);
}

// The fread slot of a block whose input is a DecoderInput: `stream` is a pointer to that object.
size_t ReadInput(void* buffer, size_t size, size_t count, FILE* stream)
{
    return reinterpret_cast<DecoderInput*>(stream)->Read(buffer, size * count) / size;
}

// The feof, ferror and fflush slots of such a block.
int NoCondition(FILE*)
{
    return 0;
}

template <class T>
callback_slot_value SlotValue(T* value)
{
    return reinterpret_cast<callback_slot_value>(value);
}
} // namespace

DecoderBlock::~DecoderBlock()
{
    dispose_callback_block(m_pBlock); // also reports memory that a decoder did not free
}

callback_block* DecoderBlock::Make()
{
    if (!m_pBlock) {
        // dispose_callback_block frees this memory.
        m_pBlock = static_cast<callback_block*>(std::malloc(callback_block_size()));
        if (!m_pBlock)
            return nullptr;
        fill_void_callback_block(m_pBlock);
    }
    fill_unix_callback_block(m_pBlock);
    set_callback_slot(CALLBACK_ALLOCATE, m_pBlock, SlotValue(AllocateOrNull));
    return m_pBlock;
}

callback_block* DecoderBlock::ForFile(FILE* file)
{
    if (!Make())
        return nullptr;
    set_callback_slot(CALLBACK_FILE, m_pBlock, SlotValue(file));
    set_callback_slot(CALLBACK_FERROR, m_pBlock, SlotValue(FailIfInterrupted));
    return m_pBlock;
}

callback_block* DecoderBlock::ForInput(DecoderInput* input)
{
    if (!Make())
        return nullptr;
    set_callback_slot(CALLBACK_FILE, m_pBlock, SlotValue(input));
    set_callback_slot(CALLBACK_FREAD, m_pBlock, SlotValue(ReadInput));
    for (const int slot : {CALLBACK_FEOF, CALLBACK_FERROR, CALLBACK_FFLUSH})
        set_callback_slot(slot, m_pBlock, SlotValue(NoCondition));
    return m_pBlock;
}
