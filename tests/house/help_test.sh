#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Tests that each script prints its head comment with --help, without the line with the licence, and ends with status 2 if it does not know an
# argument.
set -euo pipefail
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../scripts" && pwd -P)
failures=0

# expect SCRIPT STATUS ARGUMENT: the script ends with that status and prints the first line of its head
# comment.
expect()
{
  local status=0 output
  output=$("$1" "$3" 2>&1 </dev/null) || status=$?
  if [[ $status != "$2" || $output != *"${1##*/} "*": "* || $output == *SPDX* ]]; then
    printf 'FAILED: %s %s: status %s\n%s\n' "$1" "$3" "$status" "$output"
    failures=$((failures + 1))
  fi
}

tested=0
for script in "$scripts"/*.sh; do
  [[ -x $script ]] || continue # some are only sourced
  expect "$script" 0 --help
  # The arguments of test.sh are those of ctest.
  [[ $script == */test.sh ]] || expect "$script" 2 --frob
  tested=$((tested + 1))
done
((tested > 0 && failures == 0))
