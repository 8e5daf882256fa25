#!/usr/bin/env bash
# Installs what is missing, builds, and detects the given .sd2 files or folders.
# With no paths it writes a demo folder of synthetic .sd2 files and detects those.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/tools/deps.sh"
"$root/tools/build.sh" -DQUORVEL_BUILD_TESTS=OFF
if [ $# -eq 0 ]; then
  exec "$root/build/bin/sd2wav" demo "$root/sd2wav-demo"
fi
exec "$root/build/bin/sd2wav" detect "$@"
