#!/usr/bin/env python3
"""Synthesises Tavik's five feedback sounds into resources/sounds/.

Standard library only (wave + math), so the WAVs can be rebuilt anywhere:

    python3 scripts/make-sounds.py [output-dir]

Output is 44.1 kHz, 16-bit, mono. The noise of "swipe" comes from a fixed seed,
so running the script again gives byte-identical files.
"""

import math
import os
import random
import struct
import sys
import wave

RATE = 44100
PEAK = 0.45  # headroom: these play over whatever else the desktop is doing


def silence(seconds):
    return [0.0] * int(RATE * seconds)


def envelope(i, n, attack, decay):
    """Short linear attack, then an exponential decay with time constant `decay` (s)."""
    t = i / RATE
    a = min(1.0, t / attack) if attack > 0 else 1.0
    d = math.exp(-t / decay)
    # A few samples of fade at the very end keep the cut from clicking.
    tail = min(1.0, (n - i) / (0.003 * RATE))
    return a * d * tail


def tone(freq, seconds, attack=0.004, decay=0.05, overtone=0.25):
    n = int(RATE * seconds)
    out = []
    for i in range(n):
        t = i / RATE
        s = math.sin(2 * math.pi * freq * t) + overtone * math.sin(2 * math.pi * 2 * freq * t)
        out.append(s * envelope(i, n, attack, decay) / (1 + overtone))
    return out


def mix(into, samples, at_seconds, gain=1.0):
    start = int(RATE * at_seconds)
    needed = start + len(samples)
    if len(into) < needed:
        into.extend([0.0] * (needed - len(into)))
    for i, s in enumerate(samples):
        into[start + i] += s * gain
    return into


def button():
    # A soft tick: a high, fast-decaying partial over a rounder body.
    out = silence(0.08)
    mix(out, tone(1850, 0.08, attack=0.0008, decay=0.012, overtone=0.0), 0, 0.6)
    mix(out, tone(920, 0.08, attack=0.0015, decay=0.02, overtone=0.1), 0, 0.7)
    return out


def toggle_on():
    # Rising fifth: E5 then B5.
    out = silence(0.16)
    mix(out, tone(659.26, 0.09, decay=0.035), 0.0)
    mix(out, tone(987.77, 0.10, decay=0.04), 0.06)
    return out


def toggle_off():
    # The same fifth, falling.
    out = silence(0.16)
    mix(out, tone(987.77, 0.09, decay=0.035), 0.0)
    mix(out, tone(659.26, 0.10, decay=0.04), 0.06)
    return out


def celebration():
    # C major arpeggio, C5 E5 G5 C6, the last note left to ring out.
    out = silence(0.42)
    notes = [523.25, 659.26, 783.99, 1046.50]
    for k, freq in enumerate(notes):
        last = k == len(notes) - 1
        mix(out, tone(freq, 0.18 if last else 0.12, decay=0.08 if last else 0.045), 0.075 * k, 0.8)
    return out[: int(RATE * 0.42)]


def swipe():
    # White noise through a one-pole low-pass whose cut-off sweeps up and back down.
    rng = random.Random(7)
    n = int(RATE * 0.15)
    out = []
    y = 0.0
    for i in range(n):
        x = rng.uniform(-1.0, 1.0)
        p = i / n
        cutoff = 400 + 3600 * math.sin(math.pi * p)
        alpha = 1 - math.exp(-2 * math.pi * cutoff / RATE)
        y += alpha * (x - y)
        shape = math.sin(math.pi * p) ** 1.5  # swells in and out, no hard edges
        out.append(y * shape * 1.6)
    return out


def write(path, samples):
    peak = max(1e-9, max(abs(s) for s in samples))
    scale = PEAK / peak
    frames = b"".join(
        struct.pack("<h", int(round(max(-1.0, min(1.0, s * scale)) * 32767))) for s in samples
    )
    with wave.open(path, "wb") as w:
        w.setnchannels(1)
        w.setsampwidth(2)
        w.setframerate(RATE)
        w.writeframes(frames)


SOUNDS = {
    "button": button,
    "toggle_on": toggle_on,
    "toggle_off": toggle_off,
    "celebration": celebration,
    "swipe": swipe,
}


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    default = os.path.normpath(os.path.join(here, "..", "resources", "sounds"))
    target = sys.argv[1] if len(sys.argv) > 1 else default
    os.makedirs(target, exist_ok=True)
    for name, make in SOUNDS.items():
        path = os.path.join(target, name + ".wav")
        write(path, make())
        print(f"{path}: {os.path.getsize(path)} bytes")


if __name__ == "__main__":
    main()
