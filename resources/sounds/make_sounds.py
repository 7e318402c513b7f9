#!/usr/bin/env python3
"""Makes the three sounds beside this file: python3 make_sounds.py. They are ours; nothing was sampled."""
import math
import pathlib
import struct
import wave

RATE = 32000


def tone(seconds, partials, attack=0.004):
    """partials: (hertz at the start, hertz at the end, loudness, seconds to fall to a third)."""
    samples = []
    phases = [0.0] * len(partials)
    count = int(seconds * RATE)
    for index in range(count):
        time = index / RATE
        value = 0.0
        for number, (start, end, loudness, fall) in enumerate(partials):
            hertz = end + (start - end) * math.exp(-time / 0.02)
            phases[number] += 2 * math.pi * hertz / RATE
            value += loudness * math.exp(-time / fall) * math.sin(phases[number])
        value *= min(1.0, time / attack)
        value *= min(1.0, (count - index) / (0.02 * RATE))
        samples.append(value)
    peak = max(abs(value) for value in samples)
    return [value / peak * 0.8 for value in samples]


SOUNDS = {
    "Pop": tone(0.22, [(900, 420, 1.0, 0.05), (1800, 840, 0.25, 0.025)]),
    "Glass": tone(0.9, [(1318.5, 1318.5, 1.0, 0.24), (2637.0, 2637.0, 0.35, 0.14), (3520.0, 3520.0, 0.3, 0.1),
                        (5274.0, 5274.0, 0.12, 0.05)]),
    "Tink": tone(0.3, [(2093.0, 2093.0, 1.0, 0.07), (4434.9, 4434.9, 0.3, 0.03)], attack=0.002),
}

for name, samples in SOUNDS.items():
    with wave.open(str(pathlib.Path(__file__).parent / f"{name}.wav"), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(b"".join(struct.pack("<h", round(value * 32767)) for value in samples))
