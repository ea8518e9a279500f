#!/usr/bin/env bash
# Builds the libFuzzer target with clang and runs it for a bounded time
# (VORNXML_FUZZ_SECONDS, default 60) from the committed seed corpus.  Any
# crash, leak, sanitizer report or broken invariant fails the stage.
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
cd "$VORNXML_ROOT"
seconds=${VORNXML_FUZZ_SECONDS:-60}

probe=$(mktemp -d)
trap 'rm -rf "$probe"' EXIT
printf 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }\n' \
    > "$probe/probe.cpp"
if ! command -v clang++ >/dev/null 2>&1 ||
   ! clang++ -fsanitize=fuzzer,address,undefined "$probe/probe.cpp" -o "$probe/probe" 2>/dev/null; then
    echo "SKIPPED: clang++ with libFuzzer (packages clang, libclang-rt-14-dev) is not available"
    exit 0
fi

build_in build-fuzz --target vornxml_parse_fuzzer --target vornxml_path_fuzzer -DCMAKE_CXX_COMPILER=clang++ \
    -DVORNXML_BUILD_FUZZ=ON -DVORNXML_BUILD_TESTS=OFF -DVORNXML_BUILD_BENCH=OFF -DVORNXML_BUILD_TOOLS=OFF \
    -DVORNXML_BUILD_EXAMPLES=OFF

# New inputs go to a scratch folder; the committed seeds stay as they are.
mkdir -p "$probe/corpus" "$probe/artifacts"
if ! build-fuzz/fuzz/vornxml_parse_fuzzer -dict=fuzz/vornxml.dict -max_total_time="$seconds" \
        -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 -artifact_prefix="$probe/artifacts/" \
        "$probe/corpus" fuzz/corpus > "$probe/log" 2>&1; then
    grep -v '^#' "$probe/log" | tail -60
    mkdir -p build-fuzz/artifacts && cp "$probe"/artifacts/* build-fuzz/artifacts/ 2>/dev/null || true
    echo "the fuzzer found a problem; its input is kept in build-fuzz/artifacts"
    exit 1
fi
grep -E '^(Done|stat::number_of_executed_units|stat::average_exec_per_sec)' "$probe/log" || true
grep -E '^#[0-9]+' "$probe/log" | tail -1

# The path compiler, briefly: its input space is small.
mkdir -p "$probe/path_corpus"
if ! build-fuzz/fuzz/vornxml_path_fuzzer -max_total_time="${VORNXML_PATH_FUZZ_SECONDS:-20}" -timeout=10 \
        -artifact_prefix="$probe/artifacts/" "$probe/path_corpus" fuzz/path_corpus > "$probe/path_log" 2>&1; then
    grep -v '^#' "$probe/path_log" | tail -60
    mkdir -p build-fuzz/artifacts && cp "$probe"/artifacts/* build-fuzz/artifacts/ 2>/dev/null || true
    echo "the path fuzzer found a problem; its input is kept in build-fuzz/artifacts"
    exit 1
fi
grep -E '^#[0-9]+' "$probe/path_log" | tail -1
