#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# check.sh [STEP...]: runs the named steps, or without arguments the first seven steps below, in this order.
# Stops at the first step that fails. On Debian each step first installs missing packages with apt, as root or
# through sudo.
#   house     rules that need no compiler: includes, blanks, sizes; shellcheck of the scripts
#   format    clang-format would change nothing
#   package   the Debian packages, built with link-time optimisation: the program opens a page file of each
#             kind; lintian and the checkers of the desktop's files report nothing
#   tidy      clang-tidy reports nothing
#   busy      all tests that can depend on the load, LUMENTA_BUSY_ROUNDS (3) times, while two busy loops per
#             core run; LUMENTA_BUSY_TESTS, a regular expression, selects tests
#   sanitize  all tests under the address, leak and undefined-behaviour sanitizers
#   fuzz      every fuzz target on the files of its corpus, then for LUMENTA_FUZZ_SECONDS (20) on new inputs
# These steps run only if they are named:
#   bare      installs the packages in a bare Debian 12 in build/bare, starts the viewer there, uses the tools
#             and the library, and removes the packages. Saves a picture of the viewer in build/bare.png. Needs
#             root, and the packages in build/package/packages from the step `package`
#   matrix    all tests in builds with other compilers and flags: link-time optimisation, the flags of Debian
#             packages, the newest clang (with its sanitizers and fuzz targets) and gcc, the assertions of the
#             standard library; the codec library on aarch64 and s390x. It takes hours. To run one of these
#             builds, name the step matrix_NAME; NAME is lto, debian, clang, gcc, assertions, aarch64 or s390x.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

answer_help "$@"
all_steps=(house format package tidy busy sanitize fuzz)
matrix_parts=(lto debian clang gcc assertions aarch64 s390x)

# sources PATTERN: prints the C and C++ files of the tree whose path matches, each followed by a zero byte.
sources()
{
  tree_files "$root" | { grep -E '\.(h|hpp|c|cc|cpp)$' || true; } | { grep -E "$1" || true; } | tr '\n' '\0'
}

check_house()
{
  need check
  "$root/scripts/house.sh"
  local scripts
  mapfile -t scripts < <(tree_files "$root" | grep -E '\.sh$|^\.ci/')
  (cd "$root" && shellcheck --external-sources --source-path=SCRIPTDIR --severity=info "${scripts[@]}")
}

check_format()
{
  need check
  (cd "$root" && sources . | xargs -0 -r clang-format-14 --dry-run -Werror)
}

# Needs a build, because sources include files that Qt's tools generate. A folder can add or remove checks
# with a .clang-tidy file of its own.
check_tidy()
{
  need build test check
  build_tests
  local status=0
  sed -n 's/^ *"file": "\(.*\)",*$/\1/p' "$root/build/test/compile_commands.json" | sort -u >"$scratch/built"
  sources '^(app|lib|pagetools|platform|tools|tests|fuzz)/.*\.(c|cc|cpp)$' | tr '\0' '\n' | sed "s,^,$root/," |
    sort >"$scratch/ours"
  comm -12 "$scratch/ours" "$scratch/built" >"$scratch/both"
  [[ -s $scratch/both ]] || die "no source of ours is in the compile database"
  comm -23 "$scratch/ours" "$scratch/built" | sed "s,^$root/,not checked because it is not built: ,"
  say "clang-tidy, $(wc -l <"$scratch/both") files"
  tr '\n' '\0' <"$scratch/both" |
    xargs -0 -n 1 -P "$(parallel_jobs)" clang-tidy-14 --quiet --extra-arg=-Wno-unknown-warning-option \
      -p "$root/build/test" 2>"$scratch/tidy.err" || status=$?
  # In addition to true errors, this file has one line per source with the number of warnings in foreign
  # headers.
  grep -vE '^[0-9]+ warnings?( and [0-9]+ errors?)? (generated|treated as errors?)' "$scratch/tidy.err" >&2 || true
  return "$status"
}

# --- The Debian packages ------------------------------------------------------------------------------------

