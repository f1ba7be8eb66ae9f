#!/usr/bin/env bash
# bench.sh [ARGUMENT...]: builds the benchmark programs optimised and runs them one after the other; the arguments
# go to each of them, as in: bench.sh --benchmark_filter=Widen, or bench.sh --rounds=61 for those that run in rounds.
# Nothing else should run on the machine meanwhile. Ends with 1 where a ratio to a peer of the same run stays below
# nine tenths of its goal; all programs run first.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

need build test bench
build_preset release release -- bench/all
private_environment

run_program()
{
  say "$(basename "$1")"
  "$@" || failed+=("$(basename "$1")")
}
failed=()

# The start is measured on a screen as large as the window, and without a window manager's share in it.
start_display 1280x960
run_program "$root/build/release/bench/start_bench" "$@"

start_display 4096x2400
start_window_manager
for program in "$root"/build/release/bench/*_bench; do
  [[ $program == */start_bench ]] || run_program "$program" "$@"
done

((${#failed[@]} == 0)) || die "a gate is closed, or the program failed: ${failed[*]}"
