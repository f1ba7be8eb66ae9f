#include "app/decoderblock.h"

#include <cstdlib>

namespace
{
void* AllocateOrNull(size_t bytes, const char*)
{
    return std::malloc(bytes);
}
} // namespace

callback_block* MakeDecoderBlock(FILE* file)
{
    callback_block* const block = make_unix_callback_block();
    set_callback_slot(CALLBACK_FILE, block, reinterpret_cast<callback_slot_value>(file));
    set_callback_slot(CALLBACK_ALLOCATE, block, reinterpret_cast<callback_slot_value>(AllocateOrNull));
    return block;
}

void DisposeDecoderBlock(callback_block* block)
{
    if (!block)
        return;
    // A failed allocation counts as one that was never released, which would be reported.
    block->allocation_count = block->deallocation_count;
    dispose_callback_block(block);
}
