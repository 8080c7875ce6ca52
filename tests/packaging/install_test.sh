#!/usr/bin/env bash
# Installs the build tree into a temporary DESTDIR, then uses what was
# installed as a user would: a consumer built with find_package(Vantor) and
# one built with pkg-config make and save a project, the installed `vantor`
# reads it, its man page renders without warnings, and its bash completion
# completes subcommands.
#   install_test.sh BUILD_DIR CONSUMER_DIR GENERATOR CXX
set -euo pipefail
build=$1 consumer=$2 generator=$3 cxx=$4

tmp=$(mktemp -d "${TMPDIR:-/tmp}/vantor-install.XXXXXX")
trap 'rm -rf "$tmp"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

DESTDIR="$tmp/root" cmake --install "$build" --prefix /opt/vantor >/dev/null
prefix="$tmp/root/opt/vantor"
vantor="$prefix/bin/vantor"
[[ -x $vantor ]] || fail "no installed vantor"
export XDG_CONFIG_HOME="$tmp/config"

# The CMake package.
cmake -S "$consumer" -B "$tmp/by-cmake" -G "$generator" -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$tmp/by-cmake" >/dev/null
"$tmp/by-cmake/consumer" "$tmp/by-cmake.vpr"

# The pkg-config file, relocated with the install.
pc_dir=$(dirname "$(find "$prefix" -name vantor.pc)")
flags=$(PKG_CONFIG_PATH="$pc_dir" pkg-config --cflags --libs vantor)
# shellcheck disable=SC2086
"$cxx" -std=c++20 -O1 "$consumer/consumer.cpp" -o "$tmp/by-pkg-config" $flags
"$tmp/by-pkg-config" "$tmp/by-pkg-config.vpr"

# The installed command reads what the library wrote.
"$vantor" --help | grep -q "import-midi" || fail "vantor --help does not list import-midi"
"$vantor" --version | grep -q "project file revision" || fail "vantor --version"
"$vantor" info --json "$tmp/by-pkg-config.vpr" | python3 -c '
import json, sys
info = json.load(sys.stdin)
assert info["tempo"]["events"][0]["bpm"] == 96, info["tempo"]
assert (info["signatures"][0]["numerator"], info["signatures"][0]["denominator"]) == (3, 4)
' || fail "vantor info of the consumer's project"

# The man page renders, and groff finds nothing to warn about.
page="$prefix/share/man/man1/vantor.1"
MANWIDTH=100 MANPAGER=cat man --warnings -l "$page" >"$tmp/man.txt" 2>"$tmp/man.err" || fail "man -l"
[[ ! -s $tmp/man.err ]] || fail "man page warnings: $(cat "$tmp/man.err")"
for heading in SUBCOMMANDS POSITIONS "SHELL COMMANDS" "EXIT STATUS" PREFERENCES FILES; do
  grep -q "^$heading" "$tmp/man.txt" || fail "the man page has no section $heading"
done

# Completion under bash, as the bash-completion package would load it.
complete_line() {
  bash --norc --noprofile -c '
    source "$1"; shift
    COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
    _vantor; printf "%s\n" "${COMPREPLY[@]}"' _ \
    "$prefix/share/bash-completion/completions/vantor" "$@"
}
replies=$(complete_line vantor im)
grep -qx import-midi <<<"$replies" || fail "'vantor im' completes to: $replies"
! grep -qvx "im.*" <<<"$replies" || fail "'vantor im' offers: $replies"
[[ $(complete_line vantor -v import-mi) == import-midi ]] || fail "'vantor -v import-mi'"
grep -qx -- --at <<<"$(complete_line vantor import-midi song.vpr --)" || fail "import-midi options"
grep -qx "track add" <<<"$(complete_line vantor edit song.vpr -e track)" || fail "shell verbs after edit -e"
echo "installed, linked by CMake and pkg-config, man page and completion work"
