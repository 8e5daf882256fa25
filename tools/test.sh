#!/usr/bin/env bash
# Installs what is missing, builds everything with the tests, and runs them.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/deps.sh ffmpeg # the end-to-end tests read our WAV files back with ffprobe
tools/build.sh -DQUORVEL_BUILD_TESTS=ON
ctest --test-dir build --output-on-failure --parallel "$(nproc)"
