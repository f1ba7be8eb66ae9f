#!/usr/bin/env bash
# check.sh [STEP...]: the checks beside the tests, all or those named, the cheap ones first; ends at the first
# that fails.
#   house     rules that need no compiler: includes, blanks, sizes; the scripts themselves
#   format    clang-format would change nothing
#   tidy      clang-tidy has nothing to say
#   sanitize  all tests under the address, leak and undefined-behaviour sanitizers
#   fuzz      every fuzz target: its corpus, then LUMENTA_FUZZ_SECONDS (20) of new inputs
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

all_steps=(house format tidy sanitize fuzz)

# sources PATTERN: the C and C++ files of the tree whose path matches, each closed by a zero byte.
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

# Runs behind a build: the sources include what Qt's tools generate. Directories tighten or loosen the checks by a
# .clang-tidy of their own.
check_tidy()
{
  need build test check
  build_tests
  local status=0
  sed -n 's/^ *"file": "\(.*\)",*$/\1/p' "$root/build/test/compile_commands.json" | sort -u >"$scratch/built"
  sources '^(app|lib|platform|tools|tests|fuzz)/.*\.(c|cc|cpp)$' | tr '\0' '\n' | sed "s,^,$root/," |
    sort >"$scratch/ours"
  comm -12 "$scratch/ours" "$scratch/built" >"$scratch/both"
  [[ -s $scratch/both ]] || die "no source of ours is in the compile database"
  comm -23 "$scratch/ours" "$scratch/built" | sed "s,^$root/,not built and so not checked: ,"
  say "clang-tidy, $(wc -l <"$scratch/both") files"
  tr '\n' '\0' <"$scratch/both" |
    xargs -0 -n 1 -P "$(parallel_jobs)" clang-tidy-14 --quiet --extra-arg=-Wno-unknown-warning-option \
      -p "$root/build/test" 2>"$scratch/tidy.err" || status=$?
  # Beside true errors this holds one line a file with the count of warnings in other people's headers.
  grep -vE '^[0-9]+ warnings?( and [0-9]+ errors?)? (generated|treated as errors?)' "$scratch/tidy.err" >&2 || true
  return "$status"
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
  build_preset fuzz fuzz -- fuzz/all
  private_environment
  export QT_QPA_PLATFORM=offscreen
  local target name corpus new findings=$root/build/fuzz/findings seconds=${LUMENTA_FUZZ_SECONDS:-20} targets=0
  mkdir -p "$findings"
  for target in "$root"/build/fuzz/fuzz/*_fuzz; do
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
    # New inputs go into the first directory.
    fuzz_run "$target" "-max_total_time=$seconds" -max_len=4096 "${options[@]}" -print_final_stats=1 "$new" "$corpus"
    grep -E '^stat::(number_of_executed_units|average_exec_per_sec|new_units_added|peak_rss_mb)' "$scratch/fuzz.log"
    targets=$((targets + 1))
  done
  ((targets)) || die "no fuzz target was built"
}

# One run of a fuzz target; its talk is of interest only when it fails.
fuzz_run()
{
  "$@" >"$scratch/fuzz.log" 2>&1 || {
    local status=$?
    tail -n 100 "$scratch/fuzz.log" >&2
    echo "The input that failed is in build/fuzz/findings." >&2
    return "$status"
  }
}

steps=("$@")
((${#steps[@]})) || steps=("${all_steps[@]}")
for step in "${steps[@]}"; do
  if [[ " ${all_steps[*]} " != *" $step "* ]]; then
    echo "check.sh: no step '$step'; the steps are: ${all_steps[*]}" >&2
    exit 2
  fi
done
for step in "${steps[@]}"; do
  if ((${#steps[@]} > 1)); then
    "$0" "$step" # each with a display and an environment of its own
  else
    say "check: $step"
    "check_$step"
    echo "check: $step passed"
  fi
done
