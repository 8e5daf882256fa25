#!/usr/bin/env bash
# Configures and builds into build/ (Release). Extra arguments go to cmake's configure step.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build build --parallel
