#!/usr/bin/env bash
# Times `vantor detect-silence` on an hour of stereo 48 kHz 24-bit WAVE
# (20 s of a tone and 10 s of silence, over and over, made with sox) beside
# ffmpeg's silencedetect filter on the same file, both at -50 dBFS and half
# a second of silence:
#   bench/detect_silence.sh [build dir]   (default build/ci, with vantor built)
# Prints the best of three runs of each in seconds, and ffmpeg's time as a
# multiple of ours.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=${1:-build/ci}
vantor=$build/vantor
source bench/timing.sh
require_built "$vantor" vantor
for tool in sox ffmpeg; do
  if ! command -v "$tool" >/dev/null; then
    echo "detect_silence: $tool is not installed" >&2
    exit 1
  fi
done

work=$(mktemp -d "${TMPDIR:-/tmp}/vantor-detect-silence.XXXXXX")
trap 'rm -rf "$work"' EXIT
file=$work/hour.wav
sox -n -r 48000 -c 2 -b 24 "$work/period.wav" synth 20 sine 440 vol 0.5 pad 0 10
sox "$work/period.wav" "$file" repeat 119
echo "file: $(soxi -d "$file"), $(stat -c %s "$file") bytes"

read -r ours _ < <(best_of_three "$vantor" detect-silence "$file" --open -50 --close -50 --min-open 0 --min-closed 500)
echo "vantor: $(tail -n 1 "$work/output")"
read -r theirs _ < <(best_of_three ffmpeg -nostdin -hide_banner -i "$file" -af silencedetect=n=-50dB:d=0.5 -f null -)
echo "ffmpeg: $(grep -c silence_end "$work/errors") silences"
printf '%-28s %8s s\n' "vantor detect-silence" "$ours" "ffmpeg silencedetect" "$theirs"
awk "BEGIN { printf \"ffmpeg / vantor: %.1f\\n\", $theirs / ($ours > 0 ? $ours : 0.01) }"
