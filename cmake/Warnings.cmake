# SPDX-License-Identifier: MIT
# Compiler warnings for our own code. Every target of ours links this library. LUMENTA_WERROR makes them
# errors. The options are those of the codec library, which can also be built alone.
set(LUMENTA_WERROR_FLAG $<$<BOOL:${LUMENTA_WERROR}>:-Werror>)
include(lib/kesterlib/cmake/KesterlibWarnings.cmake)
add_library(lumenta_warnings INTERFACE)
target_compile_options(lumenta_warnings INTERFACE ${kesterlib_warnings} ${LUMENTA_WERROR_FLAG})
# gcc 12 has more false warnings when it optimises at link time.
if(CMAKE_INTERPROCEDURAL_OPTIMIZATION AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU"
    AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_link_options(lumenta_warnings INTERFACE -Wno-stringop-overflow -Wno-alloc-size-larger-than)
endif()
