#!/usr/bin/env bash
# The tests labelled "threads" (parsers on several threads at once), built
# with ThreadSanitizer: any data race fails the stage.  Only those tests and
# the library are built.
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
dir=$VORNXML_ROOT/build-threads
build_in build-threads --target vornxml -DVORNXML_SANITIZE=thread -DVORNXML_BUILD_BENCH=OFF \
    -DVORNXML_BUILD_EXAMPLES=OFF -DVORNXML_BUILD_TOOLS=OFF
# Each test's name is the name of its executable's target.
mapfile -t tests < <(ctest --test-dir "$dir" -N -L threads | sed -n 's/^ *Test *#[0-9]*: //p')
[ ${#tests[@]} -gt 0 ] || { echo "no test is labelled threads"; exit 1; }
cmake --build "$dir" -j "$VORNXML_JOBS" "${tests[@]/#/--target=}"
ctest --test-dir "$dir" --output-on-failure --no-tests=error -j "$VORNXML_JOBS" -L threads
