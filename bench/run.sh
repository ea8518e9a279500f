#!/usr/bin/env bash
# The benchmark table: this library against its peers, every figure from
# processes of its own, medians over several processes.  See bench/README.md.
#
#   bash bench/run.sh [--quick] [BUILD_DIR]
#
# BUILD_DIR (default build-bench) must be configured with the benchmark on;
# its vornxml_bench is brought up to date first.  --quick: tiny documents and
# one process per figure, to see that it all works (no timing is judged).
# Settings, from the environment: MB (document size, default 8), PROCS
# (processes per figure, default 3), WARMUP (untimed parses before the timed
# ones in a steady process, default 2), REPS (timed parses, default 5).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
quick=no
if [ "${1:-}" = --quick ]; then
    quick=yes
    shift
fi
build=${1:-$root/build-bench}
if [ $quick = yes ]; then
    mb=0.05 procs=1 warmup=1 reps=1
else
    mb=${MB:-8} procs=${PROCS:-3} warmup=${WARMUP:-2} reps=${REPS:-5}
fi

cmake --build "$build" -j 2 --target vornxml_bench >/dev/null
bench=$build/bench/vornxml_bench
source_dir=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build/CMakeCache.txt")
build_type=$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$build/CMakeCache.txt")
revision=$(git -C "$source_dir" describe --always --dirty 2>/dev/null || echo unknown)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$bench" generate "$work" "$mb"
shapes=(records attributes text)
start=$SECONDS

echo "# vornxml benchmark"
echo
# glibc's allocator as a host gets it, and told to keep the memory a program
# frees (no trimming, no mmap for large blocks, 64 MiB more at each growth):
# the same setting for every target, through glibc's tunables, so that the
# cost of the kernel's page faults can be told from the parse's own.
kept=glibc.malloc.mmap_max=0:glibc.malloc.trim_threshold=1073741824:glibc.malloc.top_pad=67108864

echo "$(date -u '+%Y-%m-%d %H:%M') UTC; library: $source_dir at $revision, $build_type build; $(nproc) cores;" \
     "load average at the start: $(cut -d' ' -f1-3 /proc/loadavg)."
echo "Documents of $mb MB; $procs process(es) per figure; a steady process parses $warmup time(s) untimed," \
     "then $reps timed; times are the parsing thread's CPU time.  \"glibc keeping freed memory\": GLIBC_TUNABLES=$kept."

results=$build/bench/results.txt
: >"$results"
# One measurement in a fresh process: appends "MODE SHAPE TARGET BYTES
# ELEMENTS VALUE" to the results.  MODE is the measurement, with "-kept" when
# the allocator kept freed memory.
measure() {
    local mode=$1 target=$2 shape=$3 setting=$4
    shift 4
    local line
    line=$(env -u GLIBC_TUNABLES ${setting:+GLIBC_TUNABLES=$kept} "$bench" "$mode" "$target" "$work/$shape.xml" "$@") ||
        { echo "FAILED: $mode $target $shape $setting" >&2; exit 1; }
    echo "$mode${setting:+-$setting} $shape $target $line" >>"$results"
}

# Rounds over every target, so that a burst of load on the machine falls on
# one process of each figure rather than on all processes of one.
for ((round = 0; round < procs; ++round)); do
    for shape in "${shapes[@]}"; do
        for target in $("$bench" list); do
            for setting in "" kept; do
                measure steady "$target" "$shape" "$setting" "$warmup" "$reps"
                measure cold "$target" "$shape" "$setting"
            done
        done
    done
done
# Threads: one parser per thread on as many threads as cores, against one
# thread, with kept memory; the two in turn, so that load falls on both.
cores=$(nproc)
for ((round = 0; round < procs; ++round)); do
    for shape in "${shapes[@]}"; do
        for target in vornxml_sax_string vornxml_dom_string; do
            for clock in threads threads-cpu; do
                measure $clock "$target" "$shape" kept 1 "$reps"
                sed -i "\$ s/^$clock-kept /$clock-1-kept /" "$results"
                measure $clock "$target" "$shape" kept "$cores" "$reps"
                sed -i "\$ s/^$clock-kept /$clock-many-kept /" "$results"
            done
        done
    done
done
for shape in "${shapes[@]}"; do
    for target in $("$bench" list trees); do
        measure memory "$target" "$shape" ""
    done
done
# Instructions of one parse (parse plus free), counted by callgrind.
for target in vornxml_sax_string vornxml_dom_string; do
    out=$work/$target.callgrind
    env -u GLIBC_TUNABLES valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$out" \
        "$bench" cold "$target" "$work/records.xml" >"$out.line" 2>"$out.log" ||
        { cat "$out.log" >&2; echo "FAILED: callgrind $target" >&2; exit 1; }
    read -r bytes elements _ <"$out.line"
    echo "callgrind records $target $bytes $elements $(awk '$1 == "totals:" {print $2}' "$out")" >>"$results"
done

"$bench" report "$results"
echo
echo "Load average at the end: $(cut -d' ' -f1-3 /proc/loadavg); $((SECONDS - start)) s; every measurement in $results."
