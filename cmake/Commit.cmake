# SPDX-License-Identifier: MIT
# cmake -D OUTPUT=FILE -D TREE=DIRECTORY -P Commit.cmake: writes a source with the output of `git describe` for
# the source tree TREE. The text is empty if there is no git, or if TREE is not the top of a git tree: a tree that
# was unpacked somewhere in another git tree must not get the commit of that tree.
cmake_minimum_required(VERSION 3.25)
set(commit "")
execute_process(COMMAND git -C ${TREE} rev-parse --show-cdup
  OUTPUT_VARIABLE top RESULT_VARIABLE status OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(status STREQUAL "0" AND top STREQUAL "")
  execute_process(COMMAND git -C ${TREE} describe --always --tags --dirty --match "v[0-9]*"
    OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
set(source "#include \"app/programversion.h\"\n\nconst char kLumentaCommit[] = \"${commit}\";\n")
set(old "")
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} old)
endif()
if(NOT source STREQUAL old)
  file(WRITE ${OUTPUT} "${source}")
endif()
