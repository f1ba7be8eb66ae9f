// The states of the probability estimator, and the words that the decoder makes from them.
#pragma once

#include <cstdint>

namespace kesterlib
{
struct QmState {
    uint16_t qe;       // size of the less probable part of the interval
    uint8_t after_lps; // next state after the less probable pixel
    uint8_t after_mps; // next state after a renormalisation with the more probable pixel
    uint8_t exchange;  // 1: the less probable pixel then becomes the more probable one
};

constexpr int kQmStates = 113;

// ITU-T T.82, table 24.
constexpr QmState kQmTable[kQmStates] = {
    {0x5A1D, 1, 1, 1},     {0x2586, 14, 2, 0},    {0x1114, 16, 3, 0},    {0x080B, 18, 4, 0},
    {0x03D8, 20, 5, 0},    {0x01DA, 23, 6, 0},    {0x00E5, 25, 7, 0},    {0x006F, 28, 8, 0},
    {0x0036, 30, 9, 0},    {0x001A, 33, 10, 0},   {0x000D, 35, 11, 0},   {0x0006, 9, 12, 0},
    {0x0003, 10, 13, 0},   {0x0001, 12, 13, 0},   {0x5A7F, 15, 15, 1},   {0x3F25, 36, 16, 0},
    {0x2CF2, 38, 17, 0},   {0x207C, 39, 18, 0},   {0x17B9, 40, 19, 0},   {0x1182, 42, 20, 0},
    {0x0CEF, 43, 21, 0},   {0x09A1, 45, 22, 0},   {0x072F, 46, 23, 0},   {0x055C, 48, 24, 0},
    {0x0406, 49, 25, 0},   {0x0303, 51, 26, 0},   {0x0240, 52, 27, 0},   {0x01B1, 54, 28, 0},
    {0x0144, 56, 29, 0},   {0x00F5, 57, 30, 0},   {0x00B7, 59, 31, 0},   {0x008A, 60, 32, 0},
    {0x0068, 62, 33, 0},   {0x004E, 63, 34, 0},   {0x003B, 32, 35, 0},   {0x002C, 33, 9, 0},
    {0x5AE1, 37, 37, 1},   {0x484C, 64, 38, 0},   {0x3A0D, 65, 39, 0},   {0x2EF1, 67, 40, 0},
    {0x261F, 68, 41, 0},   {0x1F33, 69, 42, 0},   {0x19A8, 70, 43, 0},   {0x1518, 72, 44, 0},
    {0x1177, 73, 45, 0},   {0x0E74, 74, 46, 0},   {0x0BFB, 75, 47, 0},   {0x09F8, 77, 48, 0},
    {0x0861, 78, 49, 0},   {0x0706, 79, 50, 0},   {0x05CD, 48, 51, 0},   {0x04DE, 50, 52, 0},
    {0x040F, 50, 53, 0},   {0x0363, 51, 54, 0},   {0x02D4, 52, 55, 0},   {0x025C, 53, 56, 0},
    {0x01F8, 54, 57, 0},   {0x01A4, 55, 58, 0},   {0x0160, 56, 59, 0},   {0x0125, 57, 60, 0},
    {0x00F6, 58, 61, 0},   {0x00CB, 59, 62, 0},   {0x00AB, 61, 63, 0},   {0x008F, 61, 32, 0},
    {0x5B12, 65, 65, 1},   {0x4D04, 80, 66, 0},   {0x412C, 81, 67, 0},   {0x37D8, 82, 68, 0},
    {0x2FE8, 83, 69, 0},   {0x293C, 84, 70, 0},   {0x2379, 86, 71, 0},   {0x1EDF, 87, 72, 0},
    {0x1AA9, 87, 73, 0},   {0x174E, 72, 74, 0},   {0x1424, 72, 75, 0},   {0x119C, 74, 76, 0},
    {0x0F6B, 74, 77, 0},   {0x0D51, 75, 78, 0},   {0x0BB6, 77, 79, 0},   {0x0A40, 77, 48, 0},
    {0x5832, 80, 81, 1},   {0x4D1C, 88, 82, 0},   {0x438E, 89, 83, 0},   {0x3BDD, 90, 84, 0},
    {0x34EE, 91, 85, 0},   {0x2EAE, 92, 86, 0},   {0x299A, 93, 87, 0},   {0x2516, 86, 71, 0},
    {0x5570, 88, 89, 1},   {0x4CA9, 95, 90, 0},   {0x44D9, 96, 91, 0},   {0x3E22, 97, 92, 0},
    {0x3824, 99, 93, 0},   {0x32B4, 99, 94, 0},   {0x2E17, 93, 86, 0},   {0x56A8, 95, 96, 1},
    {0x4F46, 101, 97, 0},  {0x47E5, 102, 98, 0},  {0x41CF, 103, 99, 0},  {0x3C3D, 104, 100, 0},
    {0x375E, 99, 93, 0},   {0x5231, 105, 102, 0}, {0x4C0F, 106, 103, 0}, {0x4639, 107, 104, 0},
    {0x415E, 103, 99, 0},  {0x5627, 105, 106, 1}, {0x50E7, 108, 107, 0}, {0x4B85, 109, 103, 0},
    {0x5597, 110, 109, 0}, {0x504F, 111, 107, 0}, {0x5A10, 110, 111, 1}, {0x5522, 112, 109, 0},
    {0x59EB, 112, 111, 1},
};

// A word has Qe in the upper half and the state byte (2 * index + more probable pixel) from bit kStateShift
// on. So bit 5 is the pixel, and the bits below are 0. A shift by the lowest six bits of a word therefore
// selects a half of the next pair of words.
constexpr int kStateShift = 5;
constexpr uint32_t kQeMask = 0xFFFF0000;

constexpr uint32_t qm_word(uint32_t state, uint32_t pixel)
{
    return uint32_t{kQmTable[state].qe} << 16 | (2 * state + pixel) << kStateShift;
}

// The word of the next state, by whether the less probable pixel came, and by the state byte.
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
