#!/usr/bin/env bash
# Instructions per input byte (callgrind) of one parse, for this library and
# each peer, on documents of MB megabytes (default 2).  Only the measured
# region of each target is counted: the document is generated and copied
# outside it.
#
#   bash bench/callgrind.sh [BUILD_DIR] [MB] [TARGET ...]
#
# BUILD_DIR defaults to build-bench; it must hold bench/vornxml_bench_one.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-bench}
mb=${2:-2}
shift $(( $# > 2 ? 2 : $# ))
one=$build/bench/vornxml_bench_one
[ -x "$one" ] || { echo "missing $one: build with -DVORNXML_BUILD_BENCH=ON" >&2; exit 2; }
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    targets=(vornxml_sax_string vornxml_dom_string vornxml_dom_string_free vornxml_sax_file
             expat libxml2_sax2 libxml2_dom libxml2_dom_free pugixml tinyxml2 floor)
fi
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
printf '%-26s %12s %12s %12s\n' "instructions/byte" records attributes text
for target in "${targets[@]}"; do
    printf '%-26s' "$target"
    for shape in records attributes text; do
        file=$out/$target.$shape
        valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$file.cg" \
            "$one" "$target" "$shape" "$mb" >"$file.out" 2>"$file.err" || { printf ' %12s' failed; continue; }
        bytes=$(awk '$1 == "bytes" {print $2}' "$file.out")
        ir=$(awk '$1 == "totals:" {print $2}' "$file.cg")
        awk -v ir="$ir" -v bytes="$bytes" 'BEGIN {printf " %12.1f", ir / bytes}'
    done
    printf '\n'
done
