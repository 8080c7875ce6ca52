#!/usr/bin/env bash
# Times `vantor import-midi` of the MIDI benchmark file (about two million
# events, 16 tracks, 4000 tempo changes; bench/SmfBenchFile.h) into a new
# project, save included, with its peak memory, beside python3-mido reading
# the same file:
#   bench/import_midi.sh [build dir]   (default build/ci, with vantor and bench_smf built)
# Prints the best of three runs in seconds, the peak resident size, and
# mido's time as a multiple of ours.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=${1:-build/ci}
vantor=$build/vantor
bench=$build/bench/bench_smf
for tool in "$vantor" "$bench"; do
  if [[ ! -x "$tool" ]]; then
    echo "import_midi: $tool is not built (cmake --build $build --target vantor bench_smf)" >&2
    exit 1
  fi
done

work=$(mktemp -d "${TMPDIR:-/tmp}/vantor-import-midi.XXXXXX")
trap 'rm -rf "$work"' EXIT
file=$work/bench.mid
"$bench" --generate "$file"
echo "file: $(stat -c %s "$file") bytes"

best=
peak=0
for _ in 1 2 3; do
  rm -f "$work/song.vpr"
  "$vantor" new "$work/song.vpr" >/dev/null
  /usr/bin/time -f "%e %M" -o "$work/time" "$vantor" import-midi "$work/song.vpr" "$file" >/dev/null
  read -r seconds kilobytes <"$work/time"
  if [[ -z "$best" ]] || awk "BEGIN { exit !($seconds < $best) }"; then best=$seconds; fi
  if ((kilobytes > peak)); then peak=$kilobytes; fi
done
echo "project: $(stat -c %s "$work/song.vpr") bytes"
printf '%-32s %8s s  peak %d MB\n' "vantor import-midi (with save)" "$best" $((peak / 1024))

if /usr/bin/python3 -c 'import mido' 2>/dev/null; then
  mido=$(/usr/bin/python3 - "$file" <<'PY'
import sys, time, mido
best = 1e30
for _ in range(2):
    start = time.perf_counter()
    mido.MidiFile(sys.argv[1])
    best = min(best, time.perf_counter() - start)
print('%.2f' % best)
PY
)
  printf '%-32s %8s s  (%.1f x ours)\n' "python3-mido MidiFile (read)" "$mido" "$(awk "BEGIN { print $mido / $best }")"
else
  echo "python3-mido is not installed: no peer"
fi
