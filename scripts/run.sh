#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job: `vantor demo`
# builds a demonstration project from material of its own, renders it to
# PROJECT.wav with the built-in synthesizer, draws PROJECT.png, saves it and
# shows it with the render's loudness.  scripts/run.sh [PROJECT.vpr]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

bash scripts/setup.sh
cmake --preset default
# Only the command itself: tests and benchmarks are built by scripts/test.sh.
cmake --build --preset default -j2 --target vantor

if (( $# == 0 )); then
  # The built-in default is this script's own scratch file: each run replaces
  # it and the files beside it. A file named by the user is never replaced.
  # A folder of its own, as the voice goes into Audio/ beside the project.
  mkdir -p "${TMPDIR:-/tmp}/vantor-demo"
  build/default/vantor demo --force "${TMPDIR:-/tmp}/vantor-demo/demo.vpr"
else
  build/default/vantor demo "$1"
fi
