#!/usr/bin/env bash
# Builds a preset and runs its tests: scripts/test.sh [preset]  (default: ci)
# Presets: default, ci, asan, tsan (see CMakePresets.json).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=${1:-ci}

bash scripts/setup.sh
cmake --preset "$preset"
cmake --build --preset "$preset" -j2

log=$(mktemp "${TMPDIR:-/tmp}/vantor-ctest.XXXXXX")
trap 'rm -f "$log"' EXIT
ctest --preset "$preset" 2>&1 | tee "$log"
echo "ctest [$preset]: $(grep -E 'tests passed|tests failed' "$log" | tail -n 1)"
