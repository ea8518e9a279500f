#!/usr/bin/env bash
# The same tests built with AddressSanitizer (leak checking included) and
# UndefinedBehaviorSanitizer; any report fails the run.
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
build_in build-sanitize -DCMAKE_BUILD_TYPE=Debug -DVORNXML_SANITIZE=ON -DVORNXML_BUILD_BENCH=OFF \
    -DVORNXML_BUILD_EXAMPLES=OFF
ctest --test-dir "$VORNXML_ROOT/build-sanitize" --output-on-failure --no-tests=error -j "$VORNXML_JOBS"
