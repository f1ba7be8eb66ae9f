#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# bench.sh [peers] [--rounds=N]: builds the benchmark programs with optimisation, runs all of them
# LUMENTA_BENCH_RUNS (3) times, and writes the figures to docs/SPEED.md and README.md. No other work should
# run on the machine meanwhile. If a program failed, or if a goal was missed by more than a tenth in any run,
# the script says which and ends with status 1. On Debian it first installs missing packages with apt, as root
# or through sudo.
#   peers     also measures the large page in feh and Geeqie, if they are installed
#   --rounds  the number of rounds of each program
# The two files are not changed if a program failed, if --rounds or LUMENTA_BENCH_SLOWDOWN is set, or if the
# number of runs is not 3. The figures are then written to build/release/SPEED.md only. So the figures in the
# two files are complete and always measured with the same method.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
# shellcheck source=scripts/speed.sh
source "$root/scripts/speed.sh"

answer_help "$@"
peers=()
if [[ ${1:-} == peers ]]; then
  peers=(--peers)
  shift
fi
for argument; do
  [[ $argument =~ ^--rounds=[1-9][0-9]*$ ]] || wrong_usage "unknown argument $argument"
done
runs=${LUMENTA_BENCH_RUNS:-3}
[[ $runs =~ ^[1-9][0-9]*$ ]] || die "LUMENTA_BENCH_RUNS must be a number of at least 1"

need build test bench
build_preset release release -- bench/all lumenta
programs=$root/build/release/bench
table=$root/docs/SPEED.md
(($# == 0 && runs == 3)) && [[ -z ${LUMENTA_BENCH_SLOWDOWN:-} ]] || table=$root/build/release/SPEED.md
avx2=without
! grep -qw avx2 /proc/cpuinfo || avx2=with
private_environment

failed=()
load=$(cut -d ' ' -f 1 /proc/loadavg)

# run_program NAME [ARGUMENT...]: runs a program and appends its figures to figures.tsv. Each line begins with
# the number of the run and NAME.
run_program()
{
  local name=$1 status=0
  shift
  say "$name $*, run $run of $runs"
  : >"$scratch/figures"
  LUMENTA_BENCH_FIGURES=$scratch/figures "$programs/$name" "$@" || status=$?
  sed -n "s/^figure/$run\t$name/p" "$scratch/figures" >>"$scratch/figures.tsv"
  # A program that missed goals ends with 1 after it has written "finished". The figures say which goals.
  if ((status > 1)) || ! grep -qxF finished "$scratch/figures" ||
    { ((status == 1)) && ! grep -q $'\tmissed$' "$scratch/figures"; }; then
    failed+=("$name $*, run $run, status $status")
  fi
}

: >"$scratch/figures.tsv"
for ((run = 1; run <= runs; ++run)); do
  # start_bench needs a screen as large as its window. A window manager would add to its times.
  start_display 1280x960
  run_program start_bench "${peers[@]}" "$@"
  start_window_manager
  run_program overview_bench "$@"

  start_display 4096x2400
  start_window_manager
  for program in "$programs"/*_bench; do
    case ${program##*/} in
    start_bench | overview_bench) ;;
    codec_bench | jbig_bench)
      run_program "${program##*/}" "$@"
      [[ $avx2 == without ]] || run_program "${program##*/}" --plain "$@"
      ;;
    *) run_program "${program##*/}" "$@" ;;
    esac
  done
  for ((i = ${#at_exit_kill[@]} - 1; i >= 0; i--)); do
    end_process "${at_exit_kill[i]}"
  done
  at_exit_kill=()
done

compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[^=]*=//p' "$root/build/release/CMakeCache.txt")
((${#failed[@]} == 0)) || table=$root/build/release/SPEED.md
mkdir -p "${table%/*}"
{
  echo "# Speed"
  echo
  echo "Written by \`scripts/bench.sh\`; do not edit."
  echo
  echo "| | |"
  echo "|---|---|"
  echo "| commit | $(git -C "$root" describe --always --dirty 2>/dev/null || echo unknown) |"
  echo "| day | $(date -u +%F) |"
  echo "| compiler | $("$compiler" --version | head -1), preset release |"
  echo "| processor |$(sed -n 's/^model name[^:]*://p' /proc/cpuinfo | head -1), $(nproc) cores, $avx2 AVX2 |"
  echo "| kernel | $(uname -sr) |"
  echo "| load before and after | $load, $(cut -d ' ' -f 1 /proc/loadavg) |"
  echo
  speed_table "$scratch/figures.tsv" "$runs"
} >"$scratch/SPEED.md"
cp "$scratch/SPEED.md" "$table"
say "the figures are in ${table#"$root"/}"
if [[ $table == */docs/* ]]; then
  speed_in_readme "$scratch/figures.tsv" "$root/README.md"
fi

missed=$(missed_goals "$scratch/figures.tsv")
status=0
if [[ -n $missed ]]; then
  printf '\nGoals missed by more than a tenth:\n%s\n' "$missed"
  status=1
fi
if ((${#failed[@]})); then
  printf '\nPrograms that failed:\n'
  printf '%s\n' "${failed[@]}"
  status=1
fi
exit "$status"
