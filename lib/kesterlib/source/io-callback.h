// What the sources of the callback block share.
#pragma once

#include "kesterlib/callback.h"

// To be called before a slot is: a default slot gets no block, so it reports against the one most recently
// named here.
void set_current_callback_block(callback_block* block);
