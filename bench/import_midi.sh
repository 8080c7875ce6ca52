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
source bench/timing.sh
require_built "$vantor" vantor
require_built "$bench" bench_smf

work=$(mktemp -d "${TMPDIR:-/tmp}/vantor-import-midi.XXXXXX")
trap 'rm -rf "$work"' EXIT
file=$work/bench.mid
"$bench" --generate "$file"
echo "file: $(stat -c %s "$file") bytes"

# Each run imports into a new project, so that every run does the same.
read -r best peak < <(best_of_three bash -c '"$0" new --force "$1" >/dev/null && exec "$0" import-midi "$1" "$2"' \
  "$vantor" "$work/song.vpr" "$file")
echo "project: $(stat -c %s "$work/song.vpr") bytes"
printf '%-32s %8s s  peak %d MB\n' "vantor import-midi (with save)" "$best" "$peak"

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
