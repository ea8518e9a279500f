#!/usr/bin/env bash
# The library, the tool and every unit test, in an optimised build.
set -euo pipefail
cd "$VORNXML_ROOT"
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVORNXML_BUILD_TESTS=ON
cmake --build build -j "$VORNXML_JOBS"
ctest --test-dir build --output-on-failure -j "$VORNXML_JOBS"
