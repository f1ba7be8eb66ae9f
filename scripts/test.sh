#!/usr/bin/env bash
# test.sh [CTEST-ARGUMENT...]: builds everything that is tested and runs all tests, or those that the arguments
# choose, as in: test.sh -R tiff. The last line is ctest's own count.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

need build test
build_tests
say "running the tests"
run_tests "$root/build/test" "$@"
