#!/usr/bin/env bash
# Installs the Debian/Ubuntu packages the build needs, only those that are missing.
# Usage: tools/deps.sh [extra packages...]
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config qt6-base-dev qt6-multimedia-dev libgtest-dev libbenchmark-dev libsoxr-dev libsndfile1-dev "$@")

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}" >&2
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
