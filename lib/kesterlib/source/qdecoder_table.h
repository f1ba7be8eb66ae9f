// SPDX-License-Identifier: MIT
// The words that the decoder makes from the states of the probability estimator.
#pragma once

#include "qm_states.h"

#include <cstdint>

namespace kesterlib
{
// A word has Qe in the upper half and the state byte (2 * index + more probable pixel) from bit kStateShift
// on. So bit 5 is the pixel, and the bits below are 0. A shift by the lowest six bits of a word therefore
// selects a half of the next pair of words.
constexpr int kStateShift = 5;
constexpr uint32_t kQeMask = 0xFFFF0000;

constexpr uint32_t qm_word(uint32_t state, uint32_t pixel)
{
    return uint32_t{kQmTable[state].qe} << 16 | (2 * state + pixel) << kStateShift;
}

// The words of the next states. The first index is 1 if the pixel was the less probable one, else 0. The
// second index is the state byte.
struct QmNext {
    uint32_t word[2][256] = {};

    constexpr QmNext()
    {
        for (uint32_t state = 0; state < kQmStates; ++state)
            for (uint32_t pixel = 0; pixel < 2; ++pixel) {
                const QmState& entry = kQmTable[state];
                word[0][2 * state + pixel] = qm_word(entry.after_mps, pixel);
                word[1][2 * state + pixel] = qm_word(entry.after_lps, pixel ^ entry.exchange);
            }
    }
};
constexpr QmNext kQmNext;
} // namespace kesterlib
