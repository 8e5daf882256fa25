#!/usr/bin/env bash
# Checks a built package as a user gets it: lintian, then its files unpacked into a scratch
# root, where sd2wav and quorvel run, the man pages render, every option of sd2wav --help
# is in the man page and the completions, and the desktop and AppStream entries validate.
# Usage: tools/checkPackage.sh quorvel_VERSION_ARCH.deb
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
deb=$(realpath "$1")
"$root/tools/deps.sh" lintian man-db appstream desktop-file-utils bash-completion zsh fish
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

echo "== lintian $deb"
lintian --fail-on error --display-info "$deb"
dpkg -x "$deb" "$scratch/root"
usr=$scratch/root/usr

echo "== the installed programs"
"$usr/bin/sd2wav" --version
"$usr/bin/quorvel" --version
"$usr/bin/sd2wav" demo "$scratch/demo" >/dev/null
detected=$("$usr/bin/sd2wav" detect "$scratch/demo/demo s24le stereo.sd2")
echo "$detected"
[[ $detected == *"24-bit LE (auto) · Stereo · confident" ]] || { echo "FAIL: detect read the demo file wrongly" >&2; exit 1; }

echo "== man pages, completions, desktop and AppStream entries"
for page in "$usr"/share/man/man1/*.1.gz; do
  warnings=$(MANWIDTH=80 man --warnings -E UTF-8 -l "$page" 2>&1 >/dev/null)
  [ -z "$warnings" ] || { echo "FAIL: $page: $warnings" >&2; exit 1; }
  MANWIDTH=80 man -l "$page" | sed -n 4p
done
"$root/tests/cli/docsFollowHelp.sh" "$usr/bin/sd2wav" "$usr/share/man/man1/sd2wav.1.gz" \
  "$usr/share/bash-completion/completions/sd2wav" "$usr/share/zsh/vendor-completions/_sd2wav" \
  "$usr/share/fish/vendor_completions.d/sd2wav.fish"
desktop-file-validate "$usr/share/applications/quorvel.desktop"
appstreamcli validate --no-net "$usr"/share/metainfo/*.metainfo.xml
echo "package checked: $deb"
