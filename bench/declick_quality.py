#!/usr/bin/env python3
"""Measures what the click scan does to sides whose clicks are known, beside ffmpeg's adeclick, as a Markdown table.

  declick_quality.py ORVANE_CLI SCORER SIDE...

Each SIDE is a folder with side.wav and the truth about it; SCORER is called as `SCORER SIDE --out REPAIRED.wav` and prints one
JSON object with the figures of the table. Needs ffmpeg.
"""
import json
import subprocess
import sys
import tempfile
from pathlib import Path

SETTINGS = {
    "default (3, 2, 1)": ["--sensitivity", "3", "--percussion", "2", "--brass", "1"],
    "no protection (3, 0, 0)": ["--sensitivity", "3", "--percussion", "0", "--brass", "0"],
    "most protection (3, 5, 1)": ["--sensitivity", "3", "--percussion", "5", "--brass", "1"],
    "weakest (1, 2, 1)": ["--sensitivity", "1", "--percussion", "2", "--brass", "1"],
    "strongest (7, 0, 0)": ["--sensitivity", "7", "--percussion", "0", "--brass", "0"],
}
PEERS = {"adeclick": "adeclick", "adeclick a=8:t=6:m=s": "adeclick=a=8:t=6:m=s"}
HEAD = ("setting", "recall loud", "medium", "soft", "false alarms/min", "gain at clicks, dB", "all over, dB", "soft made worse",
        "elsewhere changed, ppm")


def orvane(cli, side, options, out, folder):
    collection = str(folder / "side.mcf")
    for arguments in (["new", collection], ["album", "add", collection, "--artist", "A", "--title", "T"],
                      ["recording", "add", collection, "1", "--side", "1", str(side / "side.wav")],
                      ["declick", collection, "1", *options], ["render", collection, "1", "--side", "1", str(out)]):
        subprocess.run([cli, *arguments, "--quiet"], check=True, stdout=subprocess.DEVNULL)
    (side / "side.wav.crd").unlink(missing_ok=True)


def adeclick(side, filter_text, out):
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", str(side / "side.wav"), "-af", filter_text, "-c:a", "pcm_f32le", str(out)],
                   check=True)


def row(name, result):
    repair, detection = result["repair"], result["detection"]
    recall = detection["recall"]
    per_click = repair.get("per_click", {})
    show = lambda value, form: form.format(value) if value is not None else "-"  # noqa: E731
    return (name, show(recall.get("loud"), "{:.2f}"), show(recall.get("medium"), "{:.2f}"), show(recall.get("soft"), "{:.2f}"),
            show(detection["false_alarms_per_min"], "{:.1f}"), show(repair.get("click_improvement_db"), "{:+.2f}"),
            show(repair.get("improvement_db"), "{:+.2f}"), show(per_click.get("soft", {}).get("made_worse"), "{:.1%}"),
            show(repair["untouched"]["changed_ppm"], "{:.0f}"))


def print_table(side, rows, kinds):
    print(f"\n### {side.name}\n")
    for cells in (HEAD, ["---"] + ["--:"] * (len(HEAD) - 1), *rows):
        print("| " + " | ".join(cells) + " |")
    print("\nFalse alarms a minute by music:\n")
    names = list(next(iter(kinds.values())))
    for cells in (["setting", *names], ["---"] + ["--:"] * len(names),
                  *([name, *(f"{kind[n]:.1f}" for n in names)] for name, kind in kinds.items())):
        print("| " + " | ".join(cells) + " |")


def main(cli, scorer, sides):
    for side in map(Path, sides):
        rows, kinds = [], {}
        with tempfile.TemporaryDirectory() as temporary:
            out = Path(temporary) / "out.wav"
            for name in (*SETTINGS, *PEERS):
                if name in SETTINGS:
                    orvane(cli, side, SETTINGS[name], out, Path(temporary))
                else:
                    adeclick(side, PEERS[name], out)
                scored = subprocess.run([*scorer.split(), str(side), "--out", str(out)], check=True, capture_output=True, text=True)
                result = json.loads(scored.stdout)
                rows.append(row(name, result))
                kinds[name] = result["detection"]["false_alarms_per_min_by_character"]
                (Path(temporary) / "side.mcf").unlink(missing_ok=True)
        print_table(side, rows, kinds)


if __name__ == "__main__":
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    main(sys.argv[1], sys.argv[2], sys.argv[3:])
