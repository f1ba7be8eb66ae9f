// SPDX-License-Identifier: MIT
// Big-endian loads and stores, and counts of bits, with the same result under every compiler flag.
#pragma once

#include <cstdint>
#include <cstring>

namespace kesterlib
{
namespace
{
[[maybe_unused]] inline uint64_t big_endian(uint64_t word)
{
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return __builtin_bswap64(word);
#else
    return word;
#endif
}

[[maybe_unused]] inline uint64_t load_be64(const uint8_t* bytes)
{
    uint64_t word;
    memcpy(&word, bytes, sizeof word);
    return big_endian(word);
}

[[maybe_unused]] inline void store_be64(uint8_t* bytes, uint64_t word)
{
    word = big_endian(word);
    memcpy(bytes, &word, sizeof word);
}

[[maybe_unused]] inline int32_t leading_zeros(uint64_t word) // word must not be 0
{
    return __builtin_clzll(word);
}

[[maybe_unused]] inline int32_t count_ones(uint64_t word)
{
    return __builtin_popcountll(word);
}
} // namespace
} // namespace kesterlib
