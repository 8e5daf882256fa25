#!/usr/bin/env bash
# Installs what is missing, builds, and opens Quorvel on the given .sd2 files or folders.
# Without a display it writes a demo folder of synthetic .sd2 files and detects them with
# sd2wav instead (or detects the given paths).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/tools/deps.sh"
"$root/tools/build.sh" -DQUORVEL_BUILD_TESTS=OFF
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec "$root/build/bin/quorvel" "$@"
fi
echo "No display here, so this runs the command-line tool. On a desktop, open the app with:" >&2
echo "  $root/build/bin/quorvel [FILES OR FOLDERS]" >&2
if [ $# -eq 0 ]; then
  exec "$root/build/bin/sd2wav" demo "$root/sd2wav-demo"
fi
exec "$root/build/bin/sd2wav" detect "$@"
