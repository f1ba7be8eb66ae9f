#include "app/decoderblock.h"

#include <cstdlib>

namespace
{
void* AllocateOrNull(size_t bytes, const char*)
{
    return std::malloc(bytes);
}
} // namespace

DecoderBlock::~DecoderBlock()
{
    if (!m_pBlock)
        return;
    // An allocation that failed counts as one that was never released, which would be reported.
    m_pBlock->allocation_count = m_pBlock->deallocation_count;
    dispose_callback_block(m_pBlock);
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
    }
    set_callback_slot(CALLBACK_FILE, m_pBlock, reinterpret_cast<callback_slot_value>(file));
    return m_pBlock;
}
