// SPDX-License-Identifier: MIT
// Functions on callback blocks and errors that only the library uses.
#pragma once

#include "kesterlib/callback.h"

// Call this before calling a slot. A default slot receives no block, so it reports through the block of the
// latest call of this function.
void set_current_callback_block(callback_block* block);

namespace kesterlib
{
// Returns whether the block has a stream and a ferror slot, and this slot says that the stream has failed.
bool input_has_failed(callback_block* block);

// Returns the text of a system error code: a constant text, or for an unknown code a text in `buffer`.
constexpr size_t kErrorTextBytes = 200;
const char* system_error_text(int code, char (&buffer)[kErrorTextBytes]);
} // namespace kesterlib
