#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# consumer_test.sh BUILD SOURCE LIBDIR VERSION CMAKE GENERATOR CC CXX: installs kesterlib from the directory
# BUILD, moves the installed tree, and checks that programs in C99 and C++ build and run with it in five ways:
# by hand with the static and with the shared library, with pkg-config, with find_package, and with
# add_subdirectory of SOURCE. Compiles the example of the manual page too, which must write the same image as
# the example program. LIBDIR is the directory of libraries below the prefix, VERSION that of the library.
set -euo pipefail
build=$1 source=$2 libdir=$3 version=$4 cmake=$5 generator=$6 cc=$7 cxx=$8
here=$(cd "$(dirname "$0")/consumer" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

for component in runtime development; do
  "$cmake" --install "$build" --prefix "$scratch/installed" --component "$component" >/dev/null
done
mv installed moved
lib=$scratch/moved/$libdir
include=$scratch/moved/include

# by_hand WAY OPTIONS...: compiles both programs with these options, and runs them.
by_hand()
{
  local way=$1
  shift
  echo "== $way"
  "$cc" -std=c99 -Wall -Wextra -Wpedantic -Werror "$here/consumer.c" "$@" -o "c_$way"
  "$cxx" -std=c++11 -Wall -Wextra -Wpedantic -Werror "$here/consumer.cpp" "$@" -o "cpp_$way"
  run "c_$way" "cpp_$way"
}

# run C CPP: runs both programs. The one in C must not need the C++ runtime.
run()
{
  LD_LIBRARY_PATH=$lib "./$1"
  LD_LIBRARY_PATH=$lib "./$2"
  if readelf -d "$1" | grep -E 'NEEDED.*lib(stdc\+\+|c\+\+)'; then
    echo "$1 needs the C++ runtime" >&2
    exit 1
  fi
}

by_hand static "-I$include" "$lib/libkesterlib.a"
echo "== example of the manual page"
page=$(find moved -name kesterlib.3)
sed -n '/^\.Bd/,/^\.Ed/{ /^\.Ed/q; /^\.Bd/d; s/\\e/\\/g; p }' "$page" >example.c
"$cc" -std=c99 -Wall -Wextra -Wpedantic -Werror example.c "-I$include" "$lib/libkesterlib.a" -o example
"$cc" "$source/example/decode_page.c" "-I$include" "$lib/libkesterlib.a" -o decode_page
sample=$source/../../samples/sample-group4.fax
./example "$sample" >example.pbm
./decode_page "$sample" | cmp - example.pbm
head -c 9000 "$sample" >cut.fax
if ./example cut.fax >cut.pbm 2>cut.log; then
  echo "the example does not notice that a page is cut off" >&2
  exit 1
fi

by_hand shared "-I$include" "-L$lib" -lkesterlib
readelf -d c_shared | grep -q 'NEEDED.*libkesterlib\.so\.1]'

export PKG_CONFIG_PATH=$lib/pkgconfig
[[ $(pkg-config --modversion kesterlib) == "$version" ]]
# shellcheck disable=SC2046 # several options
by_hand pkg_config $(pkg-config --cflags --libs kesterlib)
# shellcheck disable=SC2046
by_hand pkg_config_static $(pkg-config --static --cflags --libs kesterlib) -static

export CC=$cc CXX=$cxx

fail()
{
  cat log
  exit 1
}

"$cmake" -G "$generator" -S "$source" -B usr -DCMAKE_INSTALL_PREFIX=/usr >log 2>&1 || fail
flags=$(PKG_CONFIG_PATH=usr pkg-config --cflags --libs kesterlib)
if [[ $flags == *-[IL]* ]]; then
  echo "pkg-config names directories of the system: $flags" >&2
  exit 1
fi

# project WAY OPTIONS...: builds the project with these options, and runs its programs.
project()
{
  local way=$1
  shift
  echo "== $way"
  "$cmake" -G "$generator" -S "$here" -B "$way" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_FLAGS_DEBUG=-O0 \
    -DCMAKE_CXX_FLAGS_DEBUG=-O0 "$@" >log 2>&1 || fail
  "$cmake" --build "$way" >>log 2>&1 || fail
  run "$way/consumer_c" "$way/cpp/consumer_cpp"
  run "$way/consumer_c_static" "$way/cpp/consumer_cpp"
}
project find_package "-DCMAKE_PREFIX_PATH=$scratch/moved" "-DKESTERLIB_WANTED=$version"
project both_languages "-DCMAKE_PREFIX_PATH=$scratch/moved" -DMORE_LANGUAGES=CXX \
  -DCMAKE_EXE_LINKER_FLAGS=-Wl,--no-as-needed
project add_subdirectory "-DKESTERLIB_SOURCE=$source"
if grep -vE '^(#|//|$|_?CMAKE_|KESTERLIB_|kesterlib_|consumer_)' add_subdirectory/CMakeCache.txt; then
  echo "add_subdirectory has put these general names into the cache of the project" >&2
  exit 1
fi
