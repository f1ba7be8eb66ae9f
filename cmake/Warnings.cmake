# Compiler warnings for our own code. Every target of ours links this library. LUMENTA_WERROR makes them
# errors. The options are those of the codec library, which can also be built alone.
set(LUMENTA_WERROR_FLAG $<$<BOOL:${LUMENTA_WERROR}>:-Werror>)
include(lib/kesterlib/cmake/KesterlibWarnings.cmake)
add_library(lumenta_warnings INTERFACE)
target_compile_options(lumenta_warnings INTERFACE ${kesterlib_warnings} ${LUMENTA_WERROR_FLAG})
