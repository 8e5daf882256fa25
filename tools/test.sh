#!/usr/bin/env bash
# Installs what is missing, builds everything with the tests, and runs them.
set -euo pipefail
cd "$(dirname "$0")/.."
# ffprobe and mediainfo read our WAV files back; Xvfb and xdotool drive the application end to end; man
# and the three shells check the man page and the completions.
tools/deps.sh ffmpeg mediainfo xvfb xauth xdotool libgl1-mesa-dri locales man-db bash-completion zsh fish
# The model's tests also run under a locale with a decimal comma.
if ! locale -a 2>/dev/null | grep -qx 'de_DE.utf8'; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo localedef -i de_DE -f UTF-8 de_DE.UTF-8
fi
# The benchmarks are built too, so they keep up with the code they measure.
tools/build.sh -DQUORVEL_BUILD_TESTS=ON -DQUORVEL_BUILD_BENCH=ON
ctest --test-dir build --output-on-failure --parallel "$(nproc)" --label-exclude huge
