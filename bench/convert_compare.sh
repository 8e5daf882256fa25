#!/usr/bin/env bash
# sd2wav convert side by side with sox and ffmpeg on the same input: 44.1 kHz s16be stereo
# made from real recordings (Debian's lincity-ng and pingus music), 10 and 60 minutes long,
# converted to 48 kHz / 24-bit. Reports wall time, CPU time (user + system) and peak memory
# (maximum resident set) of each tool, and the ratios the project aims for.
#
#   bench/convert_compare.sh                 # both lengths, 3 runs per tool
#   RUNS=5 MINUTES="10" bench/convert_compare.sh
#
# Each tool runs RUNS times and the run with the median wall time is shown; ffmpeg's
# two-pass loudnorm is slow (about 20 s per 10 minutes of audio) and runs once. A summary
# puts the lengths side by side against the targets.
# Timings are only comparable on an otherwise idle machine: the load average is printed
# before and after; rerun if it was high.
#
# Needs: a Release build of sd2wav (build/bin/sd2wav, or SD2WAV=path), ffmpeg, sox, python3,
# GNU time (/usr/bin/time, package "time"), bc, and the packages lincity-ng-data and
# pingus-data. Disk: about 3 GB free under TMPDIR for the 60-minute case.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
sd2wav="${SD2WAV:-$here/../build/bin/sd2wav}"
runs="${RUNS:-3}"
minutes_list="${MINUTES:-10 60}"

