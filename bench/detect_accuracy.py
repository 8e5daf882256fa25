#!/usr/bin/env python3
"""Reports how often sd2wav detect gets the encoding and the layout right on the corpus
(built by corpus.py when missing), per encoding and layout, and lists the misses."""
import argparse
import collections
import json
import pathlib
import subprocess
import sys

HERE = pathlib.Path(__file__).parent


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--sd2wav", default=HERE.parent / "build" / "bin" / "sd2wav")
    parser.add_argument("--corpus", default=HERE / "corpus", type=pathlib.Path)
    parser.add_argument("--misses", action="store_true", help="list every file detected wrongly")
    args = parser.parse_args()

    if not args.corpus.exists():
        subprocess.run([sys.executable, HERE / "corpus.py", "--corpus", args.corpus], check=True)

    run = subprocess.run([str(args.sd2wav), "detect", "--json", str(args.corpus)], capture_output=True, text=True)
    if run.returncode == 2:
        sys.exit(run.stderr)

    tally = collections.defaultdict(lambda: [0, 0, 0])  # files, encoding right, layout right
    misses = []
    for line in run.stdout.splitlines():
        row = json.loads(line)
        path = pathlib.Path(row["path"])
        fmt, layout = path.parent.name.split("-")
        if "error" in row:
            misses.append(f"{path}: {row['error']}")
            tally[(fmt, layout)][0] += 1
            continue
        channels = 1 if layout == "mono" else 2
        enc_ok, lay_ok = row["format"] == fmt, row["channels"] == channels
        t = tally[(fmt, layout)]
        t[0] += 1
        t[1] += enc_ok
        t[2] += lay_ok
        if not (enc_ok and lay_ok):
            misses.append(f"{path.parent.name}/{path.name}: {row['status']} (corr {row['corr']:.4f})")

    print(f"{'encoding':8} {'layout':7} {'files':>6} {'encoding ok':>12} {'layout ok':>10}")
    total = [0, 0, 0]
    for (fmt, layout), (n, enc, lay) in sorted(tally.items()):
        print(f"{fmt:8} {layout:7} {n:6} {100 * enc / n:11.1f}% {100 * lay / n:9.1f}%")
        total = [a + b for a, b in zip(total, (n, enc, lay))]
    n, enc, lay = total
    print(f"{'all':16} {n:6} {100 * enc / n:11.1f}% {100 * lay / n:9.1f}%")
    if args.misses:
        print("\n".join(["", "misses:"] + misses))


if __name__ == "__main__":
    main()
