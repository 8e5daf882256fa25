#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UndefinedBehaviorSanitizer into build-asan/
# and runs the whole test suite there. (ThreadSanitizer for the model: tools/tsan.sh.)
set -euo pipefail
cd "$(dirname "$0")/.."
tools/deps.sh ffmpeg xvfb xauth xdotool libgl1-mesa-dri man-db bash-completion zsh fish
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUORVEL_SANITIZE=address,undefined >/dev/null
cmake --build build-asan
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
# Qt, fontconfig and the GL stack keep allocations for the life of the process.
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp:print_suppressions=0"
ctest --test-dir build-asan --output-on-failure --parallel "$(nproc)" --label-exclude huge
