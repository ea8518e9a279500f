#!/usr/bin/env bash
# Every unit test of the optimised build (stage 10) once more under valgrind
# memcheck: any memory error or leak, of any kind, fails the stage.  This adds
# what the sanitizer stage cannot see: reads of uninitialised memory in the
# optimised code.  Left out: hostile_test (minutes under valgrind; it runs
# under the sanitizers in stage 20), alloc_failure_test (it replaces
# operator new, as valgrind itself does) and stream_memory_test (hundreds of
# MB through a child process's pipe, which valgrind does not follow).  The expat comparison runs on 1,000
# documents here.
set -euo pipefail
cd "$VORNXML_ROOT"
if ! command -v valgrind >/dev/null 2>&1; then
    echo "SKIPPED: valgrind is not installed"
    exit 0
fi
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVORNXML_BUILD_TESTS=ON >/dev/null
cmake --build build -j "$VORNXML_JOBS"

logs=build/memcheck
rm -rf "$logs" && mkdir -p "$logs"
# One line per test: executable, then the folder it runs in.
{
    find tests -name '*_test.cpp' | sort | while read -r source; do
        name=$(basename "$source" .cpp)
        case $name in hostile_test | alloc_failure_test | stream_memory_test) continue ;; esac
        echo "$PWD/build/tests/$name $PWD/$(dirname "$source")"
    done
    if [ -x build/tests/robustness/expat_differential ]; then
        echo "$PWD/build/tests/robustness/expat_differential $PWD/tests/robustness"
    fi
} > "$logs/list"

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
