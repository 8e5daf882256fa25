#!/usr/bin/env bash
# Screenshots of the window under Xvfb on a 1920×1080 screen, once with OpenGL and once with
# the software renderer: first launch, at rest, with a queue, the rows' pictures of a right
# and a wrong reading, the source-format menu, a row's tooltips, the minimum size, a run, the
# question on closing during it, and its end with a failure. Usage: tools/screenshots.sh [FOLDER]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
out="${1:-$root/build/screenshots}"
"$root/tools/deps.sh" xvfb xauth libgl1-mesa-dri
"$root/tools/build.sh" >/dev/null
xvfb-run -a -s "-screen 0 1920x1080x24 +extension GLX" "$root/build/bin/quorvel-screenshots" "$out"
QT_QUICK_BACKEND=software xvfb-run -a -s "-screen 0 1920x1080x24" "$root/build/bin/quorvel-screenshots" "$out"
