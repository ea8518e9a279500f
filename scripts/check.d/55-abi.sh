#!/usr/bin/env bash
# The binary interface: abidiff of the built library against the baseline in
# abi/ (see scripts/abi; retake it on purpose with: bash scripts/abi --update).
set -euo pipefail
for tool in abidw abidiff; do
    command -v $tool >/dev/null 2>&1 ||
        { echo "SKIPPED: $tool is not installed (package abigail-tools: apt-get install abigail-tools)"; exit 0; }
done
source "$VORNXML_ROOT/scripts/lib/build.sh"
build_in build --target vornxml
bash "$VORNXML_ROOT/scripts/abi" "$VORNXML_ROOT/build"
