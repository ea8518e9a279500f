#!/usr/bin/env bash
# The binary interface: abidiff of the built library against the baseline in
# abi/ (see scripts/abi; update it on purpose with: bash scripts/abi update).
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
build_in build --target vornxml
bash "$VORNXML_ROOT/scripts/abi" check "$VORNXML_ROOT/build"