check_package()
{
  need build test package
  umask 022
  local build=$root/build/package
  build_preset package package -DLUMENTA_TESTS=ON -- packaged makepage grab
  run_tests "$build" -R '^end_to_end_kinds$'
  say "making the packages"
  rm -rf "$build/packages"
  (cd "$build" && cpack) >"$scratch/cpack.log" || { cat "$scratch/cpack.log" >&2; return 1; }
  package_versions
  desktop_files
  page_types
  say "lintian"
  lintian --no-cfg --allow-root --tag-display-limit 0 "$build"/packages/*.deb | tee "$scratch/lintian"
  [[ ! -s $scratch/lintian ]] || die "lintian has found faults"
}

# The version of the packages must be that of the changelogs and of the description for software catalogues.
package_versions()
{
  local package version file
  for package in lumenta kesterlib-tools libkesterlib1 libkesterlib-dev; do
    file=$(compgen -G "$root/build/package/packages/${package}_*.deb") || die "there is no package $package"
    version=$(dpkg-deb -f "$file" Version)
  done
  cd "$root"
  [[ $(dpkg-parsechangelog -l packaging/debian/changelog -S Version) == "$version" ]] ||
    die "packaging/debian/changelog is not about version $version"
  [[ $(grep -m 1 -oE '^## \[[^]]+' CHANGELOG.md) == "## [$version" ]] ||
    die "CHANGELOG.md does not begin with version $version"
  [[ $(xmllint --xpath 'string(//release[1]/@version)' packaging/com.vestrel.Lumenta.metainfo.xml) == "$version" ]] ||
    die "packaging/com.vestrel.Lumenta.metainfo.xml does not begin with version $version"
}

desktop_files()
{
  say "checking the files for the desktop, the manual pages and the completion"
  local file size
  cd "$root"
  desktop-file-validate packaging/*.desktop
  appstreamcli validate --pedantic --no-net packaging/*.metainfo.xml
  xmllint --noout packaging/*.xml packaging/*.svg
  for size in 16 32 48; do
    [[ $(identify -format '%wx%h' "build/package/packaging/icon$size.png") == "${size}x$size" ]] ||
      die "the icon of $size pixels has another size"
  done
  tree_files . | { grep -E '\.[1-9]$' || true; } | while read -r file; do
    mandoc -Tlint -W warning "$file"
  done
  tree_files . | { grep -E '^packaging/completion/' || true; } | while read -r file; do
    bash -n "$file"
  done
  cmake --build build/package --target kesterlib_manual
}

# The desktop must find out the type of a page file by its content, also if its name says nothing. A file of
# another kind with the name of a page file counts as a page file: the program checks the content.
page_types()
{
  say "checking the types of files"
  local pages=$scratch/pages sample
  mkdir -p "$scratch/data/mime/packages" "$pages"
  cp /usr/share/mime/packages/freedesktop.org.xml "$root"/packaging/*.mime.xml "$scratch/data/mime/packages"
  update-mime-database "$scratch/data/mime"
  for sample in "$root"/samples/*.fax; do
    cp "$sample" "$pages/$(basename "$sample" .fax)"
  done
  head -c 4096 "$root/samples/sample-plain.fax" | sed 's/$/\r/' >"$pages/lines-end-in-cr-lf"
  cp "$root/samples/sample.tif" "$pages/tiff.fax"
  for sample in "$pages"/*; do
    type_is "$sample" image/x-lumenta-page
  done
  cp "$root/samples/sample.tif" "$scratch/tiff"
  type_is "$scratch/tiff" image/tiff
}

# type_is FILE TYPE
type_is()
{
  local type
  type=$(XDG_DATA_DIRS=$scratch/data XDG_DATA_HOME=$scratch/nothing gio info -a standard::content-type "$1" |
    sed -n 's/^ *standard::content-type: //p')
  [[ $type == "$2" ]] || die "the type of ${1##*/} is $type, not $2"
}

check_bare()
{
  need package bare
  ((EUID == 0)) || die "the step bare needs root"
  "$root/scripts/bare.sh"
}

# Keeps a core busy until the script has ended, even if the script was killed.
busy_loop()
{
  local n
  while kill -0 $$ 2>/dev/null; do
    for ((n = 0; n < 50000; ++n)); do :; done
  done
}

