# Warnings are errors in our own code: every target of the house links this one.
add_library(lumenta_warnings INTERFACE)
target_compile_options(lumenta_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Werror)
# A false alarm of gcc 12 in std::string's own operator+ at -O3.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(lumenta_warnings INTERFACE -Wno-restrict)
endif()
