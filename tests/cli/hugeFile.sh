#!/usr/bin/env bash
# A source past 4 GiB: the WAV must come out as RF64 with every frame, its bext and MD5 chunks
# and the report's checksums right, and peak memory must stay under 64 MB, since the
# conversion streams. Needs ~13 GB of disk, so it runs only on
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

/usr/bin/time -f "%M" -o "$work/peak" "$sd2wav" convert -j 1 --json --rate 44100 --depth 16 --channels preserve \
  -o "$work/out" "$work/huge.sd2" >"$work/report.jsonl"
wav="$work/out/huge_44.1kHz_16bit_stereo.wav"
[ "$(head -c 4 "$wav")" = "RF64" ] || { echo "FAIL: not RF64"; exit 1; }
read -r got rate channels < <(ffprobe -v error -show_entries stream=duration_ts,sample_rate,channels -of csv=p=0 "$wav" |
  awk -F, '{print $3, $1, $2}')
[ "$got" = "$frames" ] && [ "$rate" = 44100 ] && [ "$channels" = 2 ] ||
  { echo "FAIL: read back $got frames at $rate Hz, $channels channels; expected $frames"; exit 1; }

# The chunks, read on their own: bext before the data and MD5 after it, the MD5 chunk (a little-endian
# 128-bit number) that of the data's payload, which the report gives too, with the source's SHA-256.
python3 - "$wav" "$work/huge.sd2" "$work/report.jsonl" "$frames" <<'PY' || exit 1
import hashlib, json, os, struct, sys
wav, source, report, frames = sys.argv[1:]
line = json.loads(open(report).readline())
with open(wav, "rb") as f:
    f.seek(12)
    ids, md5_chunk, data = [], None, None
    while True:
        head = f.read(8)
        if len(head) < 8:
            break
        cid, size = head[:4].decode("latin-1"), struct.unpack("<I", head[4:])[0]
        if cid == "ds64":
            body = f.read(size)
            riff_size, data_size = struct.unpack("<QQ", body[:16])
            f.seek(-size, 1)
        if cid == "data" and size == 0xFFFFFFFF:
            size = data_size
        ids.append(cid)
        if cid == "MD5 ":
            md5_chunk = f.read(16)[::-1].hex()
            f.seek(-16, 1)
        if cid == "data":
            digest = hashlib.md5()
            left = size
            while left:
                block = f.read(min(left, 1 << 24))
                digest.update(block)
                left -= len(block)
            data = digest.hexdigest()
        f.seek(size + (size & 1) - (size if cid == "data" else 0), 1)
sha = hashlib.sha256()
with open(source, "rb") as f:
    for block in iter(lambda: f.read(1 << 24), b""):
        sha.update(block)
checks = {"chunks": (ids, ["ds64", "fmt ", "bext", "data", "MD5 "]), "RF64 size": (riff_size, os.path.getsize(wav) - 8),
          "MD5 chunk": (md5_chunk, data),
          "report audioMD5": (line["audioMD5"], data), "report frames": (line["frames"], int(frames)), "report sha256": (line["sha256"], sha.hexdigest())}
failed = [f"FAIL: {name}: {got} (expected {want})" for name, (got, want) in checks.items() if got != want]
print("\n".join(failed) or f"chunks {' '.join(ids)}; MD5 {data}")
sys.exit(1 if failed else 0)
PY
"$sd2wav" verify "$wav" || { echo "FAIL: sd2wav verify"; exit 1; }
mediainfo "$wav" | grep -q "Description *: huge.sd2, 16-bit BE, stereo, 44.1 kHz (detected)" ||
  { echo "FAIL: mediainfo shows no bext description"; exit 1; }
peak_kb=$(cat "$work/peak")
limit_kb=$((64 * 1024))
[ "$peak_kb" -le "$limit_kb" ] || { echo "FAIL: peak memory ${peak_kb} KB over ${limit_kb} KB"; exit 1; }
echo "passed: $frames frames in RF64, peak memory $((peak_kb / 1024)) MB (limit $((limit_kb / 1024)) MB)"
