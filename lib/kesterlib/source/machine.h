// What the machine at hand has.
#pragma once

namespace kesterlib
{
#if defined(__x86_64__)
inline bool has_avx2() // and the bit instructions that the row loops for it are compiled with
{
    static const bool has =
        __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    return has;
}
#endif
} // namespace kesterlib
