#!/usr/bin/env python3
"""Makes the two sounds of the game, beside MAIN.LUA: the same bytes each time."""
import math
import pathlib
import struct
import wave

RATE = 22050


def write(name, samples):
    with wave.open(str(pathlib.Path(__file__).parent.parent / name), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(b"".join(struct.pack("<h", round(12000 * s)) for s in samples))


def bell(pitches, seconds):
    """Tones that begin one after the other and fade."""
    count = int(seconds * RATE)
    samples = [0.0] * count
    for number, pitch in enumerate(pitches):
        start = int(number * 0.05 * RATE)
        for i in range(start, count):
            time = (i - start) / RATE
            samples[i] += math.sin(2 * math.pi * pitch * time) * math.exp(-time * 14) / len(pitches)
    return samples


def fading(seconds):
    """Noise that sinks, as of a flame in the wind."""
    state, held, samples = 1, 0.0, []
    count = int(seconds * RATE)
    for i in range(count):
        state = state * 1103515245 + 12345 & 0x7FFFFFFF
        held += (state / 0x40000000 - 1 - held) * (0.5 - 0.48 * i / count)
        samples.append(held * (1 - i / count) ** 2)
    return samples


write("CATCH.WAV", bell([880, 1320], 0.3))
write("OUT.WAV", fading(0.8))
