#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# test.sh [CTEST-ARGUMENT...]: builds everything that is tested in build/test and runs all tests, or those that
# the arguments select, as in: test.sh -R tiff. The last line of the output is ctest's count of the tests.
# On Debian it first installs missing packages with apt, as root or through sudo.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

answer_help "$@"
need build test
build_tests
say "running the tests"
run_tests "$root/build/test" "$@"
