#!/usr/bin/env bash
# Every test of the optimised build (stage 10) once more under valgrind
# memcheck, but those labelled no-memcheck (tests/CMakeLists.txt says why):
# any memory error or leak, of any kind, fails the stage.  This adds what the
# sanitizer stage cannot see: reads of uninitialised memory in the optimised
# code.  The expat comparison runs on 1,000 documents here.
set -euo pipefail
if ! command -v valgrind >/dev/null 2>&1; then
    echo "SKIPPED: valgrind is not installed (apt-get install valgrind)"
    exit 0
fi
source "$VORNXML_ROOT/scripts/lib/build.sh"
build_in build
logs=$VORNXML_ROOT/build/memcheck
rm -rf "$logs" && mkdir -p "$logs"

# One line per test, from CTest: executable, then the folder it runs in.
ctest --test-dir "$VORNXML_ROOT/build" -N -V -LE no-memcheck |
    sed -n 's/^[0-9]*: Test command: //p; s/^[0-9]*: Working Directory: //p' | paste - - >"$logs/list"

run_one() {
    local exe=$1 dir=$2 log
    log="$VORNXML_ROOT/build/memcheck/$(basename "$exe").log"
    if (cd "$dir" && VORNXML_DIFF_DOCUMENTS=1000 valgrind -q --error-exitcode=99 --leak-check=full \
            --show-leak-kinds=all --errors-for-leak-kinds=all "$exe" > "$log" 2>&1); then
        echo "memcheck clean: $(basename "$exe")"
    else
        echo "memcheck FAILED: $(basename "$exe") (log: $log)"
        grep -E '^==[0-9]+==' "$log" | head -40
        return 1
    fi
}
export -f run_one
xargs -P "$VORNXML_JOBS" -L 1 bash -c 'run_one "$0" "$1"' < "$logs/list"