check_busy()
{
  need build test
  build_tests
  local rounds=${LUMENTA_BUSY_ROUNDS:-3} round i
  for ((i = 2 * $(nproc); i > 0; --i)); do
    busy_loop &
    at_exit_kill+=("$!")
  done
  export LUMENTA_TEST_TIMEOUT=1200
  for ((round = 1; round <= rounds; ++round)); do
    say "running the tests on a busy machine, round $round of $rounds"
    # The excluded tests take long, and the load cannot change their results: they only compute.
    run_tests "$root/build/test" -E '^(kesterlib_consumer|pagetools.*|decode_page_.*|house.*|help_test)$' \
      ${LUMENTA_BUSY_TESTS:+-R "$LUMENTA_BUSY_TESTS"}
  done
}

check_sanitize()
{
  need build test
  build_preset sanitize sanitize
  say "running the tests under the sanitizers"
  export ASAN_OPTIONS=detect_leaks=1
  export UBSAN_OPTIONS=print_stacktrace=1
  if [[ -f $root/tests/support/lsan.supp ]]; then
    export LSAN_OPTIONS=suppressions=$root/tests/support/lsan.supp:print_suppressions=0
  fi
  run_tests "$root/build/sanitize"
}

check_fuzz()
{
  need build check
  fuzz_targets fuzz
}

