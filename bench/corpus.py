#!/usr/bin/env python3
"""Builds the development corpus: real recordings shipped by Debian packages, cut to at
most 30 s, resampled to 44.1 kHz and written as headerless .sd2 data in every encoding and
layout. The truth is in each file's folder: corpus/<format>-<mono|stereo>/<source>--<name>.sd2

Every fourth recording is also written near-silent (attenuated by 60 to 80 dB, the 16-bit
encodings dithered as a recorder would: source "quiet-<source>") and as dual-mono stereo (one
channel and a copy 1 to 13 samples later through a low-pass, as two close microphones give:
"dualmono-<source>"); synthetic room tone (low-passed brown or pink noise with a faint hum,
peaking around -55 to -75 dBFS: "roomtone") joins the near-silent material.

Sources (install with: apt-get install ffmpeg pingus-data lincity-ng-data sonic-pi-samples
alsa-utils sound-theme-freedesktop hydrogen-data): game music (pingus, lincity-ng),
instrument samples (sonic-pi, hydrogen), speech (alsa-utils), system sounds (freedesktop).
wesnoth-music is deliberately not used: it is kept aside for independent evaluation.
"""
import argparse
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

SOURCES = {
    "pingus": ("/usr/share/games/pingus/data/music", 40),
    "lincity": ("/usr/share/games/lincity-ng", 40),
    "sonicpi": ("/usr/share/sonic-pi", 60),
    "hydrogen": ("/usr/share/hydrogen/data/drumkits", 40),
    "alsa": ("/usr/share/sounds/alsa", 20),
    "freedesktop": ("/usr/share/sounds/freedesktop", 20),
}
AUDIO = {".ogg", ".oga", ".wav", ".flac", ".it", ".xm", ".s3m", ".mod"}
FORMATS = ["s16be", "s24be", "s16le", "s24le"]
LAYOUTS = {"mono": 1, "stereo": 2}
DERIVED_EVERY = 4
ATTENUATIONS_DB = [60, 65, 70, 75, 80]
DELAYS = [1, 2, 3, 5, 8, 13]
CUTOFFS = [3000, 6000, 10000]
ROOM_TONES = 12


def recordings():
    """Up to N files per source, spread evenly over its sorted list so every kit/album shows up."""
    for source, (root, limit) in SOURCES.items():
        files = sorted(p for p in pathlib.Path(root).rglob("*") if p.suffix.lower() in AUDIO and p.is_file())
        if not files:
            print(f"corpus: no recordings under {root} (package not installed?)", file=sys.stderr)
            continue
        step = max(1, len(files) // limit)
        for path in files[::step][:limit]:
            yield source, path


def plain(path, fmt, layout):
    return ["-i", str(path), "-t", "30", "-ar", "44100", "-ac", str(LAYOUTS[layout])]


def to_format(fmt):
    """The last step of a filter chain: 16-bit output gets triangular dither, as a recorder's would."""
    return "aresample=osf=s16:dither_method=triangular" if fmt.startswith("s16") else "anull"


def peak_db(path):
    """The recording's peak in its first 30 s, so that an attenuation lands on a known peak."""
    run = subprocess.run(["ffmpeg", "-v", "info", "-nostdin", "-i", str(path), "-t", "30", "-af", "volumedetect",
                          "-f", "null", "-"], capture_output=True, text=True)
    found = re.search(r"max_volume: (-?[0-9.]+) dB", run.stderr)
    return float(found.group(1)) if found else 0.0


def quiet(path, fmt, layout, attenuation):
    """Peaking at -attenuation dBFS."""
    def args():
        gain = -attenuation - peak_db(path)
        chain = f"aresample=44100,aformat=channel_layouts={layout},volume={gain:.2f}dB,{to_format(fmt)}"
        return ["-i", str(path), "-t", "30", "-af", chain]
    return args


def dual_mono(path, delay, cutoff):
    graph = (f"[0:a]aresample=44100,aformat=channel_layouts=mono,asplit=2[l][r];"
             f"[r]adelay=delays={delay}S,lowpass=f={cutoff},volume=0.9[rr];[l][rr]amerge=inputs=2")
    return ["-i", str(path), "-t", "30", "-filter_complex", graph]


def room_tone(index, fmt, layout):
    color = ["brown", "pink"][index % 2]
    amplitude = [0.0003, 0.001, 0.003][index % 3]
    hum = amplitude * [0.1, 0.5][index // 6 % 2]
    noise = lambda seed: f"anoisesrc=c={color}:a={amplitude}:r=44100:s={seed}:d=20,lowpass=f=4000"
    graph = (f"{noise(index * 2 + 1)}[a];{noise(index * 2 + 2)}[b];sine=f=50:r=44100:d=20,volume={hum:.6f}[h];"
             f"[a][h]amix=inputs=2:normalize=0,asplit=2[a1][a2];[b][a2]amix=inputs=2:weights=1 0.5:normalize=0[bb];"
             f"[a1][bb]join=inputs=2:channel_layout=stereo,aformat=channel_layouts={layout},{to_format(fmt)}")
    return ["-filter_complex", graph]


def convert(job):
    args, fmt, out = job
    if out.exists():
        return True
    tmp = out.with_suffix(".part")
    if callable(args):
        args = args()
    result = subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", *args, "-f", fmt, str(tmp)], capture_output=True)
    if result.returncode != 0 or tmp.stat().st_size == 0:
        tmp.unlink(missing_ok=True)
        return False
    tmp.rename(out)
    return True


def build(corpus):
    jobs = []

    def add(args, fmt, layout, name):
        folder = corpus / f"{fmt}-{layout}"
        folder.mkdir(parents=True, exist_ok=True)
        jobs.append((args, fmt, folder / f"{name}.sd2".replace(" ", "_")))

    for i, (source, path) in enumerate(recordings()):
        derived = i % DERIVED_EVERY == 0
        for fmt in FORMATS:
            for layout in LAYOUTS:
                add(plain(path, fmt, layout), fmt, layout, f"{source}--{path.stem}")
                if derived:
                    attenuation = ATTENUATIONS_DB[i // DERIVED_EVERY % len(ATTENUATIONS_DB)]
                    add(quiet(path, fmt, layout, attenuation), fmt, layout, f"quiet-{source}--{path.stem}")
            if derived:
                delay, cutoff = DELAYS[i // DERIVED_EVERY % len(DELAYS)], CUTOFFS[i // DERIVED_EVERY % len(CUTOFFS)]
                add(dual_mono(path, delay, cutoff), fmt, "stereo", f"dualmono-{source}--{path.stem}")
    for index in range(ROOM_TONES):
        for fmt in FORMATS:
            for layout in LAYOUTS:
                add(room_tone(index, fmt, layout), fmt, layout, f"roomtone--{index:02}")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        done = sum(pool.map(convert, jobs))
    print(f"corpus: {done} of {len(jobs)} files in {corpus}", file=sys.stderr)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--corpus", default=pathlib.Path(__file__).parent / "corpus", type=pathlib.Path)
    build(parser.parse_args().corpus)
