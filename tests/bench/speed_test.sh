#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# speed_test.sh: tests the tables that scripts/speed.sh makes from the figures of three runs.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"
# shellcheck source=scripts/speed.sh
source "$root/scripts/speed.sh"

figures=$scratch/figures.tsv
figure() { printf '%s\t' "$1" "$2" "$3" "$4" "0 to 99" ms "$5" "$6"; printf '%s\n' "$7"; } # RUN PROGRAM NAME VALUE GOAL WHERE VERDICT
large='start, 20 000 x 30 000 page'
{
  figure 1 start_bench "$large" 9 "at most 10" "X, cached" met
  figure 1 start_bench "$large" 30 - "X, cold" -
  figure 1 jump_bench jump 2 "at least 3.5" memory missed
  figure 2 start_bench "$large" 100 "at most 10" "X, cached" missed
  figure 2 jump_bench jump 3 "at least 4" memory missed
  figure 3 start_bench "$large" 8 "at most 10" "X, cached" met
  figure 3 jump_bench jump 4 "at least 4" memory met
} >"$figures"

# expect WHAT LINE FILE: ends the test with an error unless the file has this line.
expect()
{
  grep -qxF -e "$2" "$3" || die "$1: there is no line '$2' in:
$(cat "$3")"
}

speed_table "$figures" 3 >"$scratch/table"
expect "numbers are sorted as numbers" \
  "| $large | 9 | 8 to 100 | ms | at most 10, missed in 1 of 3 | X, cached |" "$scratch/table"
expect "cold files are a separate figure" "| $large | 30 | 30 to 30 | ms | - | X, cold |" "$scratch/table"
expect "the strictest goal is shown" "| jump | 3 | 2 to 4 | ms | at least 4, missed in 2 of 3 | memory |" "$scratch/table"

missed_goals "$figures" >"$scratch/missed"
expect "a goal missed in two runs" \
  "jump_bench: jump: 3 (2 to 4) ms, goal: at least 4, missed in 2 of 3 runs" "$scratch/missed"
[[ $(wc -l <"$scratch/missed") == 2 ]] || die "other goals count as missed: $(cat "$scratch/missed")"

# shellcheck disable=SC2034 # speed.sh uses it
readme_figures="$large	X, cached"
printf '%s\n' before '<!-- speed -->' old '<!-- /speed -->' after >"$scratch/readme"
speed_in_readme "$figures" "$scratch/readme"
printf '%s\n' before '<!-- speed -->' '| | median | lowest to highest | where |' '|---|---|---|---|' \
  "| $large | 9 ms | 8 to 100 | X, cached |" '<!-- /speed -->' after >"$scratch/wanted"
diff "$scratch/wanted" "$scratch/readme"
