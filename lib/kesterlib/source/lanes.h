// SPDX-License-Identifier: MIT
// Eight 32-bit numbers at a time, with the instructions that the including source is compiled for: AVX2,
// SSE2, or plain words.
#pragma once

#include "run_frame.h"

#include <cstdint>
#include <cstring>

// KESTERLIB_PLAIN_LANES selects plain words on every machine, so that tests can run that variant anywhere.
#if !defined(KESTERLIB_PLAIN_LANES) && (defined(__AVX2__) || defined(__SSE2__))
#include <immintrin.h>
#endif

namespace kesterlib
{
namespace
{
#if defined(__AVX2__) && !defined(KESTERLIB_PLAIN_LANES)

struct Lanes {
    __m256i all;
};
inline Lanes lanes_load(const int32_t* from)
{
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))};
}
inline void lanes_store(int32_t* to, Lanes v)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), v.all);
}
inline Lanes lanes_of(int32_t value)
{
    return {_mm256_set1_epi32(value)};
}
// Sign-extends eight bytes to eight numbers.
inline Lanes lanes_widen(const int8_t* from)
{
    return {_mm256_cvtepi8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)))};
}
inline Lanes lanes_add(Lanes a, Lanes b)
{
    return {_mm256_add_epi32(a.all, b.all)};
}
// Return a bit for each lane, the first lane in the lowest bit: whether a is above b; whether a is outside
// 0 to limit.
inline uint32_t lanes_above(Lanes a, Lanes b)
{
    return static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpgt_epi32(a.all, b.all))));
}
inline uint32_t lanes_outside(Lanes a, Lanes limit)
{
    const __m256i either = _mm256_or_si256(_mm256_sub_epi32(limit.all, a.all), a.all);
    return static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(either)));
}

#elif defined(__SSE2__) && !defined(KESTERLIB_PLAIN_LANES)

struct Lanes {
    __m128i low, high;
};
inline Lanes lanes_load(const int32_t* from)
{
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)),
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 4))};
}
inline void lanes_store(int32_t* to, Lanes v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), v.low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 4), v.high);
}
inline Lanes lanes_of(int32_t value)
{
    return {_mm_set1_epi32(value), _mm_set1_epi32(value)};
}
inline Lanes lanes_widen(const int8_t* from)
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
    const __m128i words = _mm_srai_epi16(_mm_unpacklo_epi8(bytes, bytes), 8);
    return {_mm_srai_epi32(_mm_unpacklo_epi16(words, words), 16),
            _mm_srai_epi32(_mm_unpackhi_epi16(words, words), 16)};
}
inline Lanes lanes_add(Lanes a, Lanes b)
{
    return {_mm_add_epi32(a.low, b.low), _mm_add_epi32(a.high, b.high)};
}
inline uint32_t lanes_signs(__m128i low, __m128i high)
{
    return static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(low)) |
                                 _mm_movemask_ps(_mm_castsi128_ps(high)) << 4);
}
inline uint32_t lanes_above(Lanes a, Lanes b)
{
    return lanes_signs(_mm_cmpgt_epi32(a.low, b.low), _mm_cmpgt_epi32(a.high, b.high));
}
inline uint32_t lanes_outside(Lanes a, Lanes limit)
{
    return lanes_signs(_mm_or_si128(_mm_sub_epi32(limit.low, a.low), a.low),
                       _mm_or_si128(_mm_sub_epi32(limit.high, a.high), a.high));
}

#else

struct Lanes {
    int32_t lane[kLanes];
};
inline Lanes lanes_load(const int32_t* from)
{
    Lanes v;
    memcpy(v.lane, from, sizeof v.lane);
    return v;
}
inline void lanes_store(int32_t* to, Lanes v)
{
    memcpy(to, v.lane, sizeof v.lane);
}
inline Lanes lanes_of(int32_t value)
{
    Lanes v;
    for (int32_t& lane : v.lane)
        lane = value;
    return v;
}
inline Lanes lanes_widen(const int8_t* from)
{
    Lanes v;
    for (int i = 0; i < kLanes; ++i)
        v.lane[i] = from[i]; // NOLINT(bugprone-signed-char-misuse): signed numbers
    return v;
}
inline Lanes lanes_add(Lanes a, Lanes b)
{
    for (int i = 0; i < kLanes; ++i)
        a.lane[i] += b.lane[i];
    return a;
}
inline uint32_t lanes_above(Lanes a, Lanes b)
{
    uint32_t bits = 0;
    for (int i = 0; i < kLanes; ++i)
        bits |= static_cast<uint32_t>(a.lane[i] > b.lane[i]) << i;
    return bits;
}
inline uint32_t lanes_outside(Lanes a, Lanes limit)
{
    uint32_t bits = 0;
    for (int i = 0; i < kLanes; ++i)
        bits |= static_cast<uint32_t>(a.lane[i] < 0 || a.lane[i] > limit.lane[i]) << i;
    return bits;
}

#endif
} // namespace
} // namespace kesterlib
