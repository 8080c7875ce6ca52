# Helpers of the benchmark scripts, sourced by them; they need $work, a
# scratch folder, and $build, the build folder.

# Stops the script with a message unless program has been built.
require_built() {  # PROGRAM TARGET
  if [[ ! -x "$1" ]]; then
    echo "$(basename "$0"): $1 is not built (cmake --build $build --target $2)" >&2
    exit 1
  fi
}

# Runs a command three times and prints "SECONDS PEAK_MB" of the fastest
# run. The last run's output is left in $work/output and $work/errors.
best_of_three() {
  local best="" peak="" seconds kilobytes
  for _ in 1 2 3; do
    /usr/bin/time -f '%e %M' -o "$work/time" "$@" >"$work/output" 2>"$work/errors"
    read -r seconds kilobytes <"$work/time"
    if [[ -z $best ]] || awk -v a="$seconds" -v b="$best" 'BEGIN { exit !(a < b) }'; then
      best=$seconds
      peak=$((kilobytes / 1024))
    fi
  done
  echo "$best $peak"
}
