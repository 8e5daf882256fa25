#!/usr/bin/env bash
# A source past 4 GiB: the WAV must come out as RF64 with every frame, and peak memory must
# stay under 64 MB, since the conversion streams. Needs ~13 GB of disk, so it runs only on
# request: ctest --test-dir build -L huge
# Usage: hugeFile.sh SD2WAV
set -euo pipefail
sd2wav=$1
work=$(mktemp -d "${HUGE_TMP:-/var/tmp}/quorvel-huge.XXXXXX")
trap 'rm -rf "$work"' EXIT

# 4.5 GB of 16-bit stereo at 44.1 kHz (about 7 hours): one minute of two tones, repeated.
python3 - "$work/huge.sd2" <<'PY'
import math, struct, sys
minute = b"".join(struct.pack(">hh", int(9000 * math.sin(2 * math.pi * k / 40)), int(7000 * math.sin(2 * math.pi * k / 25)))
                  for k in range(44100 * 60))
with open(sys.argv[1], "wb") as f:
    while f.tell() < 4_500_000_000:
        f.write(minute)
PY
bytes=$(stat -c %s "$work/huge.sd2")
frames=$((bytes / 4))

/usr/bin/time -f "%M" -o "$work/peak" "$sd2wav" convert -j 1 --rate 44100 --depth 16 --channels preserve -o "$work/out" "$work/huge.sd2"
wav="$work/out/huge_44.1kHz_16bit_stereo.wav"
[ "$(head -c 4 "$wav")" = "RF64" ] || { echo "FAIL: not RF64"; exit 1; }
read -r got rate channels < <(ffprobe -v error -show_entries stream=duration_ts,sample_rate,channels -of csv=p=0 "$wav" |
  awk -F, '{print $3, $1, $2}')
[ "$got" = "$frames" ] && [ "$rate" = 44100 ] && [ "$channels" = 2 ] ||
  { echo "FAIL: read back $got frames at $rate Hz, $channels channels; expected $frames"; exit 1; }
peak_kb=$(cat "$work/peak")
limit_kb=$((64 * 1024))
[ "$peak_kb" -le "$limit_kb" ] || { echo "FAIL: peak memory ${peak_kb} KB over ${limit_kb} KB"; exit 1; }
echo "passed: $frames frames in RF64, peak memory $((peak_kb / 1024)) MB (limit $((limit_kb / 1024)) MB)"