# fuzz_targets DIRECTORY [-Dx=y...]: builds the fuzz targets in build/DIRECTORY and runs them.
fuzz_targets()
{
  build_preset fuzz "$@" -- fuzz/all
  private_environment
  export QT_QPA_PLATFORM=offscreen
  local build=$root/build/$1 findings=$root/build/fuzz/findings target name corpus new
  local seconds=${LUMENTA_FUZZ_SECONDS:-20} targets=0
  mkdir -p "$findings"
  for target in "$build"/fuzz/*_fuzz; do
    [[ -x $target ]] || continue
    name=$(basename "$target" _fuzz)
    corpus=$root/fuzz/corpus/$name
    new=$scratch/new/$name
    [[ -d $corpus ]] || die "fuzz target $name has no corpus in fuzz/corpus/$name"
    mkdir -p "$new"
    local options=(-timeout=5 -rss_limit_mb=512 "-artifact_prefix=$findings/$name-")
    [[ ! -f $root/fuzz/$name.dict ]] || options+=("-dict=$root/fuzz/$name.dict")
    say "fuzzing $name: its corpus, then $seconds seconds"
    fuzz_run "$target" -runs=0 "${options[@]}" "$corpus"
    # libFuzzer writes new inputs to the first directory.
    fuzz_run "$target" "-max_total_time=$seconds" -max_len=4096 "${options[@]}" -print_final_stats=1 "$new" "$corpus"
    grep -E '^stat::(number_of_executed_units|average_exec_per_sec|new_units_added|peak_rss_mb)' "$scratch/fuzz.log"
    targets=$((targets + 1))
  done
  ((targets)) || die "no fuzz target was built"
}

# fuzz_run COMMAND...: runs a fuzz target once. Prints its output only if it fails.
fuzz_run()
{
  "$@" >"$scratch/fuzz.log" 2>&1 || {
    local status=$?
    tail -n 100 "$scratch/fuzz.log" >&2
    echo "The input that failed is in build/fuzz/findings." >&2
    return "$status"
  }
}

# --- The matrix ---------------------------------------------------------------------------------------------

check_matrix()
{
  local part
  for part in "${matrix_parts[@]}"; do
    "$0" "matrix_$part"
  done
}

# matrix_build NAME [-Dx=y...]: runs all tests in a release build with other settings, in build/NAME.
matrix_build()
{
  need build test matrix
  build_preset release "$1" -DLUMENTA_BENCH=OFF "${@:2}"
  run_tests "$root/build/$1"
}

check_matrix_lto() { matrix_build lto -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON; }
check_matrix_assertions() { matrix_build assertions -DCMAKE_CXX_FLAGS=-D_GLIBCXX_ASSERTIONS; }

# Debian's build of a package sets no build type and does not know LUMENTA_WERROR.
check_matrix_debian()
{
  need build test matrix
  local flags
  export DEB_BUILD_MAINT_OPTIONS="hardening=+all optimize=+lto"
  flags=$(cd "$root" && dpkg-buildflags --export=sh)
  eval "$flags"
  export CFLAGS="$CFLAGS $CPPFLAGS" CXXFLAGS="$CXXFLAGS $CPPFLAGS" SOURCE_DATE_EPOCH=994330977
  matrix_build debian -DCMAKE_BUILD_TYPE=None -DLUMENTA_WERROR=OFF
}

check_matrix_clang()
{
  need build test matrix
  local compiler=("-DCMAKE_C_COMPILER=clang-$newest_clang" "-DCMAKE_CXX_COMPILER=clang++-$newest_clang")
  matrix_build clang "${compiler[@]}"
  fuzz_targets clang-fuzz "${compiler[@]}"
}

# Uses the newest gcc that is installed, without optimisation. The other steps use the default gcc with
# optimisation.
check_matrix_gcc()
{
  need build test
  local version
  version=$(compgen -c g++- | sed -n 's/^g++-\([0-9]*\)$/\1/p' | sort -n | tail -n 1)
  build_preset debug gcc "-DCMAKE_C_COMPILER=gcc-$version" "-DCMAKE_CXX_COMPILER=g++-$version"
  run_tests "$root/build/gcc"
}

check_matrix_aarch64() { matrix_cross aarch64 arm64; }
check_matrix_s390x() { matrix_cross s390x s390x; }

# matrix_cross PROCESSOR DEBIAN-ARCHITECTURE: builds the codec library for another processor and runs its
# tests in an emulator. The libraries that the tests link are unpacked from packages of that architecture into
# build/. They are not installed in the system.
matrix_cross()
{
  need build test matrix
  local processor=$1 architecture=$2 foreign=$scratch/$2 package
  local system=$root/build/$processor-system options
  if [[ ! -e $system/complete ]]; then
    say "fetching libraries for $architecture"
    mkdir -p "$foreign/lists/partial" "$foreign/archives/partial" "$system"
    : >"$foreign/status"
    options=(-q -y -o "APT::Architecture=$architecture" -o "APT::Architectures::=$architecture"
      -o "Dir::State::Lists=$foreign/lists" -o "Dir::State::status=$foreign/status"
      -o "Dir::Cache::archives=$foreign/archives" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
      -o "APT::Sandbox::User=$(id -un)" -o Acquire::Retries=3)
    apt-get "${options[@]}" -o APT::Update::Error-Mode=any update
    apt-get "${options[@]}" --no-install-recommends --download-only install libtiff-dev libjbig-dev libstdc++6
    for package in "$foreign"/archives/*.deb; do
      dpkg-deb -x "$package" "$system"
    done
    touch "$system/complete"
  fi
  local triplet=$processor-linux-gnu
  local libraries=$system/usr/lib/$triplet
  build_preset release "$processor" -DLUMENTA_BENCH=OFF -DLUMENTA_APP=OFF \
    -DLUMENTA_GTEST_SOURCE=/usr/src/googletest -DCMAKE_SYSTEM_NAME=Linux "-DCMAKE_SYSTEM_PROCESSOR=$processor" \
    "-DCMAKE_C_COMPILER=$triplet-gcc" "-DCMAKE_CXX_COMPILER=$triplet-g++" \
    "-DCMAKE_CROSSCOMPILING_EMULATOR=qemu-$processor-static;-L;$system" \
    "-DTIFF_INCLUDE_DIR=$system/usr/include/$triplet" "-DTIFF_LIBRARY=$libraries/libtiff.so" \
    "-DLUMENTA_JBIGKIT=$libraries/libjbig.a" "-DCMAKE_CXX_FLAGS=-idirafter $system/usr/include" \
    "-DCMAKE_EXE_LINKER_FLAGS=-Wl,-rpath-link,$libraries:$system/lib/$triplet"
  # The excluded test starts its own program again. The emulator passes this request to the system, which
  # cannot run a program for another processor.
  run_tests "$root/build/$processor" -E '^CallbackDeathTest\.FatalReportsEndTheProcess$'
}

steps=("$@")
((${#steps[@]})) || steps=("${all_steps[@]}")
named_steps=(bare matrix "${matrix_parts[@]/#/matrix_}")
for step in "${steps[@]}"; do
  if [[ " ${all_steps[*]} ${named_steps[*]} " != *" $step "* ]]; then
    wrong_usage "unknown step '$step'; the steps are: ${all_steps[*]} ${named_steps[*]}"
  fi
done
for step in "${steps[@]}"; do
  if ((${#steps[@]} > 1)); then
    "$0" "$step" # each step has a display and an environment of its own
  else
    say "check: $step"
    "check_$step"
    echo "check: $step passed"
  fi
done