missing=()
for tool in ffmpeg sox python3 bc; do command -v "$tool" >/dev/null || missing+=("$tool"); done
[ -x /usr/bin/time ] || missing+=("/usr/bin/time (package time)")
[ -x "$sd2wav" ] || missing+=("sd2wav at $sd2wav (build it, or set SD2WAV)")
[ -d /usr/share/games/lincity-ng/music ] || missing+=("lincity-ng-data")
[ -d /usr/share/games/pingus/data/music ] || missing+=("pingus-data")
if [ ${#missing[@]} -gt 0 ]; then
  printf 'missing: %s\n' "${missing[@]}" >&2
  exit 1
fi
cache="$(dirname "$sd2wav")/../CMakeCache.txt"
build_type="$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$cache" 2>/dev/null || true)"
[ -z "$build_type" ] || [ "$build_type" = Release ] || echo "warning: $sd2wav is a $build_type build" >&2

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

echo "conversion benchmark: $(nproc) cores, load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
echo "sd2wav: $sd2wav (${build_type:-unknown build type}); $runs runs per tool, median wall time shown"

# Each recording decoded on its own (their formats differ) and joined; looped to length below.
find /usr/share/games/lincity-ng/music /usr/share/games/pingus/data/music -type f \
  \( -name '*.ogg' -o -name '*.it' -o -name '*.s3m' \) | sort | while read -r f; do
  ffmpeg -v fatal -nostdin -i "$f" -ar 44100 -ac 2 -f s16be - || true
done > "$work/all.raw"
[ -s "$work/all.raw" ] || { echo "no audio decoded from lincity-ng-data and pingus-data" >&2; exit 1; }

# Runs a command under GNU time; prints "wall cpu peakKB".
measure_once() {
  if ! /usr/bin/time -f "%e %U %S %M" -o "$work/time" "$@" >"$work/log" 2>&1; then
    echo "failed: $*" >&2
    tail -5 "$work/log" >&2
    exit 1
  fi
  awk '{printf "%.2f %.2f %d\n", $1, $2 + $3, $4}' "$work/time"
}
# The run with the median wall time of n; outputs of the previous run are removed first,
# outside the timing, so no tool pays for deleting or overwriting a large file.
measure() {
  local n=$1
  shift
  for _ in $(seq "$n"); do
    rm -rf "$work/out" "$work"/*.wav
    measure_once "$@"
  done | sort -n | awk '{line[NR] = $0} END {print line[int((NR + 1) / 2)]}'
}

# --stereo: the other tools are told the layout too, so all do the same work.
run_sd2wav() { "$sd2wav" convert --stereo --rate 48000 --depth 24 -o "$work/out" "$@" "$input"; }
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
export sd2wav work

ratio() { echo "$1 / $2" | bc -l | xargs printf "%.2f"; }
mb() { echo "$1 / 1024" | bc -l | xargs printf "%.1f"; }
summary=()

for minutes in $minutes_list; do
  input="$work/session.sd2"
  export input
  ffmpeg -v fatal -nostdin -f s16be -ar 44100 -ac 2 -stream_loop -1 -i "$work/all.raw" -t $((minutes * 60)) \
    -f s16be "$input"
  echo
  echo "$minutes-minute file: $(du -m "$input" | cut -f1) MB of 44.1 kHz s16be stereo, converted to 48 kHz / 24-bit"
  echo "tool                           wall s   cpu s   peak MB"
  declare -A wall=() cpu=() mem=()
  for name in sd2wav sox ffmpeg-soxr sd2wav-normalize loudnorm-2pass; do
    case $name in
      sd2wav) n=$runs cmd=(bash -c run_sd2wav) label="sd2wav convert" ;;
      sox) n=$runs cmd=(bash -c run_sox) label="sox ... rate -v" ;;
      ffmpeg-soxr) n=$runs cmd=(bash -c run_ffmpeg) label="ffmpeg soxr precision=28" ;;
      sd2wav-normalize) n=$runs cmd=(bash -c 'run_sd2wav --normalize') label="sd2wav convert --normalize" ;;
      loudnorm-2pass) n=1 cmd=(bash -c run_loudnorm) label="ffmpeg loudnorm, two passes" ;;
    esac
    read -r w c m < <(measure "$n" "${cmd[@]}") || true
    [ -n "${m:-}" ] || { echo "$label did not run to the end" >&2; exit 1; }
    wall[$name]=$w cpu[$name]=$c mem[$name]=$m
    rm -rf "$work/out" "$work"/*.wav
    printf "%-28s %8.2f %7.2f %9s\n" "$label" "$w" "$c" "$(mb "$m")"
  done

  plain_ratio=$(ratio "${wall[sd2wav]}" "${wall[ffmpeg-soxr]}")
  normalised_ratio=$(ratio "${wall[sd2wav-normalize]}" "${wall[loudnorm-2pass]}")
  echo "plain vs ffmpeg-soxr:          wall ${plain_ratio}×  cpu $(ratio "${cpu[sd2wav]}" "${cpu[ffmpeg-soxr]}")×  (target: wall ≤ 0.6)"
  echo "plain vs sox rate -v:          wall $(ratio "${wall[sd2wav]}" "${wall[sox]}")×  cpu $(ratio "${cpu[sd2wav]}" "${cpu[sox]}")×"
  echo "normalised vs 2-pass loudnorm: wall ${normalised_ratio}×  cpu $(ratio "${cpu[sd2wav-normalize]}" "${cpu[loudnorm-2pass]}")×  (target: wall ≤ 0.15)"
  echo "peak memory: plain $(mb "${mem[sd2wav]}") MB, normalised $(mb "${mem[sd2wav-normalize]}") MB (target: < 64 for both, whatever the length)"
  summary+=("$(printf "%7s %10s %15s %20s %20s" "$minutes" "$(mb "${mem[sd2wav]}")" "$(mb "${mem[sd2wav-normalize]}")" \
    "${plain_ratio}×" "${normalised_ratio}×")")
  rm -f "$input"
done
echo
echo "summary: peak MB, and wall time against ffmpeg (targets: < 64 MB; plain ≤ 0.6×, normalised ≤ 0.15×)"
printf "%7s %10s %15s %20s %20s\n" minutes "plain MB" "normalised MB" "plain/ffmpeg-soxr" "normalised/loudnorm"
printf "%s\n" "${summary[@]}"
echo
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
