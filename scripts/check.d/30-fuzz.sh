#!/usr/bin/env bash
# Builds the libFuzzer targets with clang.  First every target replays its
# corpus kept in the repository (fuzz/corpora/TARGET, minimised with
# -merge=1) and the seeds, each input once: what an earlier campaign found
# stays found.  Then each runs for a bounded time (VORNXML_FUZZ_SECONDS each,
# default 40) from there: the parse target; the equivalence target, which
# compares bulk reading of the library's sources with one character at a
# time, on inputs long enough to cross the file source's chunks; the writer's
# round trip (parse, write, parse again: the same tree); the split target,
# which feeds each input to the push parser in pieces cut at random points
# and byte by byte and compares with the whole; then the path
# compiler, briefly (VORNXML_PATH_FUZZ_SECONDS, default 20); then the
# standard reader's target and its comparison with expat
# (VORNXML_STANDARD_FUZZ_SECONDS each, default 30), from their own seeds and
# dictionary.  Any crash, leak, sanitizer report, broken invariant or
# difference from expat fails the stage.
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
cd "$VORNXML_ROOT"
seconds=${VORNXML_FUZZ_SECONDS:-40}

probe=$(mktemp -d)
trap 'rm -rf "$probe"' EXIT
printf 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }\n' \
    > "$probe/probe.cpp"
if ! command -v clang++ >/dev/null 2>&1 ||
   ! clang++ -fsanitize=fuzzer,address,undefined "$probe/probe.cpp" -o "$probe/probe" 2>/dev/null; then
    echo "SKIPPED: clang++ with libFuzzer is not available (apt-get install clang libclang-rt-14-dev)"
    exit 0
fi

build_in build-fuzz --target vornxml_parse_fuzzer --target vornxml_equivalence_fuzzer \
    --target vornxml_path_fuzzer --target vornxml_roundtrip_fuzzer --target vornxml_split_fuzzer \
    --target vornxml_standard_fuzzer --target vornxml_standard_expat_fuzzer -DCMAKE_CXX_COMPILER=clang++ -DVORNXML_BUILD_FUZZ=ON -DVORNXML_BUILD_TESTS=OFF \
    -DVORNXML_BUILD_BENCH=OFF -DVORNXML_BUILD_TOOLS=OFF -DVORNXML_BUILD_EXAMPLES=OFF

# New inputs go to a scratch folder; the committed corpora stay as they are.
# Each entry: target, longest input, length control, seed folder, seconds,
# dictionary.
standard_seconds=${VORNXML_STANDARD_FUZZ_SECONDS:-30}
for target in parse:4096:100:corpus:$seconds:vornxml equivalence:12000:0:corpus:$seconds:vornxml \
              roundtrip:4096:100:corpus:$seconds:vornxml split:4096:100:corpus:$seconds:vornxml \
              path:4096:100:path_corpus:${VORNXML_PATH_FUZZ_SECONDS:-20}:vornxml \
              standard:4096:100:standard_corpus:$standard_seconds:standard \
              standard_expat:4096:100:standard_corpus:$standard_seconds:standard; do
    IFS=: read -r name max_len len_control seeds time dict <<<"$target"
    mkdir -p "$probe/$name/corpus" "$probe/$name/artifacts" "fuzz/corpora/$name"
    fuzzer=build-fuzz/fuzz/vornxml_${name}_fuzzer
    fail() {
        grep -v '^#' "$probe/log" | tail -60
        mkdir -p build-fuzz/artifacts && cp "$probe/$name"/artifacts/* build-fuzz/artifacts/ 2>/dev/null || true
        echo "the $name fuzzer $1; its input is kept in build-fuzz/artifacts"
        exit 1
    }
    # The replay: each kept input once, nothing new.
    if ! "$fuzzer" -runs=0 -rss_limit_mb=2048 -timeout=10 -artifact_prefix="$probe/$name/artifacts/" \
            "fuzz/corpora/$name" "fuzz/$seeds" > "$probe/log" 2>&1; then
        fail "failed on a kept input"
    fi
    replayed=$(find "fuzz/corpora/$name" "fuzz/$seeds" -type f | wc -l)
    if ! "$fuzzer" -dict="fuzz/$dict.dict" -max_total_time="$time" \
            -max_len="$max_len" -len_control="$len_control" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 \
            -artifact_prefix="$probe/$name/artifacts/" "$probe/$name/corpus" "fuzz/corpora/$name" "fuzz/$seeds" \
            > "$probe/log" 2>&1; then
        fail "found a problem"
    fi
    echo "$name: $replayed kept inputs replayed, then:"
    grep -E '^(Done|stat::number_of_executed_units|stat::average_exec_per_sec)' "$probe/log" || true
    grep -E '^#[0-9]+' "$probe/log" | tail -1
done
