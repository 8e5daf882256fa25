#!/usr/bin/env bash
# Builds the model tests with ThreadSanitizer and runs them (QtCore is not instrumented;
# tests/tsan.supp covers its thread hand-offs, and src/model/handoff.hpp marks ours).
set -euo pipefail
cd "$(dirname "$0")/.."
tools/deps.sh
cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUORVEL_SANITIZE=thread >/dev/null
cmake --build build-tsan --target test_model
ctest --test-dir build-tsan -R test_model --output-on-failure
