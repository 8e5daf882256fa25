#!/usr/bin/env python3
"""Builds the development corpus: real recordings shipped by Debian packages, cut to at
most 30 s, resampled to 44.1 kHz and written as headerless .sd2 data in every encoding and
layout. The truth is in each file's folder: corpus/<format>-<mono|stereo>/<source>--<name>.sd2

Sources (install with: apt-get install ffmpeg pingus-data lincity-ng-data sonic-pi-samples
alsa-utils sound-theme-freedesktop hydrogen-data): game music (pingus, lincity-ng),
instrument samples (sonic-pi, hydrogen), speech (alsa-utils), system sounds (freedesktop).
wesnoth-music is deliberately not used: it is kept aside for independent evaluation.
"""
import argparse
import concurrent.futures
import os
import pathlib
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


def convert(job):
    source, path, fmt, layout, out = job
    if out.exists():
        return True
    tmp = out.with_suffix(".part")
    result = subprocess.run(
        ["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", str(path), "-t", "30", "-ar", "44100",
         "-ac", str(LAYOUTS[layout]), "-f", fmt, str(tmp)],
        capture_output=True)
    if result.returncode != 0 or tmp.stat().st_size == 0:
        tmp.unlink(missing_ok=True)
        return False
    tmp.rename(out)
    return True


def build(corpus):
    jobs = []
    for source, path in recordings():
        stem = f"{source}--{path.stem}".replace(" ", "_")
        for fmt in FORMATS:
            for layout in LAYOUTS:
                folder = corpus / f"{fmt}-{layout}"
                folder.mkdir(parents=True, exist_ok=True)
                jobs.append((source, path, fmt, layout, folder / f"{stem}.sd2"))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        done = sum(pool.map(convert, jobs))
    print(f"corpus: {done} of {len(jobs)} files in {corpus}", file=sys.stderr)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--corpus", default=pathlib.Path(__file__).parent / "corpus", type=pathlib.Path)
    build(parser.parse_args().corpus)
