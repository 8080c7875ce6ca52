#!/usr/bin/env bash
# Times our MIDI-file reader against other readers on the same file of about
# two million events (bench/SmfBenchFile.h):
#   bench/smf_peers.sh [build dir]      (default build/ci, with bench_smf built)
# Peers, each when available: libsmf (smf_load), portsmf (Alg_seq reading a
# standard MIDI file) and python3-mido (MidiFile). Prints the best of a few
# runs in seconds and each peer's time as a multiple of ours.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=${1:-build/ci}
bench=$build/bench/bench_smf
if [[ ! -x "$bench" ]]; then
  echo "smf_peers: $bench is not built (cmake --build $build --target bench_smf)" >&2
  exit 1
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/vantor-smf-peers.XXXXXX")
trap 'rm -rf "$work"' EXIT
file=$work/bench.mid
"$bench" --generate "$file"
echo "file: $(stat -c %s "$file") bytes"

results=()
ours=$("$bench" --read "$file" 5)
ours_s=${ours%% *}
results+=("vantor MSmfReader|$ours_s|${ours##* } events")

if pkg-config --exists smf 2>/dev/null; then
  cat >"$work/libsmf_peer.c" <<'C'
#include <smf.h>
#include <stdio.h>
#include <time.h>
int main(int argc, char** argv) {
  double best = 1e30;
  int events = 0;
  for (int i = 0; i < 3; ++i) {
    struct timespec a, b;
    clock_gettime(CLOCK_MONOTONIC, &a);
    smf_t* smf = smf_load(argv[1]);
    clock_gettime(CLOCK_MONOTONIC, &b);
    if (smf == NULL) return 1;
    events = 0;
    for (int t = 1; t <= smf->number_of_tracks; ++t) events += smf_get_track_by_number(smf, t)->number_of_events;
    smf_delete(smf);
    double s = (b.tv_sec - a.tv_sec) + (b.tv_nsec - a.tv_nsec) / 1e9;
    if (s < best) best = s;
  }
  printf("%.6f %d\n", best, events);
  return 0;
}
C
  # shellcheck disable=SC2046
  cc -O2 -o "$work/libsmf_peer" "$work/libsmf_peer.c" $(pkg-config --cflags --libs smf)
  out=$("$work/libsmf_peer" "$file" 2>/dev/null)
  results+=("libsmf smf_load|${out%% *}|${out##* } events")
else
  echo "smf_peers: libsmf not found (libsmf-dev), skipped" >&2
fi

if pkg-config --exists portSMF 2>/dev/null; then
  cat >"$work/portsmf_peer.cpp" <<'CPP'
#include <cstring>  // allegro.h uses memcpy without including it
#include <allegro.h>
#include <chrono>
#include <cstdio>
int main(int, char** argv) {
  double best = 1e30;
  long events = 0;
  for (int i = 0; i < 3; ++i) {
    auto a = std::chrono::steady_clock::now();
    Alg_seq seq(argv[1], true);
    std::chrono::duration<double> s = std::chrono::steady_clock::now() - a;
    if (seq.get_read_error() != alg_no_error) return 1;
    events = 0;
    for (int t = 0; t < seq.tracks(); ++t) events += seq.track(t)->length();
    if (s.count() < best) best = s.count();
  }
  std::printf("%.6f %ld\n", best, events);
  return 0;
}
CPP
  # shellcheck disable=SC2046
  c++ -O2 -o "$work/portsmf_peer" "$work/portsmf_peer.cpp" $(pkg-config --cflags --libs portSMF)
  out=$("$work/portsmf_peer" "$file" 2>/dev/null)
  results+=("portsmf Alg_seq|${out%% *}|${out##* } events (notes paired)")
else
  echo "smf_peers: portsmf not found (libportsmf-dev), skipped" >&2
fi

if /usr/bin/python3 -c 'import mido' 2>/dev/null; then
  out=$(/usr/bin/python3 - "$file" <<'PY'
import sys, time, mido
best = 1e30
for _ in range(2):
    a = time.perf_counter()
    f = mido.MidiFile(sys.argv[1])
    best = min(best, time.perf_counter() - a)
print('%.6f %d' % (best, sum(len(t) for t in f.tracks)))
PY
)
  results+=("python3-mido MidiFile|${out%% *}|${out##* } messages")
else
  echo "smf_peers: python3-mido not found, skipped" >&2
fi

printf '%-24s %12s %10s  %s\n' reader seconds "x ours" count
for row in "${results[@]}"; do
  IFS='|' read -r name seconds count <<<"$row"
  ratio=$(awk -v s="$seconds" -v o="$ours_s" 'BEGIN { printf "%.1f", s / o }')
  printf '%-24s %12s %10s  %s\n' "$name" "$seconds" "$ratio" "$count"
done
