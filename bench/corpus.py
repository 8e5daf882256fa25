#!/usr/bin/env python3
"""Builds the development corpus: real recordings shipped by Debian packages, cut to at
most 30 s, resampled to 44.1 kHz and written as headerless .sd2 data in every encoding and
layout. The truth is in each file's folder: corpus/<format>-<mono|stereo>/<source>--<name>.sd2

Every fourth recording is also written near-silent (attenuated by 60 to 80 dB, the 16-bit
encodings dithered as a recorder would: source "quiet-<source>") and as dual-mono stereo (one
channel and a copy 1 to 13 samples later through a low-pass, as two close microphones give:
"dualmono-<source>"); synthetic room tone (low-passed brown or pink noise with a faint hum,
peaking around -55 to -75 dBFS: "roomtone") joins the near-silent material.

Session folders (corpus/sessions/<encoding>-<rate>-<n>/) stand for real archives: every file
of a folder shares its encoding and rate (44.1 or 48 kHz), as a Pro Tools session's do.
Some sessions hold mono takes and .L/.R pairs (one of them dual-mono, one whose L half is a
fade down to -70 dB), the others stereo takes and a dual-mono one; each also holds a take
brought down 60 to 80 dB and a room tone. In the big-endian sessions some files keep their
resource fork in an AppleDouble "._NAME" sidecar and the others lost it; in a third of the
sessions the names have no extension ("Audio 1_03", "Gtr_02.L"). A third of the room tones
are white hiss. The truth is in each session's truth.json.

Sources (install with: apt-get install ffmpeg pingus-data lincity-ng-data sonic-pi-samples
alsa-utils sound-theme-freedesktop hydrogen-data): game music (pingus, lincity-ng),
instrument samples (sonic-pi, hydrogen), speech (alsa-utils), system sounds (freedesktop).
wesnoth-music is deliberately not used: it is kept aside for independent evaluation.
"""
import argparse
import concurrent.futures
import os
import pathlib
import json
import re
import struct
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
SESSIONS = 24
SESSION_RATES = [44100, 48000]
SESSION_SECONDS = 12


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


def session_chain(path, rate, shape, fmt, gain_db=None, seconds=SESSION_SECONDS):
    """Cut, resampled to the session's rate, shaped (mono, stereo, one channel of the stereo
    recording, or a delayed low-passed copy of it) and, when quiet, brought down by gain_db
    below the recording's peak."""
    shapes = {"mono": "aformat=channel_layouts=mono", "stereo": "aformat=channel_layouts=stereo",
              "left": "aformat=channel_layouts=stereo,pan=mono|c0=c0",
              "right": "aformat=channel_layouts=stereo,pan=mono|c0=c1",
              "copy": "aformat=channel_layouts=mono,adelay=delays=3S,lowpass=f=6000,volume=0.9",
              "dualmono": "aformat=channel_layouts=mono,asplit=2[l][r];[r]adelay=delays=5S,lowpass=f=6000,"
                          "volume=0.9[rr];[l][rr]amerge=inputs=2"}

    def args():
        chain = [f"aresample={rate}", shapes[shape]]
        if gain_db is not None:
            chain.append(f"volume={-gain_db - peak_db(path):.2f}dB")
        chain.append(to_format(fmt))
        return ["-i", str(path), "-t", str(seconds), "-filter_complex", f"[0:a]{','.join(chain)}"]
    return args


def session_room_tone(index, fmt, layout, rate, cutoff):
    """Room tone at the session's rate; with a high cutoff, white hiss (a preamp's or a tape's
    own noise) as rough as static."""
    args = room_tone(index, fmt, layout)
    graph = args[1].replace("r=44100", f"r={rate}").replace("d=20", f"d={SESSION_SECONDS}")
    if cutoff > 4000:
        graph = re.sub("c=(brown|pink)", "c=white", graph).replace("lowpass=f=4000", f"lowpass=f={cutoff}")
    return [args[0], graph]


def resource_fork(sample_size, rate, channels):
    """A resource fork holding 'STR ' 1000-1002 (bytes per sample, rate, channels), laid out
    as Inside Macintosh describes: header, data (length-prefixed), map with one type."""
    strings = [str(sample_size), f"{rate:.6f}", str(channels)]
    data, offsets = b"", []
    for text in strings:
        body = bytes([len(text)]) + text.encode()
        offsets.append(len(data))
        data += struct.pack(">I", len(body)) + body
    type_list = struct.pack(">H4sHH", 0, b"STR ", len(strings) - 1, 2 + 8)
    refs = b"".join(struct.pack(">hHB", 1000 + i, 0xFFFF, 0) + offsets[i].to_bytes(3, "big") + b"\0" * 4
                    for i in range(len(strings)))
    resource_map = b"\0" * 24 + struct.pack(">HH", 28, 28 + len(type_list) + len(refs)) + type_list + refs
    header = struct.pack(">IIII", 256, 256 + len(data), len(data), len(resource_map))
    return header.ljust(256, b"\0") + data + resource_map


