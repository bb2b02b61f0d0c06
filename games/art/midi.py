"""A small score: pieces with a chart of chords, parts that are written or follow the chart, and the
writing of Standard MIDI Files.

Notes are written as "C5/1.5 Eb5/.5 r/1 C4+E4/2": a pitch, or several, or a rest, and how many beats.
A chart gives one chord a bar, "Am", or two that share it, "Gm:C7"; time counts in beats and bars
from 0.
"""
import os
import struct

TICKS = 480
STEPS = {"C": 0, "D": 2, "E": 4, "F": 5, "G": 7, "A": 9, "B": 11}
KINDS = {"": (0, 4, 7), "m": (0, 3, 7), "7": (0, 4, 7, 10), "m7": (0, 3, 7, 10), "maj7": (0, 4, 7, 11),
         "dim": (0, 3, 6), "sus": (0, 5, 7)}
DRUMS = 9


def pitch_class(name):
    return (STEPS[name[0]] + name.count("#") - name[1:].count("b")) % 12


def pitch(name):
    octave = int(name[-1])
    return 12 * (octave + 1) + STEPS[name[0]] + name.count("#") - name[1:].count("b")


def chord(name):
    """The root and the pitch classes, root first."""
    cut = 2 if name[1:2] in ("#", "b") else 1
    root = pitch_class(name[:cut])
    return root, [(root + step) % 12 for step in KINDS[name[cut:]]]


def notes(text):
    """(start, length, pitches) of written notes, and how long all are."""
    found, at = [], 0.0
    for token in text.split():
        what, _, length = token.partition("/")
        length = float(length)
        if what != "r":
            found.append((at, length, [pitch(name) for name in what.split("+")]))
        at += length
    return found, at


