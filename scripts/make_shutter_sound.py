#!/usr/bin/env python3
"""Makes assets/camera.wav, the shutter sound played when a snapshot is taken.

Two short clicks, the blade opening and closing 70 ms apart: each is a burst of seeded noise
with a fast decay over a low thump. 22050 Hz, 16-bit, mono, about 0.2 s.
"""
import math
import random
import struct
import sys

RATE = 22050


def click(start_s, loudness, samples, rng):
    start = int(start_s * RATE)
    for n in range(int(0.05 * RATE)):
        t = n / RATE
        noise = rng.uniform(-1.0, 1.0) * math.exp(-t / 0.004)
        thump = math.sin(2 * math.pi * 180 * t) * math.exp(-t / 0.012)
        samples[start + n] += loudness * (0.7 * noise + 0.5 * thump)


def main(path):
    rng = random.Random(1963)
    samples = [0.0] * int(0.2 * RATE)
    click(0.005, 0.9, samples, rng)
    click(0.075, 0.6, samples, rng)
    data = b"".join(struct.pack("<h", max(-32767, min(32767, int(s * 32767)))) for s in samples)
    header = b"RIFF" + struct.pack("<I", 36 + len(data)) + b"WAVE"
    header += b"fmt " + struct.pack("<IHHIIHH", 16, 1, 1, RATE, RATE * 2, 2, 16)
    header += b"data" + struct.pack("<I", len(data))
    with open(path, "wb") as out:
        out.write(header + data)


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "assets/camera.wav")
