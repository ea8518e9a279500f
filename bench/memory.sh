#!/usr/bin/env bash
# Peak extra memory per MB of input while the tree is alive: the peak
# resident size during the parse minus the resident size before it, for each
# tree builder, on documents of MB megabytes (default 20).  The host's copy of
# the document is in memory before the baseline; this library's string
# source takes it over by move.  Default glibc settings.
#
#   bash bench/memory.sh [BUILD_DIR] [MB]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-bench}
mb=${2:-20}
one=$build/bench/vornxml_bench_one
[ -x "$one" ] || { echo "missing $one: build with -DVORNXML_BUILD_BENCH=ON" >&2; exit 2; }
printf '%-26s %12s %12s %12s\n' "extra bytes / input byte" records attributes text
for target in vornxml_dom_string vornxml_dom_file_free libxml2_dom pugixml tinyxml2; do
    printf '%-26s' "$target"
    for shape in records attributes text; do
        result=$("$one" --memory "$target" "$shape" "$mb") || { printf ' %12s' failed; continue; }
        echo "$result" | awk '$1 == "bytes" {b = $2} $1 == "extra" {e = $2} END {printf " %12.2f", e / b}'
    done
    printf '\n'
done
