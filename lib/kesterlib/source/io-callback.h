// Shared by the sources of the callback block.
#pragma once

#include "kesterlib/callback.h"

// Call this before calling a slot. A default slot receives no block, so it reports through the block that
// was named here last.
void set_current_callback_block(callback_block* block);
