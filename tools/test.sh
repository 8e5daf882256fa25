#!/usr/bin/env bash
# Installs what is missing, builds everything with the tests, and runs them.
set -euo pipefail
cd "$(dirname "$0")/.."
# ffprobe reads our WAV files back; Xvfb and xdotool drive the application end to end.
tools/deps.sh ffmpeg xvfb xauth xdotool libgl1-mesa-dri
tools/build.sh -DQUORVEL_BUILD_TESTS=ON
ctest --test-dir build --output-on-failure --parallel "$(nproc)" --label-exclude huge
