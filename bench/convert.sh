#!/usr/bin/env bash
# Times `vantor convert` of ten minutes of stereo 48 kHz 24-bit WAVE (a tone
# and noise made with sox) to 32-bit float beside `sndfile-convert -float32`
# on the same file, then runs the write benchmark (our writer against
# libsndfile, 24-bit and float):
#   bench/convert.sh [build dir]   (default build/ci, with vantor and bench_audio_write built)
# Prints the best of three runs of each conversion in seconds, and each
# peer's time as a multiple of ours. Our convert syncs the new file to the
# disk before renaming it into place; sndfile-convert does not sync.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=${1:-build/ci}
vantor=$build/vantor
bench=$build/bench/bench_audio_write
source bench/timing.sh
require_built "$vantor" vantor
require_built "$bench" bench_audio_write
for tool in sox sndfile-convert sndfile-cmp python3; do
  if ! command -v "$tool" >/dev/null; then
    echo "convert: $tool is not installed" >&2
    exit 1
  fi
done

work=$(mktemp -d "${TMPDIR:-/tmp}/vantor-convert.XXXXXX")
trap 'rm -rf "$work"' EXIT
file=$work/long.wav
sox -n -r 48000 -c 2 -b 24 "$file" synth 600 sine 440 whitenoise vol 0.4
echo "file: $(soxi -d "$file"), $(stat -c %s "$file") bytes"

read -r ours ours_mb < <(best_of_three "$vantor" convert "$file" "$work/ours.wav" --bits 32f)
echo "vantor: $(tail -n 1 "$work/output")"
read -r theirs theirs_mb < <(best_of_three sndfile-convert -float32 "$file" "$work/theirs.wav")
# The headers differ; the samples must not.
sndfile-cmp "$work/ours.wav" "$work/theirs.wav" >/dev/null || echo "convert: the two results hold different samples" >&2
printf '%-32s %8s s %6s MB\n' "vantor convert --bits 32f" "$ours" "$ours_mb" "sndfile-convert -float32" "$theirs" "$theirs_mb"
awk "BEGIN { printf \"sndfile-convert / vantor: %.2f\\n\", $theirs / ($ours > 0 ? $ours : 0.01) }"

echo
echo "writing one minute of stereo 48 kHz from floats (real time per file):"
"$bench" --benchmark_format=json --benchmark_out="$work/write.json" --benchmark_out_format=json >/dev/null 2>&1
python3 - "$work/write.json" <<'PY'
import json, sys
runs = {b["name"]: b["real_time"] for b in json.load(open(sys.argv[1]))["benchmarks"]}
for bits, label in (("24", "24-bit"), ("32", "32-bit float")):
    ours, theirs = runs[f"writeWithVantor/{bits}/real_time"], runs[f"writeWithLibsndfile/{bits}/real_time"]
    print(f"{label:<14} vantor {ours:8.1f} ms   libsndfile {theirs:8.1f} ms   libsndfile / vantor: {theirs / ours:.2f}")
PY
