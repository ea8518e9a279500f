#!/usr/bin/env bash
# The benchmark builds, every target accepts the generated documents and
# counts the same elements in each, and the table comes out of tiny
# documents.  Seconds, not minutes; no timing is judged.
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
cd "$VORNXML_ROOT"
# The benchmark's targets exist when its peers were found.
build_in build-bench --no-build -DCMAKE_BUILD_TYPE=Release -DVORNXML_BUILD_TESTS=OFF -DVORNXML_BUILD_EXAMPLES=OFF
if ! grep -qE '(^|[.][.][.] )vornxml_bench(:|$)' <<<"$(cmake --build build-bench --target help)"; then
    echo "SKIPPED: the benchmark needs valgrind and its peers (apt-get install valgrind libexpat1-dev libxml2-dev libpugixml-dev libtinyxml2-dev)"
    exit 0
fi
cmake --build build-bench -j "$VORNXML_JOBS" --target vornxml_bench
bash bench/run.sh --quick build-bench >build-bench/smoke.txt
grep -E '^(Elements|Callgrind)' build-bench/smoke.txt
