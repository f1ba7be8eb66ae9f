// What the decoders of the codec library run on in the application.
#pragma once

#include <cstdio>
#include <kesterlib/callback.h>

// A block over a stream, which stays the caller's. Without memory for a decoder its open gives null, where
// the library's own blocks would end the program. The caller disposes of it when the decoder is gone.
callback_block* MakeDecoderBlock(FILE* file);
void DisposeDecoderBlock(callback_block* block); // null is ignored
