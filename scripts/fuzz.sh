#!/usr/bin/env bash
# Builds the fuzz preset and runs every fuzz target for a while:
#   scripts/fuzz.sh [seconds per target]   (default 60)
# Each target works on a copy of its seed corpus fuzz/corpus/<name>/ in a
# temporary folder; the repository is never written. Inputs that crash are
# kept under build/fuzz/artifacts/<target>/. Exits 1 if any target failed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

seconds=${1:-60}
if ! [[ "$seconds" =~ ^[0-9]+$ ]] || (( seconds == 0 )); then
  echo "usage: scripts/fuzz.sh [seconds per target]" >&2
  exit 2
fi

bash scripts/setup.sh
cmake --preset fuzz
cmake --build --preset fuzz -j2

work=$(mktemp -d "${TMPDIR:-/tmp}/vantor-fuzz.XXXXXX")
trap 'rm -rf "$work"' EXIT

shopt -s nullglob
sources=(fuzz/fuzz_*.cpp)
if (( ${#sources[@]} == 0 )); then
  echo "fuzz: no fuzz targets yet"
  exit 0
fi

failed=()
for source in "${sources[@]}"; do
  target=$(basename "$source" .cpp)
  name=${target#fuzz_}
  binary=build/fuzz/fuzz/$target
  if [[ ! -x "$binary" ]]; then
    echo "fuzz: $target was not built" >&2
    failed+=("$target")
    continue
  fi

  corpus=$work/$target/corpus
  artifacts=build/fuzz/artifacts/$target
  mkdir -p "$corpus" "$artifacts"
  if [[ -d fuzz/corpus/$name ]]; then
    cp -R "fuzz/corpus/$name/." "$corpus/"
  fi
  # Inputs up to 64 KiB: long enough for lists of thousands of entries, so
  # the readers' handling of large declared counts is reached.
  options=(-max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -max_len=65536
           -artifact_prefix="$artifacts/" -print_final_stats=1)
  if [[ -f fuzz/$name.dict ]]; then
    options+=(-dict="fuzz/$name.dict")
  fi

  echo "fuzz: $target for ${seconds}s ($(find "$corpus" -type f | wc -l) seeds)"
  log=$work/$target/log
  if "$binary" "${options[@]}" "$corpus" >"$log" 2>&1; then
    grep -E '^(Done|stat::number_of_executed_units)' "$log" | tail -n 1 | sed 's/^/  /'  || true
  else
    echo "fuzz: $target FAILED; inputs kept in $artifacts/" >&2
    tail -n 60 "$log" >&2
    failed+=("$target")
  fi
done

if (( ${#failed[@]} > 0 )); then
  echo "fuzz: failed: ${failed[*]}" >&2
  exit 1
fi
echo "fuzz: all ${#sources[@]} target(s) ran ${seconds}s without a failure"