def apple_double(fork):
    finder = b"Sd2fSd2a".ljust(32, b"\0")
    entries = [(9, finder), (2, fork)]
    offset = 26 + 12 * len(entries)
    table, body = b"", b""
    for entry_id, content in entries:
        table += struct.pack(">III", entry_id, offset + len(body), len(content))
        body += content
    return struct.pack(">II", 0x00051607, 0x00020000) + b"\0" * 16 + struct.pack(">H", len(entries)) + table + body


def sessions(corpus, recordings_list):
    """The session folders' jobs, and what to write once they are made: truth files and forks."""
    jobs, forks, truths = [], [], []
    # Takes long enough to hold a session's material: all but the shortest drum hits.
    sources = [r for r in recordings_list if r[0] != "hydrogen" or r[1].stat().st_size > 100000]
    pick = lambda n: sources[n % len(sources)][1]
    for s in range(SESSIONS):
        fmt, rate = FORMATS[s % 4], SESSION_RATES[s // 4 % 2]
        protools, bare = s // 8 != 1, s % 3 == 0
        forked = fmt.endswith("be") and s // 8 != 2
        folder = corpus / "sessions" / f"{fmt}-{rate}-{s:02}"
        folder.mkdir(parents=True, exist_ok=True)
        ext = "" if bare else ".sd2"
        items = {}
        n = s * 11

        def add(name, args, channels, kind, fork_channels=None):
            out = folder / (name + ext)
            jobs.append((args, fmt, out))
            if fork_channels is not None:
                forks.append((folder / ("._" + out.name), resource_fork(int(fmt[1:3]) // 8, rate, fork_channels)))
            if kind != "half":
                items[out.name] = {"channels": channels, "kind": kind}

        def pair(base, left, right, kind, fork):
            add(f"{base}.L", left, 1, "half", 1 if fork else None)
            add(f"{base}.R", right, 1, "half", 1 if fork else None)
            items[f"{base}.L{ext}"] = {"channels": 2, "kind": kind, "pair": f"{base}.R{ext}"}

        fork_at = lambda k: forked and k % 3 == s % 3
        layout = "mono" if protools else "stereo"
        channels = 1 if protools else 2
        for k in range(4 if protools else 6):
            add(f"Audio {k + 1}_0{s % 9 + 1}", session_chain(pick(n + k), rate, layout, fmt), channels, "take",
                channels if fork_at(k) else None)
        quiet_db = ATTENUATIONS_DB[s % len(ATTENUATIONS_DB)]
        add(f"Cue_0{s % 9 + 1}", session_chain(pick(n + 6), rate, layout, fmt, quiet_db), channels, "quiet",
            channels if fork_at(6) else None)
        add("Room Tone", session_room_tone(s % ROOM_TONES, fmt, layout, rate, 20000 if s % 3 == 1 else 4000), channels, "roomtone",
            channels if fork_at(7) else None)
        if protools:
            pair("Gtr_01", session_chain(pick(n + 4), rate, "left", fmt), session_chain(pick(n + 4), rate, "right", fmt),
                 "pair", fork_at(4))
            pair("Vox_02", session_chain(pick(n + 5), rate, "mono", fmt), session_chain(pick(n + 5), rate, "copy", fmt),
                 "dualmono", fork_at(5))
            pair("Pad_03", session_chain(pick(n + 8), rate, "left", fmt, 70), session_chain(pick(n + 8), rate, "right", fmt),
                 "fade", fork_at(8))
        else:
            add("Room Mics", session_chain(pick(n + 5), rate, "dualmono", fmt), 2, "dualmono",
                2 if fork_at(5) else None)
        truths.append((folder / "truth.json", {"format": fmt, "rate": rate, "items": items}))
    return jobs, forks, truths


def convert(job):
    args, fmt, out = job
    if out.exists():
        return True
    tmp = out.with_name(out.name + ".part")
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
    session_jobs, forks, truths = sessions(corpus, list(recordings()))
    jobs += session_jobs
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        done = sum(pool.map(convert, jobs))
    for path, fork in forks:
        path.write_bytes(apple_double(fork))
    for path, truth in truths:
        path.write_text(json.dumps(truth, indent=1))
    print(f"corpus: {done} of {len(jobs)} files in {corpus}", file=sys.stderr)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--corpus", default=pathlib.Path(__file__).parent / "corpus", type=pathlib.Path)
    build(parser.parse_args().corpus)
