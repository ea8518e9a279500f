#!/usr/bin/env bash
# The benchmark builds, every parser accepts the generated documents with the
# same element counts, and a very short run and both scripts work.  Seconds,
# not minutes; no timing is judged.
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
cd "$VORNXML_ROOT"
# The benchmark's targets exist when its peers were found.
build_in build-bench --no-build -DCMAKE_BUILD_TYPE=Release -DVORNXML_BUILD_TESTS=OFF -DVORNXML_BUILD_EXAMPLES=OFF
targets=$(cmake --build build-bench --target help)
if ! grep -qE '(^|[.][.][.] )vornxml_bench(:|$)' <<<"$targets"; then
    echo "benchmark not configured (peers missing): smoke test skipped"
    exit 0
fi
cmake --build build-bench -j "$VORNXML_JOBS" --target vornxml_bench vornxml_bench_one
build-bench/bench/vornxml_bench --mb=0.3 --check
build-bench/bench/vornxml_bench --mb=0.2 --reps=2 --warmup=1 --benchmark_min_time=0.01 >build-bench/smoke.txt
tail -n 14 build-bench/smoke.txt
bash bench/callgrind.sh build-bench 0.05 vornxml_sax_string expat
bash bench/memory.sh build-bench 0.5
