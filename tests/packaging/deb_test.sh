#!/usr/bin/env bash
# Builds the Debian packages with CPack from the build tree and checks
# them: what they hold, their Depends, and that dpkg installs them into an
# empty root where the installed command runs.
#   deb_test.sh BUILD_DIR
set -euo pipefail
build=$1

tmp=$(mktemp -d "${TMPDIR:-/tmp}/vantor-deb.XXXXXX")
trap 'rm -rf "$tmp"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$tmp/out" >/dev/null
runtime=$(ls "$tmp"/out/vantor_*.deb)
development=$(ls "$tmp"/out/libvantor-dev_*.deb)

contents=$(dpkg-deb --contents "$runtime" | awk '{print $NF}')
for path in ./usr/bin/vantor ./usr/share/man/man1/vantor.1 ./usr/share/bash-completion/completions/vantor; do
  grep -qx "$path" <<<"$contents" || fail "vantor package lacks $path"
done
depends=$(dpkg-deb --field "$runtime" Depends)
for package in libc6 libstdc++6 libsndfile1 libsoxr0; do
  grep -q "\b$package\b" <<<"$depends" || fail "Depends lacks $package: $depends"
done

dev_contents=$(dpkg-deb --contents "$development" | awk '{print $NF}')
for path in ./usr/include/vantor/document/PDocument.h ./usr/lib/libvantor_foundation.a \
            ./usr/lib/cmake/Vantor/VantorConfig.cmake ./usr/lib/pkgconfig/vantor.pc; do
  grep -qx "$path" <<<"$dev_contents" || fail "libvantor-dev lacks $path"
done
grep -q "libsndfile1-dev" <<<"$(dpkg-deb --field "$development" Depends)" || fail "libvantor-dev Depends"

# dpkg itself installs both into an empty root (the libraries they depend
# on are this machine's, not the root's: --force-depends).
root="$tmp/root"
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status"
dpkg --root="$root" --force-depends --force-not-root --log=/dev/null -i "$runtime" "$development" \
  >"$tmp/dpkg.log" 2>&1 || fail "dpkg -i: $(cat "$tmp/dpkg.log")"
dpkg --root="$root" -s vantor | grep -q "^Status: install ok installed" || fail "dpkg did not install vantor"
XDG_CONFIG_HOME="$tmp/config" "$root/usr/bin/vantor" --version | grep -q "^vantor " || fail "the packaged vantor does not run"
echo "packages: $(basename "$runtime") ($depends), $(basename "$development")"
