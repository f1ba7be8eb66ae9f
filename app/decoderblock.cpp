#include "app/decoderblock.h"

#include "platform/messages.h"

#include <cstdio>
#include <cstdlib>

namespace
{
void* AllocateOrNull(size_t bytes, const char*)
{
    return std::malloc(bytes);
}

// The decoder of a large JBIG stripe asks for errors between its rows, that of Squeeze within a long number.
int FailIfInterrupted(FILE* file)
{
    return CCmdTarget::WorkInterrupted() ? 1 : std::ferror(file);
}
} // namespace

DecoderBlock::~DecoderBlock()
{
    dispose_callback_block(m_pBlock); // reports what a decoder has left behind
}

callback_block* DecoderBlock::Over(FILE* file)
{
    if (!m_pBlock) {
        m_pBlock = static_cast<callback_block*>(std::malloc(sizeof(callback_block))); // disposing frees it
        if (!m_pBlock)
            return nullptr;
        fill_void_callback_block(m_pBlock);
        fill_unix_callback_block(m_pBlock);
        set_callback_slot(CALLBACK_ALLOCATE, m_pBlock, reinterpret_cast<callback_slot_value>(AllocateOrNull));
        set_callback_slot(CALLBACK_FERROR, m_pBlock,
                          reinterpret_cast<callback_slot_value>(FailIfInterrupted));
    }
    set_callback_slot(CALLBACK_FILE, m_pBlock, reinterpret_cast<callback_slot_value>(file));
    return m_pBlock;
}
