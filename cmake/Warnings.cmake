# Compiler warnings for our own code. Every target of ours links this library. LUMENTA_WERROR makes them
# errors.
set(LUMENTA_WERROR_FLAG $<$<BOOL:${LUMENTA_WERROR}>:-Werror>)
add_library(lumenta_warnings INTERFACE)
target_compile_options(lumenta_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
  ${LUMENTA_WERROR_FLAG})
# gcc 12 has a false warning in the operator+ of std::string at -O3.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(lumenta_warnings INTERFACE -Wno-restrict)
endif()
