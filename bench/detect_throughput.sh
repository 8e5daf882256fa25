#!/usr/bin/env bash
# Files per second of `sd2wav detect` over 200 typical corpus files, with -j 1 and -j 2, and
# the CPU time (user + system) each run takes, which other work on the machine barely moves.
# Needs hyperfine, python3 and the corpus packages (see bench/corpus.py).
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
sd2wav="${SD2WAV:-$here/../build/bin/sd2wav}"
corpus="$here/corpus"
[ -d "$corpus" ] || python3 "$here/corpus.py" --corpus "$corpus"

set200="$(mktemp -d)"
trap 'rm -rf "$set200"' EXIT
# Every seventh file of the sorted corpus: all sources, encodings and layouts.
find "$corpus" -name '*.sd2' | sort | awk 'NR % 7 == 0 && ++k <= 200' | nl -w3 -n rz |
  while read -r n path; do ln -s "$path" "$set200/$n.sd2"; done
count=$(find "$set200" -name '*.sd2' | wc -l)
size=$(find -L "$set200" -name '*.sd2' -printf '%s\n' | awk '{s += $1} END {printf "%.0f", s / 1e6}')
echo "$count files, $size MB in all; load average $(cut -d' ' -f1-3 /proc/loadavg)"

hyperfine --warmup 2 --runs 10 --export-json "$set200/times.json" \
  "$sd2wav detect -j 1 $set200" "$sd2wav detect -j 2 $set200" >/dev/null
python3 - "$set200/times.json" "$count" <<'PY'
import json, sys
runs, count = json.load(open(sys.argv[1]))["results"], int(sys.argv[2])
for r in runs:
    jobs = r["command"].split("-j ")[1].split()[0]
    print(f"-j {jobs}: {r['mean'] * 1000:7.1f} ms ± {r['stddev'] * 1000:.1f}  ->  {count / r['mean']:6.0f} files/s, "
          f"CPU {(r['user'] + r['system']) * 1000:7.1f} ms")
PY
