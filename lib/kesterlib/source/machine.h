// Which instructions this machine has.
#pragma once

namespace kesterlib
{
#if defined(__x86_64__)
inline bool has_avx2() // with the bit instructions that its row loops are compiled for
{
    static const bool has =
        __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    return has;
}
#endif
} // namespace kesterlib
