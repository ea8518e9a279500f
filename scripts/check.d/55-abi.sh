#!/usr/bin/env bash
# The binary interface: exported symbols and public class sizes must match
# the expectation in abi/ (update it on purpose with: bash scripts/abi update).
set -euo pipefail
cd "$VORNXML_ROOT"
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVORNXML_BUILD_TESTS=ON >/dev/null
cmake --build build -j "$VORNXML_JOBS" --target vornxml
bash scripts/abi check build
