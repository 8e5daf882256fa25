#!/usr/bin/env python3
"""Reports how often sd2wav detect gets the encoding and the layout right on the corpus
(built by corpus.py when missing): per encoding and layout, per class of material, and how
many wrong answers said "confident". The single files are judged one by one
(--no-session: their folders hold one encoding and layout by construction, no session
would). The session folders are judged per item (a file, or a split-stereo pair), rate
included, with and without session evidence, and with --convert also converted, counting
the items refused. With --baseline, the same for another build of sd2wav, and every file
the baseline got right that this build gets wrong."""
import argparse
import collections
import json
import pathlib
import subprocess
import sys
import tempfile

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


def rows(sd2wav, command, paths, session=True, extra=()):
    """sd2wav's JSON lines, by path. A build without session evidence takes no --no-session."""
    flags = [] if session or not knows_sessions(sd2wav) else ["--no-session"]
    run = subprocess.run([str(sd2wav), command, "--json", *flags, *extra, *map(str, paths)], capture_output=True,
                         text=True)
    if run.returncode == 2:
        sys.exit(run.stderr)
    return {pathlib.Path(row["path"]): row for row in map(json.loads, run.stdout.splitlines())}


def knows_sessions(sd2wav):
    return subprocess.run([str(sd2wav), "detect", "--no-session", "/nonexistent"], capture_output=True).returncode != 2


def detect(sd2wav, corpus):
    """One answer per file: (folder/name) -> dict with the truth and what was detected."""
    folders = sorted(p for p in corpus.iterdir() if p.is_dir() and p.name != "sessions")
    answers = {}
    if not folders:
        return answers
    for path, row in rows(sd2wav, "detect", folders, session=False).items():
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


def session_items(sd2wav, corpus, session, convert):
    """One answer per session item, as detected (and converted): (folder/name) -> dict."""
    folders = sorted((corpus / "sessions").iterdir())
    found = rows(sd2wav, "detect", [corpus / "sessions"], session)
    converted = {}
    if convert:
        with tempfile.TemporaryDirectory() as out:
            converted = rows(sd2wav, "convert", [corpus / "sessions"], session, ["-o", out])
    answers = {}
    for folder in folders:
        truth = json.loads((folder / "truth.json").read_text())
        forked = any(p.name.startswith("._") for p in folder.iterdir())
        for name, item in truth["items"].items():
            row = found.get(folder / name, {})
            answers[f"{folder.name}/{name}"] = {
                "kind": item["kind"], "forked": forked, "found": bool(row),
                "enc_ok": row.get("format") == truth["format"], "lay_ok": row.get("channels") == item["channels"]
                and ("pair" in row) == ("pair" in item), "rate_ok": row.get("rate") == truth["rate"],
                "confidence": row.get("confidence"), "status": row.get("status", row.get("error", "left out")),
                "refused": convert and not converted.get(folder / name, {"ok": True})["ok"]}
    return answers


def session_report(title, runs):
    """runs: (label, answers) pairs, reported side by side."""
    print(f"\n{title}: {len(runs[0][1])} items in {len({k.split('/')[0] for k in runs[0][1]})} session folders")
    labels = " / ".join(label for label, _ in runs)
    print(f"{'class':10} {'items':>5}  encoding ok, layout ok, rate ok, wrong encoding or layout (of them "
          f"\"confident\"), left out, refused: {labels}")
    kinds = sorted({a["kind"] for a in runs[0][1].values()}) + ["all", "forked"]
    for kind in kinds:
        cells = []
        for _, answers in runs:
            group = [a for a in answers.values() if kind == "all" or a["kind"] == kind or (kind == "forked" and a["forked"])]
            wrong = [a for a in group if a["found"] and not (a["enc_ok"] and a["lay_ok"])]
            cells.append(f"{percent(sum(a['enc_ok'] for a in group), len(group))} {percent(sum(a['lay_ok'] for a in group), len(group))} "
                         f"{percent(sum(a['rate_ok'] for a in group), len(group))} {len(wrong)} "
                         f"({sum(a['confidence'] == 'confident' for a in wrong)}) {sum(not a['found'] for a in group)} "
                         f"{sum(a['refused'] for a in group)}")
        print(f"{kind:10} {len(group):5}  " + "  |  ".join(cells))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--sd2wav", default=HERE.parent / "build" / "bin" / "sd2wav")
    parser.add_argument("--baseline", type=pathlib.Path, help="another sd2wav to compare with")
    parser.add_argument("--corpus", default=HERE / "corpus", type=pathlib.Path)
    parser.add_argument("--misses", action="store_true", help="list every file detected wrongly")
    parser.add_argument("--convert", action="store_true", help="also convert the sessions, counting refusals")
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

    if not (args.corpus / "sessions").exists():
        return
    runs = [("this build, per file", session_items(args.sd2wav, args.corpus, False, args.convert)),
            ("this build, sessions", session_items(args.sd2wav, args.corpus, True, args.convert))]
    if args.baseline:
        runs.insert(0, ("baseline", session_items(args.baseline, args.corpus, True, args.convert)))
    session_report("sessions", runs)
    if args.misses:
        print("\nsession misses (with session evidence):")
        for key, a in sorted(runs[-1][1].items()):
            if not (a["enc_ok"] and a["lay_ok"] and a["rate_ok"]) or a["refused"]:
                print(f"  {key} [{a['kind']}]: {a['status']}{' (refused)' if a['refused'] else ''}")


if __name__ == "__main__":
    main()
