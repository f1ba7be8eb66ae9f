# Warnings are errors in our own code: every target of the house links this one.
add_library(lumenta_warnings INTERFACE)
target_compile_options(lumenta_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Werror)
