#!/usr/bin/env bash
# Peak memory and the longest main-thread stall while N files are queued, detected and
# bounced in the real window (bench_queue), under Xvfb and GNU time. Usage:
#   bench/queue_scale.sh [N...]      (default: 5000 50000)
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
bench="${BENCH_QUEUE:-$here/../build-bench/bin/bench_queue}"
[ -x "$bench" ] || { echo "build bench_queue first (QUORVEL_BUILD_BENCH=ON)" >&2; exit 1; }
for n in "${@:-5000 50000}"; do
  for count in $n; do
    echo "== $count files"
    xvfb-run -a -s "-screen 0 1920x1080x24 +extension GLX" \
      /usr/bin/time -f "GNU time: %M KB max resident, %e s wall, %U s user, %S s system" "$bench" "$count"
  done
done
