# SPDX-License-Identifier: MIT
# Sets kesterlib_warnings to the compiler options for warnings.
set(kesterlib_warnings -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
# gcc 12 has a false warning in the operator+ of std::string at -O3.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  list(APPEND kesterlib_warnings -Wno-restrict)
endif()
