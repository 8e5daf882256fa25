#!/usr/bin/env bash
# Launches quorvel with one .sd2 path, hands it a second through a second launch, dismisses
# the volume warning with Return, bounces with Return, and checks both WAV files.
# Usage: quorvelE2E.sh QUORVEL SD2WAV   (run under a display, e.g. xvfb-run)
set -euo pipefail
quorvel=$1 sd2wav=$2
work=$(mktemp -d)
trap 'kill "$app" 2>/dev/null || true; rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work/config XDG_RUNTIME_DIR=$work/runtime QT_QPA_PLATFORM=xcb
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"

"$sd2wav" demo "$work/demo" >/dev/null
cp "$work/demo/demo s16be stereo.sd2" "$work/first take.sd2"
cp "$work/demo/demo s24le mono.sd2" "$work/second take.sd2"

fail() { echo "FAIL: $*" >&2; exit 1; }

"$quorvel" "$work/first take.sd2" &
app=$!
window=$(timeout 20 xdotool search --sync --name "^SD2 Quorvel$" | head -n 1) || fail "no window appeared"

# A second launch hands its path to the running window and exits at once.
timeout 10 "$quorvel" "$work/second take.sd2" || fail "the second launch did not hand over and exit"
kill -0 "$app" || fail "the first instance is gone"

sleep 2 # detection of both files
xdotool windowfocus --sync "$window"
xdotool key --window "$window" Return # "Got it"
sleep 1
xdotool key --window "$window" Return # BOUNCE

out=$work/_sd2_outputs
for _ in $(seq 60); do
  [ "$(find "$out" -name '*.wav' 2>/dev/null | wc -l)" -ge 2 ] && break
  sleep 0.5
done
for name in "first take_48kHz_24bit_stereo.wav" "second take_48kHz_24bit_stereo.wav"; do
  [ -f "$out/$name" ] || fail "missing $name (found: $(ls "$out" 2>/dev/null))"
  frames=$(ffprobe -v error -show_entries stream=duration_ts,sample_rate,channels -of csv=p=0 "$out/$name")
  [ "$frames" = "48000,2,192000" ] || fail "$name reads back as '$frames'"
done
echo "passed: both takes bounced and read back"
