#!/usr/bin/env python3
"""Draws what a repair did: waveform and spectrum before and after, at five clicks of different widths.

  draw_clicks.py BEFORE.wav AFTER.wav OUT.png

The clicks are the stretches where the two files differ. Needs ffmpeg, and Debian's python3-numpy and python3-matplotlib.
"""
import subprocess
import sys

import matplotlib
import numpy as np

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

SHOWN = 5
AROUND = 250  # frames drawn on each side


def load(path):
    probe = ["ffprobe", "-v", "error", "-show_entries", "stream=sample_rate", "-of", "csv=p=0", path]
    rate = int(subprocess.run(probe, capture_output=True, check=True, text=True).stdout)
    raw = subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-ac", "2", "-f", "f32le", "-"], capture_output=True, check=True)
    return rate, np.frombuffer(raw.stdout, "<f4").reshape(-1, 2)


def stretches(before, after):
    """(channel, start, end) of every run of changed samples; runs less than 20 frames apart are one."""
    found = []
    for channel in range(2):
        changed = np.flatnonzero(np.abs(before[:, channel] - after[:, channel]) > 1e-4)
        if len(changed):
            splits = np.flatnonzero(np.diff(changed) > 20) + 1
            found += [(channel, run[0], run[-1] + 1) for run in np.split(changed, splits)]
    return found


def choose(found, before, after):
    """The loudest click of each of five classes of width."""
    found = sorted(found, key=lambda s: s[2] - s[1])
    chosen = []
    for group in np.array_split(np.arange(len(found)), SHOWN):
        loudness = [np.abs(before[s:e, c] - after[s:e, c]).max() for c, s, e in (found[i] for i in group)]
        if loudness:
            chosen.append(found[group[int(np.argmax(loudness))]])
    return chosen


def spectrum(signal):
    power = np.abs(np.fft.rfft(signal * np.hanning(len(signal)))) ** 2
    return 10 * np.log10(power / len(signal) + 1e-12)


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    rate, before = load(sys.argv[1])
    _, after = load(sys.argv[2])
    found = stretches(before, after)
    if not found:
        sys.exit("the two files do not differ")
    chosen = choose(found, before, after)
    figure, axes = plt.subplots(len(chosen), 2, figsize=(15, 3 * len(chosen)), squeeze=False, layout="constrained")
    for (channel, start, end), (wave, spectra) in zip(chosen, axes):
        first, last = max(0, start - AROUND), end + AROUND
        time = np.arange(first, min(last, len(before)))
        for signal, colour, label in ((before, "tab:red", "before"), (after, "tab:blue", "after")):
            piece = signal[first:last, channel]
            wave.plot(time, piece, color=colour, lw=0.9, label=label)
            spectra.plot(np.fft.rfftfreq(len(piece), 1 / rate) / 1000, spectrum(piece), color=colour, lw=0.9, label=label)
        wave.axvspan(start, end, color="0.9")
        wave.set_title(f"{'right' if channel else 'left'}, {start / rate:.3f} s, {end - start} frames", fontsize=9)
        spectra.set_title("spectrum in dB over kHz", fontsize=9)
        wave.legend(fontsize=7)
    figure.savefig(sys.argv[3], dpi=80)


if __name__ == "__main__":
    main()
