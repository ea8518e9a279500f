#!/usr/bin/env bash
# The library, the tool and every unit test, in an optimised build.
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
build_in build
ctest --test-dir "$VORNXML_ROOT/build" --output-on-failure --no-tests=error -j "$VORNXML_JOBS"
