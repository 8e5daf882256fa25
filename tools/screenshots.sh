#!/usr/bin/env bash
# Screenshots of the window at rest, with a queue, during a run and after it, under Xvfb:
# once with OpenGL and once with the software renderer. Usage: tools/screenshots.sh [FOLDER]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
out="${1:-$root/build/screenshots}"
"$root/tools/deps.sh" xvfb xauth libgl1-mesa-dri
"$root/tools/build.sh" >/dev/null
xvfb-run -a -s "-screen 0 1280x1024x24 +extension GLX" "$root/build/bin/quorvel-screenshots" "$out"
QT_QUICK_BACKEND=software xvfb-run -a -s "-screen 0 1280x1024x24" "$root/build/bin/quorvel-screenshots" "$out"
