#!/usr/bin/env bash
# Builds the Release Debian package with CPack into the repository's top folder and prints
# its path as the last line. Install it with: sudo apt install ./quorvel_*.deb
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
# dpkg-shlibdeps (dpkg-dev) works out the shared-library dependencies; CPack reads ELF files with `file`.
"$root/tools/deps.sh" dpkg-dev file
"$root/tools/build.sh" -DQUORVEL_BUILD_TESTS=OFF
rm -f "$root"/build/quorvel_*.deb "$root"/quorvel_*.deb
(cd "$root/build" && cpack -G DEB >&2)
mv "$root"/build/quorvel_*.deb "$root"/
ls "$root"/quorvel_*.deb
