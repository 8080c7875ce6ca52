#!/usr/bin/env bash
# Installs the Debian 12 packages Vantor builds and tests with, when missing.
# Idempotent: prints nothing and touches nothing when all are installed.
set -euo pipefail

packages=(
  cmake ninja-build g++
  libgtest-dev libbenchmark-dev
  libflatbuffers-dev flatbuffers-compiler
  clang libclang-rt-14-dev
  libcli11-dev nlohmann-json3-dev libfmt-dev
  python3 python3-mido
  libsndfile1-dev pkg-config
  libsoxr-dev libfftw3-dev libpng-dev
  sox libaudiofile-dev
  libfluidsynth-dev timgm6mb-soundfont libebur128-dev
  libjack-jackd2-dev jackd2
  dpkg-dev file man-db
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  if [[ "$status" != "installed" ]]; then
    missing+=("$package")
  fi
done

if (( ${#missing[@]} == 0 )); then
  exit 0
fi

sudo=()
if (( EUID != 0 )); then
  if command -v sudo >/dev/null 2>&1; then
    sudo=(sudo)
  else
    echo "setup.sh: missing packages (${missing[*]}) and not root, no sudo available" >&2
    exit 1
  fi
fi

echo "setup.sh: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
