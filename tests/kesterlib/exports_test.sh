#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# exports_test.sh LIBRARY MAP HEADERS...: checks that the shared library exports exactly the names that the
# public headers declare with KESTERLIB_API and that the version script MAP lists, that it does not need the
# C++ runtime, and that no text of the trace remains.
set -euo pipefail
export LC_ALL=C
library=$1
map=$2
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Removes comments and directives, and puts every declaration on a line of its own.
cat "$@" | sed 's://.*::; /^[[:space:]]*#/d' | tr '\n' ' ' | sed -E 's:/\*([^*]|\*+[^*/])*\*+/: :g' | tr ';{}' '\n' |
  grep -w KESTERLIB_API >"$scratch/declarations"
sed -nE 's/.*KESTERLIB_API[^(]*[ *]([A-Za-z_0-9]+) *\(.*/\1/p' "$scratch/declarations" | sort >"$scratch/declared"
if (($(wc -l <"$scratch/declared") != $(wc -l <"$scratch/declarations"))); then
  echo "this test cannot read a declaration with KESTERLIB_API" >&2
  exit 1
fi

nm -D --defined-only "$library" | awk '{ print $3 }' | sort >"$scratch/exported"
if ! diff "$scratch/declared" "$scratch/exported"; then
  echo "names that are declared but not exported (<), or exported but not declared (>)" >&2
  exit 1
fi
sed -nE 's/^ *([A-Za-z_0-9]+);$/\1/p' "$map" | sort >"$scratch/listed"
if ! diff "$scratch/listed" "$scratch/exported"; then
  echo "names that $map lists but the library does not export (<), or the reverse (>)" >&2
  exit 1
fi
if readelf -d "$library" | grep -E 'NEEDED.*lib(stdc\+\+|c\+\+)'; then
  echo "the library needs the C++ runtime" >&2
  exit 1
fi
if grep -qaE '(Squeeze|Group 4|JBIG)(: width| row| stripe) ' "$library"; then
  echo "the library has texts of the trace" >&2
  exit 1
fi
