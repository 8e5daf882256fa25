#!/usr/bin/env bash
# sd2wav convert side by side with sox and ffmpeg on the same input: a 10-minute 44.1 kHz
# s16be stereo file made from real recordings (Debian's lincity-ng and pingus music).
# Reports wall time, CPU time and peak memory, and the ratios the project aims for.
# Needs: ffmpeg, sox, python3, lincity-ng-data, pingus-data; and a Release build in build/.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
sd2wav="${SD2WAV:-$here/../build/bin/sd2wav}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

input="$work/session.sd2"
# Each recording decoded on its own (their formats differ), joined, then looped to 10 minutes.
find /usr/share/games/lincity-ng/music /usr/share/games/pingus/data/music -type f \
  \( -name '*.ogg' -o -name '*.it' -o -name '*.s3m' \) | sort | while read -r f; do
  ffmpeg -v fatal -nostdin -i "$f" -ar 44100 -ac 2 -f s16be - || true
done > "$work/all.raw"
[ -s "$work/all.raw" ] || { echo "install lincity-ng-data and pingus-data" >&2; exit 1; }
ffmpeg -v fatal -nostdin -f s16be -ar 44100 -ac 2 -stream_loop -1 -i "$work/all.raw" -t 600 -f s16be "$input"
rm "$work/all.raw"
echo "input: $(du -m "$input" | cut -f1) MB, 600 s of 44.1 kHz s16be stereo"

# Runs a command under /usr/bin/time; prints "wall cpu peakKB".
measure() {
  if ! /usr/bin/time -f "%e %U %S %M" -o "$work/time" "$@" >"$work/log" 2>&1; then
    echo "failed: $*" >&2
    tail -5 "$work/log" >&2
    exit 1
  fi
  awk '{printf "%.2f %.2f %d\n", $1, $2 + $3, $4}' "$work/time"
}

# --stereo: the other tools are told the layout too, so all do the same work.
run_sd2wav() { rm -rf "$work/out"; "$sd2wav" convert --stereo --rate 48000 --depth 24 -o "$work/out" "$@" "$input"; }
run_sox() { sox -t raw -r 44100 -e signed -b 16 -B -c 2 "$input" -b 24 "$work/sox.wav" rate -v 48000; }
run_ffmpeg() {
  ffmpeg -v error -nostdin -y -f s16be -ar 44100 -ac 2 -i "$input" \
    -af aresample=48000:resampler=soxr:precision=28 -c:a pcm_s24le "$work/ffmpeg.wav"
}
run_loudnorm() {
  local stats
  stats=$(ffmpeg -nostdin -hide_banner -f s16be -ar 44100 -ac 2 -i "$input" \
    -af loudnorm=I=-14:TP=-1:print_format=json -f null - 2>&1 | sed -n '/^{/,/^}/p')
  local get='import json,sys; d=json.load(sys.stdin); print(":".join(f"measured_{k[6:]}={d[k]}" for k in ("input_i","input_tp","input_lra","input_thresh")) + ":offset=" + d["target_offset"])'
  ffmpeg -v error -nostdin -y -f s16be -ar 44100 -ac 2 -i "$input" \
    -af "loudnorm=I=-14:TP=-1:$(python3 -c "$get" <<<"$stats"):linear=true,aresample=48000:resampler=soxr:precision=28" \
    -ac 2 -c:a pcm_s24le "$work/loudnorm.wav"
}
export -f run_sd2wav run_sox run_ffmpeg run_loudnorm
export sd2wav work input

echo "tool              wall s   cpu s   peak MB"
declare -A wall cpu mem
for name in sd2wav sox ffmpeg sd2wav-normalize loudnorm-2pass; do
  case $name in
    sd2wav) cmd=(bash -c run_sd2wav) ;;
    sox) cmd=(bash -c run_sox) ;;
    ffmpeg) cmd=(bash -c run_ffmpeg) ;;
    sd2wav-normalize) cmd=(bash -c 'run_sd2wav --normalize') ;;
    loudnorm-2pass) cmd=(bash -c run_loudnorm) ;;
  esac
  read -r w c m < <(measure "${cmd[@]}")
  wall[$name]=$w; cpu[$name]=$c; mem[$name]=$m
  printf "%-16s %8.2f %7.2f %9.1f\n" "$name" "$w" "$c" "$(echo "$m / 1024" | bc -l)"
done

float_mb=$(echo "600 * 48000 * 2 * 4 / 1048576" | bc -l)
ratio() { echo "$1 / $2" | bc -l | xargs printf "%.2f"; }
echo
echo "plain vs ffmpeg-soxr:       wall $(ratio "${wall[sd2wav]}" "${wall[ffmpeg]}")×  cpu $(ratio "${cpu[sd2wav]}" "${cpu[ffmpeg]}")×  (target ≤ 1)"
echo "plain vs sox rate -v:       wall $(ratio "${wall[sd2wav]}" "${wall[sox]}")×  cpu $(ratio "${cpu[sd2wav]}" "${cpu[sox]}")×  (target ≤ 0.55)"
echo "normalise vs 2-pass loudnorm: wall $(ratio "${wall[sd2wav-normalize]}" "${wall[loudnorm-2pass]}")×  cpu $(ratio "${cpu[sd2wav-normalize]}" "${cpu[loudnorm-2pass]}")×  (target ≤ 0.15)"
echo "peak memory / output floats ($(printf %.0f "$float_mb") MB): plain $(ratio "$(echo "${mem[sd2wav]} / 1024" | bc -l)" "$float_mb")×  normalise $(ratio "$(echo "${mem[sd2wav-normalize]} / 1024" | bc -l)" "$float_mb")×  (target ≤ 2.5)"
