#!/usr/bin/env bash
# Installs the Debian/Ubuntu packages the build needs, only those that are missing.
# Usage: tools/deps.sh [extra packages...]
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config libgtest-dev libbenchmark-dev libsoxr-dev libsndfile1-dev libssl-dev
  qt6-base-dev qt6-multimedia-dev qt6-declarative-dev fonts-material-design-icons-iconfont
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-dialogs qml6-module-qtquick-layouts
  qml6-module-qtquick-templates qml6-module-qtquick-window qml6-module-qtqml-workerscript
  qml6-module-qt-labs-folderlistmodel qml6-module-qtcore "$@")

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
