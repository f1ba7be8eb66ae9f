// SPDX-License-Identifier: MIT
// Which instructions this machine has.
#pragma once

namespace kesterlib
{
#if defined(__x86_64__)
inline bool has_avx2() // with the bit instructions that its row loops are compiled for
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
}
#endif
} // namespace kesterlib
