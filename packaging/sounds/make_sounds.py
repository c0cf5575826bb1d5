#!/usr/bin/env python3
"""Makes the program's sounds: soft, short, and nobody else's.

Writes Tink.wav (a dictation starts), Pop.wav (its text is in) and Funk.wav (it was cancelled)
next to this file: 24 kHz, 16 bit, mono, peak -12 dBFS. The result is the same on every run.
"""

import math
import pathlib
import struct
import wave

RATE = 24000
PEAK = 10 ** (-12 / 20)


def bell(frequency, decay, partials):
    """A struck bar: each partial is (ratio, loudness); higher ones fade sooner."""
    def sample(t):
        return sum(loudness * math.sin(2 * math.pi * frequency * ratio * t)
                   * math.exp(-t * ratio / decay) for ratio, loudness in partials)
    return sample


def glide(start, end, length, decay):
    """A tone that moves from one frequency to another, and fades."""
    def sample(t):
        share = min(t / length, 1)
        phase = 2 * math.pi * (start * t + (end - start) * share * t / 2)
        return (math.sin(phase) + 0.2 * math.sin(2 * phase)) * math.exp(-t / decay)
    return sample


SOUNDS = {
    "Tink": (0.16, bell(1318.5, 0.045, [(1, 1), (2.76, 0.35), (5.4, 0.12)])),
    "Pop": (0.11, glide(330, 660, 0.05, 0.028)),
    "Funk": (0.22, glide(262, 165, 0.12, 0.06)),
}


def write(path, seconds, sample):
    count = int(seconds * RATE)
    values = []
    for i in range(count):
        attack = min(1, i / (0.003 * RATE))
        release = min(1, (count - 1 - i) / (0.02 * RATE))
        values.append(sample(i / RATE) * attack * release)
    scale = PEAK * 32767 / max(abs(value) for value in values)
    with wave.open(str(path), "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(RATE)
        out.writeframes(b"".join(struct.pack("<h", round(value * scale)) for value in values))


def main():
    folder = pathlib.Path(__file__).resolve().parent
    for name, (seconds, sample) in SOUNDS.items():
        write(folder / f"{name}.wav", seconds, sample)


if __name__ == "__main__":
    main()
