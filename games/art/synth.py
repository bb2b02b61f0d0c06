"""Synthesised sounds: 16-bit mono WAV files of 44,100 Hz, in the folder ART_SOUNDS.

A sound is a list of samples from -1 to 1 on which voices are laid. Every voice starts and ends at
silence, and the finished sound is brought to one peak, so nothing clicks and nothing stands out.
"""
import math
import os
import random
import struct
import wave

from midi import pitch

RATE = 44100
PEAK = 0.5  # -6 dB


def silence(seconds):
    return [0.0] * int(seconds * RATE)


def hertz(name):
    return 440 * 2 ** ((pitch(name) - 69) / 12)


def envelope(t, length, attack, curve):
    """Rises over the attack, decays by the curve, and is silent at both ends."""
    if t < attack:
        return .5 - .5 * math.cos(math.pi * t / attack)
    left = (length - t) / (length - attack)
    return max(0.0, left) ** curve


def tone(sound, start, length, pitch, volume, attack=.004, curve=3.0, partials=((1, 1.0),), glide=None,
         vibrato=0.0, rate=5.5):
    """Sines over one pitch; with a glide the pitch moves there evenly in its logarithm."""
    first, phase = int(start * RATE), 0.0
    for i in range(int(length * RATE)):
        if first + i >= len(sound):
            break
        t = i / RATE
        now = pitch if glide is None else pitch * (glide / pitch) ** (t / length)
        now *= 1 + vibrato * math.sin(2 * math.pi * rate * t)
        phase += 2 * math.pi * now / RATE
        value = 0.0
        for multiple, size in partials:
            # Higher partials die sooner, as they do in what is struck.
            value += size * math.sin(multiple * phase) * math.exp(-(multiple - 1) * t * 2)
        sound[first + i] += volume * value * envelope(t, length, attack, curve)


def bell(sound, start, length, pitch, volume, ratio=3.5, depth=1.6, curve=3.0, attack=.003):
    """Frequency modulation whose depth decays: bright at first, then pure."""
    first = int(start * RATE)
    for i in range(int(length * RATE)):
        if first + i >= len(sound):
            break
        t = i / RATE
        index = depth * math.exp(-t * 7)
        angle = 2 * math.pi * pitch * t
        value = math.sin(angle + index * math.sin(ratio * angle))
        sound[first + i] += volume * value * envelope(t, length, attack, curve)


def breath(sound, start, length, volume, low, high, seed, attack=.02, curve=2.0, narrow=.25):
    """Noise through a band filter that sweeps from one frequency to the other."""
    chance = random.Random(seed)
    first = int(start * RATE)
    band = slow = 0.0
    for i in range(int(length * RATE)):
        if first + i >= len(sound):
            break
        t = i / RATE
        centre = low * (high / low) ** (t / length)
        step = 2 * math.sin(math.pi * min(centre, RATE / 7) / RATE)
        slow += step * band
        band += step * (chance.uniform(-1, 1) - slow - narrow * 2 * band)
        sound[first + i] += volume * band * envelope(t, length, attack, curve)


def save(name, sound, peak=PEAK):
    # A short fade at the very end, in case a voice was still ringing there.
    fade = min(len(sound), int(.012 * RATE))
    for i in range(fade):
        sound[-1 - i] *= i / fade
    top = max(abs(value) for value in sound)
    folder = os.environ["ART_SOUNDS"]
    os.makedirs(folder, exist_ok=True)
    with wave.open(os.path.join(folder, name + ".WAV"), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(b"".join(struct.pack("<h", round(value / top * peak * 32767)) for value in sound))
