#!/usr/bin/env python3
"""Reports how often sd2wav detect gets the encoding and the layout right on the corpus
(built by corpus.py when missing): per encoding and layout, per class of material, and how
many wrong answers said "confident". With --baseline, the same for another build of sd2wav,
and every file the baseline got right that this build gets wrong."""
import argparse
import collections
import json
import pathlib
import subprocess
import sys

HERE = pathlib.Path(__file__).parent

# Source name (the part of a file name before "--") to class of material.
CLASSES = {"pingus": "music", "lincity": "music", "alsa": "speech", "sonicpi": "instruments",
           "hydrogen": "instruments", "freedesktop": "effects", "roomtone": "near-silent"}


def material(source):
    if source.startswith("quiet-"):
        return "near-silent"
    if source.startswith("dualmono-"):
        return "dual-mono"
    return CLASSES.get(source, source)


def detect(sd2wav, corpus):
    """One answer per file: (folder/name) -> dict with the truth and what was detected."""
    run = subprocess.run([str(sd2wav), "detect", "--json", str(corpus)], capture_output=True, text=True)
    if run.returncode == 2:
        sys.exit(run.stderr)
    answers = {}
    for line in run.stdout.splitlines():
        row = json.loads(line)
        path = pathlib.Path(row["path"])
        fmt, layout = path.parent.name.split("-")
        key = f"{path.parent.name}/{path.name}"
        answer = {"fmt": fmt, "layout": layout, "class": material(path.name.split("--")[0]),
                  "enc_ok": False, "lay_ok": False, "confidence": None, "status": row.get("error", "")}
        if "error" not in row:
            answer.update(enc_ok=row["format"] == fmt, lay_ok=row["channels"] == (1 if layout == "mono" else 2),
                          confidence=row["confidence"], status=f"{row['status']} (corr {row['corr']:.4f})")
        if silent(path):
            answer["class"] = "silent"
        answers[key] = answer
    return answers


def silent(path):
    """Digital silence (every byte within 3 of zero) holds no encoding or layout to find."""
    return not path.read_bytes().translate(None, bytes([0, 1, 2, 3, 253, 254, 255]))


def percent(part, whole):
    return f"{100 * part / whole:.1f}%" if whole else "-"


def report(title, answers):
    quiet = [k for k, a in answers.items() if a["class"] == "silent"]
    answers = {k: a for k, a in answers.items() if a["class"] != "silent"}
    print(f"\n{title}: {len(answers)} files ({len(quiet)} digitally silent files left out)")
    print(f"{'encoding':8} {'layout':7} {'files':>6} {'encoding ok':>12} {'layout ok':>10}")
    tally = collections.defaultdict(lambda: [0, 0, 0])
    for a in answers.values():
        t = tally[(a["fmt"], a["layout"])]
        t[0] += 1
        t[1] += a["enc_ok"]
        t[2] += a["lay_ok"]
    for (fmt, layout), (n, enc, lay) in sorted(tally.items()):
        print(f"{fmt:8} {layout:7} {n:6} {percent(enc, n):>12} {percent(lay, n):>10}")

    print(f"\n{'class':12} {'files':>6} {'encoding ok':>12} {'layout ok':>10} {'wrong':>6} {'confident':>10}")
    by_class = collections.defaultdict(list)
    for a in answers.values():
        by_class[a["class"]].append(a)
    for name, group in sorted(by_class.items()) + [("all", list(answers.values()))]:
        n = len(group)
        wrong = [a for a in group if not (a["enc_ok"] and a["lay_ok"])]
        confident = sum(a["confidence"] == "confident" for a in wrong)
        print(f"{name:12} {n:6} {percent(sum(a['enc_ok'] for a in group), n):>12} "
              f"{percent(sum(a['lay_ok'] for a in group), n):>10} {len(wrong):6} {confident:10}")
    wrong = [a for a in answers.values() if not (a["enc_ok"] and a["lay_ok"])]
    confident = sum(a["confidence"] == "confident" for a in wrong)
    print(f"wrong answers labelled confident: {confident} of {len(wrong)} ({percent(confident, len(wrong))}); "
          f"{percent(confident, len(answers))} of all files")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--sd2wav", default=HERE.parent / "build" / "bin" / "sd2wav")
    parser.add_argument("--baseline", type=pathlib.Path, help="another sd2wav to compare with")
    parser.add_argument("--corpus", default=HERE / "corpus", type=pathlib.Path)
    parser.add_argument("--misses", action="store_true", help="list every file detected wrongly")
    args = parser.parse_args()

    if not args.corpus.exists():
        subprocess.run([sys.executable, HERE / "corpus.py", "--corpus", args.corpus], check=True)

    answers = detect(args.sd2wav, args.corpus)
    if args.baseline:
        before = detect(args.baseline, args.corpus)
        report(f"before ({args.baseline})", before)
        report(f"after ({args.sd2wav})", answers)
        worse = [k for k, a in answers.items() if k in before and before[k]["enc_ok"] and before[k]["lay_ok"]
                 and not (a["enc_ok"] and a["lay_ok"])]
        print(f"\nright before, wrong after: {len(worse)}")
        for key in sorted(worse):
            print(f"  {key}: {before[key]['status']} -> {answers[key]['status']}")
    else:
        report(str(args.sd2wav), answers)
    if args.misses:
        print("\nmisses:")
        for key, a in sorted(answers.items()):
            if not (a["enc_ok"] and a["lay_ok"]):
                print(f"  {key} [{a['class']}]: {a['status']}")


if __name__ == "__main__":
    main()