class Part:
    def __init__(self, piece, channel, program, volume, pan, reverb, level):
        self.piece, self.channel, self.level = piece, channel, level
        self.events, self.sounding = [], []
        for control, value in ((7, volume), (10, pan), (91, reverb), (93, 10)):
            self.control(0, control, value)
        if channel != DRUMS:
            self.events.append((0, 1, bytes((0xC0 | channel, program))))

    def raised(self, value):
        """What is soft comes nearer to what is loud, the more the smaller the piece's `softness` is."""
        return 127 * (min(value, 127) / 127) ** self.piece.softness

    def control(self, beat, number, value):
        if number in (7, 11):  # volume and expression
            value = round(self.raised(value))
        self.events.append((round(beat * TICKS), 2, bytes((0xB0 | self.channel, number, value))))

    def note(self, beat, length, key, velocity):
        end = min(beat + length, self.piece.end)
        if end > beat:
            loud = max(1, round(self.raised(velocity)))
            self.sounding.append((round(beat * TICKS), round(end * TICKS), key, loud))

    def all_events(self):
        """A note ends where its key is struck again, lest its end cut the new one short."""
        events, upcoming = list(self.events), {}
        for start, end, key, loud in sorted(self.sounding, reverse=True):
            end = min(end, upcoming.get(key, end))
            upcoming[key] = start
            if end > start:
                events.append((start, 3, bytes((0x90 | self.channel, key, loud))))
                events.append((end, 0, bytes((0x80 | self.channel, key, 0))))
        return events

    def shape(self, beat):
        """How loud a beat is within its bar and its four-bar phrase, around 1."""
        inside = beat % self.piece.meter
        accent = .06 if inside == 0 else .02 if inside == int(inside) else -.05
        place = beat / self.piece.meter % 4 / 4
        return 1 + accent + .09 * (1 - abs(place - .6) / .6)

    def write(self, bar, text, level=1.0, gate=.92, up=0):
        """A written line; it must fill whole bars. Every note that starts a bar is of its chord."""
        found, length = notes(text)
        if length % self.piece.meter:
            raise ValueError("%s bar %d: %g beats are no whole bars" % (self.piece.name, bar, length))
        start = bar * self.piece.meter
        for at, size, keys in found:
            beat = start + at
            if at % self.piece.meter == 0:
                for key in keys:
                    if key % 12 not in self.piece.chord_at(beat)[1]:
                        raise ValueError("%s bar %d: a note beside its chord" % (self.piece.name, beat // self.piece.meter))
            for key in keys:
                self.note(beat, size * gate, key + up, self.level * level * self.shape(beat))

    def voicing(self, beat, low, count=3):
        """The chord's tones upwards from low: the closest position there is, so that voices move little."""
        tones = self.piece.chord_at(beat)[1]
        keys = [key for key in range(low, low + 24) if key % 12 in tones]
        return keys[:count]

    def pad(self, first, last, low, level=1.0, count=3):
        for beat, length in self.piece.changes(first, last):
            for key in self.voicing(beat, low, count):
                self.note(beat, length * .98, key, self.level * level * self.shape(beat))

    def arpeggio(self, first, last, low, pattern, step, level=1.0, ring=1.0, tones=5):
        """pattern: which tone of the chord sounds at each step, from 0 upwards, "." for none."""
        for bar in range(first, last):
            for k, mark in enumerate(pattern):
                if mark == ".":
                    continue
                beat = bar * self.piece.meter + k * step
                keys = self.voicing(beat, low, tones)
                self.note(beat, step * ring, keys[int(mark) % len(keys)], self.level * level * self.shape(beat))

    def chords_on(self, first, last, low, pattern, step, level=1.0, ring=.5, count=3):
        """Whole chords where the pattern has an x, louder ones at an X."""
        for bar in range(first, last):
            for k, mark in enumerate(pattern):
                if mark in "xX":
                    beat = bar * self.piece.meter + k * step
                    for key in self.voicing(beat, low, count):
                        self.note(beat, step * ring, key, self.level * level * (1.15 if mark == "X" else 1))

    def bass(self, first, last, low, pattern, step, level=1.0, ring=.9):
        """pattern: r the root, 5 the fifth, 8 the octave, 3 the third; "." none, "-" goes on."""
        for bar in range(first, last):
            for k, mark in enumerate(pattern):
                if mark in ".-":
                    continue
                beat = bar * self.piece.meter + k * step
                hold = 1
                while k + hold < len(pattern) and pattern[k + hold] == "-":
                    hold += 1
                root, tones = self.piece.chord_at(beat)
                base = low + (root - low) % 12
                third, fifth = (tones[1] - root) % 12, (tones[2] - root) % 12
                key = base + {"r": 0, "8": 12, "5": fifth if base + fifth < low + 14 else fifth - 12, "3": third}[mark]
                self.note(beat, step * hold * ring, key, self.level * level * self.shape(beat))

    def beat(self, first, last, drum, pattern, step, level=1.0):
        """Drum strokes: 1..9 how loud, x plain."""
        for bar in range(first, last):
            for k, mark in enumerate(pattern):
                if mark != ".":
                    loud = 1.0 if mark == "x" else int(mark) / 6
                    self.note(bar * self.piece.meter + k * step, step * .5, drum, self.level * level * loud)

    def swell(self, first, last, low, high):
        """Expression that rises and falls once over these bars."""
        start, length = first * self.piece.meter, (last - first) * self.piece.meter
        for k in range(17):
            t = k / 16
            if start + t * length < self.piece.end:
                self.control(start + t * length, 11, round(low + (high - low) * (1 - abs(2 * t - 1))))


class Piece:
    """A player stops a piece one beat after its last track has ended, and a game starts it again
    then; so a looping piece ends its tracks a beat before the bar line and comes round in time."""

    def __init__(self, name, title, tempo, meter, chart, loops=True, softness=1.0):
        self.softness = softness
        self.name, self.title, self.tempo, self.meter = name, title, tempo, meter
        self.chart = [bar.split(":") for bar in chart.split()]
        self.bars = len(self.chart)
        self.end = self.bars * meter - (1 if loops else 0)
        self.parts, self.tempos = [], []

    def part(self, channel, program, volume=100, pan=64, reverb=60, level=80):
        self.parts.append(Part(self, channel, program, volume, pan, reverb, level))
        return self.parts[-1]

    def chord_at(self, beat):
        bar = self.chart[int(beat // self.meter)]
        return chord(bar[int(beat % self.meter / self.meter * len(bar))])

    def changes(self, first, last):
        """Where chords start and how long they hold; a chord that is repeated is struck again."""
        for bar in range(first, last):
            parts = len(self.chart[bar])
            for k in range(parts):
                yield bar * self.meter + k * self.meter / parts, self.meter / parts

    def slower(self, beat, tempo):
        self.tempos.append((beat, tempo))

    def save(self):
        folder = os.environ["ART_MUSIC"]
        os.makedirs(folder, exist_ok=True)
        head = [(0, 0, b"\xff\x03" + quantity(len(self.title)) + self.title.encode()),
                (0, 0, b"\xff\x58\x04" + bytes((self.meter, 2, 24, 8)))]
        for beat, tempo in [(0, self.tempo)] + self.tempos:
            head.append((round(beat * TICKS), 0, b"\xff\x51\x03" + struct.pack(">I", round(6e7 / tempo))[1:]))
        tracks = [track(head, round(self.end * TICKS))]
        tracks += [track(part.all_events(), round(self.end * TICKS)) for part in self.parts]
        with open(os.path.join(folder, self.name + ".MID"), "wb") as file:
            file.write(b"MThd" + struct.pack(">IHHH", 6, 1, len(tracks), TICKS) + b"".join(tracks))


def quantity(value):
    parts = [value & 127]
    while value := value >> 7:
        parts.append(value & 127 | 128)
    return bytes(reversed(parts))


def track(events, end):
    body, now = b"", 0
    for tick, _, data in sorted(events, key=lambda event: event):
        body += quantity(tick - now) + data
        now = tick
    body += quantity(end - now) + b"\xff\x2f\x00"
    return b"MTrk" + struct.pack(">I", len(body)) + body
