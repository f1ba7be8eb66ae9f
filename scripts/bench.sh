#!/usr/bin/env bash
# bench.sh [ARGUMENT...]: builds the benchmark programs optimised and runs them one after the other; the arguments
# go to each of them, as in: bench.sh --benchmark_filter=Scroll. Nothing else should run on the machine meanwhile.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

need build test bench
build_preset release release -- bench/all
private_environment
start_display 4096x2400
start_window_manager

programs=0
for program in "$root"/build/release/bench/*_bench; do
  [[ -x $program && -f $program ]] || continue
  say "$(basename "$program")"
  "$program" "$@"
  programs=$((programs + 1))
done
((programs)) || die "no benchmark program was built"
