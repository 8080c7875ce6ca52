#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job: builds a small
# project, saves it and shows it.  scripts/run.sh [PROJECT.vpr]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

bash scripts/setup.sh
cmake --preset default
# Only the command itself: tests and benchmarks are built by scripts/test.sh.
cmake --build --preset default -j2 --target vantor

if (( $# == 0 )); then
  # The built-in default is this script's own scratch file: each run replaces
  # it. A file named by the user is never replaced.
  build/default/vantor demo --force "${TMPDIR:-/tmp}/vantor-demo.vpr"
else
  build/default/vantor demo "$1"
fi
