#!/usr/bin/env bash
# Times the offline render of 16 stereo 30-second tracks (bench_render,
# alone and with 8 MIDI tracks) beside `sox -m` mixing the same 16 files
# into one 24-bit file:
#   bench/render.sh [build dir]   (default build/ci, with bench_render built)
# Prints each as times faster than real time, and sox's speed as a multiple
# of ours. sox only sums the files (with its clipping guard); the render
# also pans, sets volumes, fades, dithers and measures the loudness, and
# syncs its file before renaming it into place.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=${1:-build/ci}
bench=$build/bench/bench_render
source bench/timing.sh
require_built "$bench" bench_render
for tool in sox python3; do
  if ! command -v "$tool" >/dev/null; then
    echo "render: $tool is not installed" >&2
    exit 1
  fi
done

work=$(mktemp -d "${TMPDIR:-/tmp}/vantor-render.XXXXXX")
trap 'rm -rf "$work"' EXIT
export VANTOR_BENCH_RENDER_DIR=$work
"$bench" --benchmark_format=json --benchmark_out="$work/render.json" --benchmark_out_format=json >/dev/null 2>&1

files=()
for i in $(seq 0 15); do files+=("$work/track$i.wav"); done
read -r sox_s sox_mb < <(best_of_three sox -m "${files[@]}" -b 24 "$work/sox.wav")

python3 - "$work/render.json" "$sox_s" <<'PY'
import json, sys
runs = {b["name"]: b["x_realtime"] for b in json.load(open(sys.argv[1]))["benchmarks"]}
sox = 30.0 / max(float(sys.argv[2]), 0.001)
audio, full = runs["render/midi:0/min_time:2.000/real_time"], runs["render/midi:1/min_time:2.000/real_time"]
print(f"vantor render, 16 audio tracks:              {audio:7.1f} x real time")
print(f"vantor render, 16 audio + 8 MIDI tracks:     {full:7.1f} x real time")
print(f"sox -m, the 16 files:                        {sox:7.1f} x real time")
print(f"sox / vantor (audio tracks alone):           {sox / audio:7.2f}")
PY
