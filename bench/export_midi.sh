#!/usr/bin/env bash
# Times `vantor export-midi` of a project holding what the benchmark MIDI
# file holds (about two million events once written; bench_smf_export
# --build makes it), open included, with the peak memory of the process;
# beside it python3-mido writing a file of the same events, and `vantor
# info` of the project, which opens it and nothing more.
#   bench/export_midi.sh [build dir]   (default build/ci, with vantor and
#                                       bench_smf_export built)
# Prints the best of three runs in seconds and each peak in MB.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=${1:-build/ci}
vantor=$build/vantor
maker=$build/bench/bench_smf_export
source bench/timing.sh
require_built "$vantor" vantor
require_built "$maker" bench_smf_export

work=$(mktemp -d "${TMPDIR:-/tmp}/vantor-export-midi.XXXXXX")
trap 'rm -rf "$work"' EXIT
"$maker" --build "$work/bench.vpr"
echo "project: $(stat -c %s "$work/bench.vpr") bytes"

results=()
read -r s mb < <(best_of_three "$vantor" export-midi "$work/bench.vpr" "$work/ours.mid" --json)
events=$(sed -n 's/.*"events": \([0-9]*\).*/\1/p' "$work/output")
results+=("vantor export-midi (open + export)|$s|$mb|$events events, $(stat -c %s "$work/ours.mid") bytes")
ours_s=$s
read -r s mb < <(best_of_three "$vantor" export-midi "$work/bench.vpr" "$work/ours0.mid" --type 0)
results+=("vantor export-midi --type 0|$s|$mb|$(stat -c %s "$work/ours0.mid") bytes")
read -r s mb < <(best_of_three "$vantor" info "$work/bench.vpr" --json)
results+=("vantor info (open only)|$s|$mb|")

if /usr/bin/python3 -c 'import mido' 2>/dev/null; then
  # The peer writes the messages of our file: it gets them from a pickle
  # (loading it is in its total, as opening the project is in ours) and
  # prints the seconds of MidiFile.save alone.
  cat >"$work/prepare.py" <<'PY'
import sys, pickle, mido
f = mido.MidiFile(sys.argv[1])
pickle.dump([[m.copy() for m in t] for t in f.tracks], open(sys.argv[2], 'wb'))
PY
  cat >"$work/write.py" <<'PY'
import sys, pickle, mido
import time
tracks = pickle.load(open(sys.argv[1], 'rb'))
f = mido.MidiFile(type=1, ticks_per_beat=480)
for t in tracks:
    f.tracks.append(mido.MidiTrack(t))
start = time.perf_counter()
f.save(sys.argv[2])
print('%.3f' % (time.perf_counter() - start))
PY
  /usr/bin/python3 "$work/prepare.py" "$work/ours.mid" "$work/messages.pickle"
  read -r s mb < <(best_of_three /usr/bin/python3 "$work/write.py" "$work/messages.pickle" "$work/mido.mid")
  results+=("python3-mido (load messages + save)|$s|$mb|save alone $(cat "$work/output") s, $(stat -c %s "$work/mido.mid") bytes")
else
  echo "export_midi: python3-mido not found, skipped" >&2
fi

printf '%-38s %9s %9s %8s  %s\n' writer seconds "peak MB" "x ours" note
for row in "${results[@]}"; do
  IFS='|' read -r name seconds peak note <<<"$row"
  ratio=$(awk -v s="$seconds" -v o="$ours_s" 'BEGIN { printf "%.1f", s / o }')
  printf '%-38s %9s %9s %8s  %s\n' "$name" "$seconds" "$peak" "$ratio" "$note"
done
