#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# program_names_test.sh PROGRAM TESTING PLATFORM: checks that the program contains no name that the library of
# the testing code defines. PLATFORM is the library of which the program must contain names. This shows that
# its names can be read.
set -euo pipefail
export LC_ALL=C
program=$1 testing=$2 platform=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# global_names LIBRARY: prints the names that no other source may define. Names of inline functions and of
# templates are weak. They can be in the program, too.
global_names() { nm -C --defined-only "$1" | sed -nE 's/^[0-9a-f-]+ [TDBR] //p' | sort -u; }

global_names "$testing" >"$scratch/testing"
global_names "$platform" >"$scratch/platform"
nm -C --defined-only "$program" | sed -nE 's/^[0-9a-f-]+ [A-Za-z] //p' | sort -u >"$scratch/program"

if [[ ! -s $scratch/testing ]]; then
  echo "no names in $testing" >&2
  exit 1
fi
if [[ -z $(comm -12 "$scratch/platform" "$scratch/program") ]]; then
  echo "no names of the platform in $program; is it stripped?" >&2
  exit 1
fi
comm -12 "$scratch/testing" "$scratch/program" >"$scratch/found"
if [[ -s $scratch/found ]]; then
  echo "the program contains names of the testing library:" >&2
  cat "$scratch/found" >&2
  exit 1
fi
