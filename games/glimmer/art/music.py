"""The music of Glimmer Hollow, written out: TITLE, NIGHT1, NIGHT2, MARSH, EMBER, FROST, HOLLOW, MORNING,
DANGER, DAWN, FADE, SCORES."""
from midi import DRUMS, Piece as AnyPiece

# General MIDI programs.
CELESTA, GLOCKENSPIEL, VIBRAPHONE, MARIMBA = 8, 9, 11, 12
BASS, CELLO, TREMOLO, PIZZICATO, HARP, TIMPANI = 32, 42, 44, 45, 46, 47
STRINGS, SLOW_STRINGS, HORN = 48, 49, 60
CLARINET, FLUTE, PAN_FLUTE = 71, 73, 75
# Drums.
KICK, STICK, HAT, LOW_TOM, TAMBOURINE, SHAKER, TRIANGLE = 36, 37, 42, 45, 54, 70, 81
CYMBAL, WOOD_HIGH, WOOD_LOW = 49, 76, 77

# How much of the difference between soft and loud a piece keeps, so that each has an RMS of -20 to -17 dB
# of full scale and peaks below -1 dB.
SOFTNESS = {"TITLE": .35, "NIGHT1": .13, "NIGHT2": .5, "MARSH": .55, "EMBER": .6, "FROST": .7, "HOLLOW": .45,
            "MORNING": .9, "DANGER": .2, "DAWN": .75, "FADE": .45, "SCORES": .35}


def Piece(name, title, tempo, meter, chart, loops=True):
    return AnyPiece(name, title, tempo, meter, chart, loops, SOFTNESS[name])


def title():
    """A waltz in D: four bars of harp, a celesta tune twice, a flute's answer, the way back."""
    piece = Piece("TITLE", "Glimmer Hollow", 112, 3,
                  "D Gmaj7 D Gmaj7  D Bm G A D F#m G A  D Bm Em A7 F#m Bm A7 D  "
                  "G A F#m Bm G Gm D A7  Bm Em A7 A7")
    celesta = piece.part(0, CELESTA, 127, 58, 80, 101)
    harp = piece.part(1, HARP, 90, 76, 70, 71)
    strings = piece.part(2, SLOW_STRINGS, 118, 50, 80, 71)
    bass = piece.part(3, BASS, 104, 64, 40, 76)
    flute = piece.part(4, FLUTE, 104, 70, 80, 85)
    cello = piece.part(5, CELLO, 84, 46, 70, 74)
    bells = piece.part(6, GLOCKENSPIEL, 112, 84, 90, 67)

    harp.arpeggio(0, 4, 50, "024321", .5, .95, 2.2)
    bells.write(0, "r/2 A6/1 r/1 F#6/1 D6/1 r/2 A6/1 r/1 B5/1 D6/1", .8)
    tune = ("F#5/2 A5/1 B5/2 A5/.5 F#5/.5 G5/2 B5/1 A5/1.5 G5/.5 E5/1 "
            "F#5/2 A5/1 C#6/2 B5/.5 A5/.5 B5/1 D6/1 B5/1 A5/3")
    again = ("F#5/1 A5/1 D6/1 F#6/2 E6/.5 D6/.5 E6/1.5 D6/.5 B5/1 C#6/2 A5/1 "
             "A5/1 C#6/1 F#6/1 D6/2 C#6/.5 B5/.5 E6/1 C#6/1 A5/1 D6/3")
    answer = ("B5/1.5 D6/.5 G5/1 A5/1.5 C#6/.5 E5/1 C#6/2 A5/1 B5/2 F#5/1 "
              "G5/1 B5/1 D6/1 D6/1.5 C6/.5 Bb5/1 A5/2 F#5/1 E5/1 G5/1 C#6/1")
    celesta.write(4, tune, .92)
    celesta.write(12, again, 1.0)
    flute.write(20, answer, .95, .97)
    celesta.write(20, "r/1 D6/1 B5/1 r/1 E6/1 C#6/1 r/1 F#6/1 C#6/1 r/1 F#6/1 D6/1 "
                      "r/1 D6/1 B5/1 r/1 D6/1 Bb5/1 r/1 F#6/1 D6/1 r/1 E6/1 G6/1", .62)
    celesta.write(28, "D6/2 F#5/1 G5/1 B5/1 E6/1 C#6/1.5 D6/.5 E6/1 A5/2 r/1", .95)
    harp.arpeggio(4, 12, 45, "024342", .5, .8, 2.0)
    harp.arpeggio(12, 20, 45, "024565", .5, .9, 2.0, 7)
    harp.arpeggio(20, 28, 43, "024342", .5, .85, 2.0)
    harp.arpeggio(28, 32, 45, "024321", .5, .75, 2.0)
    strings.pad(4, 12, 57, .7)
    strings.pad(12, 20, 57, .9, 4)
    strings.pad(20, 28, 55, .95, 4)
    strings.pad(28, 32, 57, .7)
    for first, low, high in ((4, 60, 96), (12, 72, 112), (20, 76, 118)):
        strings.swell(first, first + 8, low, high)
    strings.swell(28, 32, 60, 84)
    bass.bass(4, 12, 38, "r--", 1, .85)
    bass.bass(12, 28, 38, "r-5", 1, .95)
    bass.bass(28, 32, 38, "r--", 1, .8)
    cello.write(12, "D3/3 D3/2 E3/1 G3/3 E3/3 F#3/3 F#3/3 G3/2 E3/1 F#3/3", .85, .98)
    cello.write(20, "D3/3 E3/3 F#3/3 D3/2 F#3/1 G3/3 G3/3 F#3/3 E3/3", .9, .98)
    bells.write(12, "r/3 r/2 F#6/1 r/3 r/2 E6/1 r/3 r/2 D6/1 r/3 F#6/1 A6/1 D7/1", .75)
    piece.save()


def night_one():
    """Calm, in F: marimba over plucked strings, a clarinet in the middle."""
    piece = Piece("NIGHT1", "Dew on the Moss", 100, 4,
                  "F Dm Bb C F Am Bb C7  F Dm Gm C Am Dm Gm:C7 F  "
                  "Dm Am Bb F Gm Dm Eb C7  F Bb F C Dm Bb C7 F:C7")
    marimba = piece.part(0, MARIMBA, 127, 60, 60, 105)
    plucked = piece.part(1, PIZZICATO, 40, 78, 60, 78)
    bass = piece.part(2, BASS, 110, 64, 30, 90)
    clarinet = piece.part(3, CLARINET, 98, 52, 70, 88)
    strings = piece.part(4, SLOW_STRINGS, 114, 64, 80, 70)
    celesta = piece.part(5, CELESTA, 116, 84, 80, 75)
    drums = piece.part(DRUMS, 0, 127, 64, 40, 98)

    marimba.write(0, "A4/.5 C5/.5 F5/1 r/.5 E5/.5 C5/1 D5/1.5 A4/.5 F4/1 A4/1 "
                     "Bb4/.5 D5/.5 F5/1 r/.5 G5/.5 F5/.5 D5/.5 E5/2 r/1 C5/.5 D5/.5 "
                     "F5/.5 A5/.5 G5/.5 F5/.5 C5/1 A4/1 E5/1.5 D5/.5 C5/1 A4/1 "
                     "D5/.5 F5/.5 Bb5/1 A5/.5 F5/.5 D5/1 E5/1 G5/1 C5/1 r/1", .92)
    marimba.write(8, "A4/.5 C5/.5 F5/.5 A5/.5 r/.5 G5/.5 F5/1 A5/1.5 F5/.5 D5/1 F5/1 "
                     "Bb5/.5 A5/.5 G5/1 r/.5 D5/.5 G5/1 G5/1.5 E5/.5 C5/2 "
                     "C5/.5 E5/.5 A5/1 G5/.5 E5/.5 C5/1 F5/1.5 E5/.5 D5/2 "
                     "Bb4/.5 D5/.5 G5/1 E5/.5 C5/.5 Bb4/1 A4/1 F4/1 F5/1 r/1", 1.0)
    clarinet.write(16, "A4/2 F4/1 D4/1 E4/1.5 F4/.5 E4/1 C4/1 D4/2 F4/1 Bb4/1 A4/3 r/1 "
                       "Bb4/2 A4/.5 G4/.5 D4/1 F4/1.5 G4/.5 A4/2 G4/1.5 Bb4/.5 Eb4/1 G4/1 E4/2 G4/1 Bb4/1",
                   1.0, .97)
    marimba.write(16, "r/2 D5/.5 F5/.5 A5/1 r/2 C5/.5 E5/.5 A5/1 r/2 D5/.5 F5/.5 Bb5/1 C5/.5 F5/.5 A5/.5 C6/.5 r/2 "
                      "r/2 D5/.5 G5/.5 Bb5/1 r/2 D5/.5 F5/.5 A5/1 r/2 Eb5/.5 G5/.5 Bb5/1 r/1 C5/.5 E5/.5 G5/.5 Bb5/.5 C6/1", .7)
    marimba.write(24, "A5/.5 C6/.5 A5/.5 F5/.5 C5/1 F5/1 D5/.5 F5/.5 Bb5/1 r/.5 A5/.5 Bb5/1 "
                      "C6/1.5 A5/.5 F5/1 A5/1 G5/2 r/1 E5/.5 G5/.5 "
                      "A5/.5 F5/.5 D5/1 r/.5 E5/.5 F5/1 D5/1.5 F5/.5 Bb5/1 D6/1 "
                      "C6/1 G5/1 E5/.5 D5/.5 C5/1 F5/2 C5/1 r/1", 1.0)
    celesta.write(8, "r/16 r/3 E6/.5 C6/.5 r/4 r/3 F6/.5 D6/.5 r/4 r/2 C6/.5 F6/.5 A6/1", .8)
    celesta.write(24, "r/2 C6/.5 F6/.5 A6/1 r/4 r/4 r/2 E6/.5 G6/.5 C7/1 r/4 r/4 r/2 E6/.5 D6/.5 C6/1 F6/1 A6/1 C7/1 r/1", .85)
    plucked.chords_on(0, 8, 55, "..x...x.", .5, .8)
    plucked.chords_on(8, 16, 55, "..x..xx.", .5, .88)
    plucked.arpeggio(16, 24, 53, "02132413", .5, .78, .8)
    plucked.chords_on(24, 31, 55, "..x..xx.", .5, .9)
    plucked.chords_on(31, 32, 55, "..x...x.", .5, .8)
    bass.bass(0, 8, 36, "r--.5-..", .5, .85)
    bass.bass(8, 16, 36, "r--r5-8.", .5, .92)
    bass.bass(16, 24, 36, "r---5---", .5, .82)
    bass.bass(24, 32, 36, "r--r5-8.", .5, .95)
    strings.pad(8, 16, 57, .75)
    strings.pad(16, 24, 57, .95)
    strings.pad(24, 32, 57, .85)
    for first in (8, 16, 24):
        strings.swell(first, first + 8, 64, 104)
    drums.beat(4, 16, SHAKER, "4.23.4.2", .5, .8)
    drums.beat(8, 16, STICK, "....4...", .5, .6)
    drums.beat(16, 24, TRIANGLE, "4.......", .5, .55)
    drums.beat(20, 24, SHAKER, "4.2.4.2.", .5, .6)
    drums.beat(24, 31, SHAKER, "43234323", .5, .8)
    drums.beat(24, 31, STICK, "....4...", .5, .7)
    drums.beat(24, 31, KICK, "5.......", .5, .6)
    piece.save()


def night_two():
    """Driving, in A minor: a plucked figure that never rests under a pan flute."""
    piece = Piece("NIGHT2", "Wings in the Dark", 126, 4,
                  "Am Am F E  Am F C G Am F Dm E  Am F C G Dm F E Am  F G Em Am F G Am E  "
                  "Am Em F C Dm Am F E  Am F Dm E7")
    lead = piece.part(0, PAN_FLUTE, 118, 60, 70, 88)
    plucked = piece.part(1, PIZZICATO, 127, 76, 50, 69)
    bass = piece.part(2, BASS, 110, 64, 30, 82)
    strings = piece.part(3, STRINGS, 60, 52, 70, 69)
    vibes = piece.part(4, VIBRAPHONE, 106, 80, 70, 80)
    timpani = piece.part(5, TIMPANI, 108, 64, 60, 74)
    horn = piece.part(6, HORN, 86, 44, 70, 65)
    drums = piece.part(DRUMS, 0, 127, 64, 40, 78)

    lead.write(4, "A4/1 C5/.5 E5/1 D5/.5 C5/1 A4/1.5 C5/.5 F5/1 E5/.5 C5/.5 "
                  "G5/1.5 E5/.5 C5/1 D5/.5 E5/.5 D5/2 B4/1 r/1 "
                  "A4/1 C5/.5 E5/1 D5/.5 E5/1 F5/1.5 E5/.5 C5/1 A4/1 "
                  "D5/.5 E5/.5 F5/1 A5/1 F5/1 E5/1 G#5/1 B5/1 r/1", .92)
    lead.write(12, "A5/1 E5/.5 C5/1 B4/.5 C5/1 A5/1.5 G5/.5 F5/1 C5/1 "
                   "G5/1 E5/.5 C5/1 D5/.5 E5/1 D5/1.5 E5/.5 D5/1 B4/1 "
                   "F5/1 A5/.5 F5/1 E5/.5 D5/1 C5/.5 F5/.5 A5/1 C6/1 A5/1 "
                   "B5/1.5 A5/.5 G#5/1 E5/1 A5/3 r/1", 1.0)
    middle = ("C6/2 A5/1 F5/1 B5/2 G5/1 D5/1 G5/1.5 A5/.5 B5/1 G5/1 A5/2 E5/1 C5/1 "
              "F5/.5 A5/.5 C6/1 A5/1 F5/1 D5/.5 G5/.5 B5/1 D6/1 B5/1 C6/1.5 B5/.5 A5/1 E5/1 G#5/2 B5/1 E6/1")
    vibes.write(20, middle, .92, 1.0)
    horn.write(20, "F4/2 C4/2 G4/2 D4/2 E4/4 E4/2 A4/2 F4/2 A4/2 G4/2 B4/2 A4/4 E4/2 G#4/2", .8, .98)
    lead.write(28, "E5/.5 A5/.5 C6/1 B5/.5 A5/.5 E5/1 G5/.5 B5/.5 E6/1 D6/.5 B5/.5 G5/1 "
                   "A5/1.5 C6/.5 F5/1 A5/1 G5/1.5 C6/.5 E5/1 G5/1 "
                   "F5/1 A5/.5 D6/1 C6/.5 A5/1 C6/1.5 B5/.5 A5/1 E5/1 "
                   "F5/.5 A5/.5 C6/1 F6/1 C6/1 B5/1.5 C6/.5 B5/1 G#5/1", 1.05)
    vibes.write(28, "r/3 C6/.5 A5/.5 r/3 B5/.5 G5/.5 r/3 C6/.5 F6/.5 r/3 E6/.5 C6/.5 "
                    "r/3 F6/.5 D6/.5 r/3 E6/.5 C6/.5 r/3 A5/.5 C6/.5 r/2 E6/1 B5/1", .7, 1.0)
    lead.write(36, "A5/3 r/1 r/4 r/4 r/4", .95)
    vibes.write(36, "r/2 A5/.5 C6/.5 E6/1 C6/1 A5/.5 F5/1 C5/.5 F5/1 D5/1 F5/.5 A5/1 F5/.5 D6/1 E6/1 D6/.5 B5/.5 G#5/1 r/1", .8, 1.0)
    plucked.arpeggio(0, 4, 57, "01213121", .5, .75, .7)
    plucked.arpeggio(4, 12, 57, "01213121", .5, .85, .7)
    plucked.arpeggio(12, 20, 57, "02132413", .5, .9, .7)
    plucked.arpeggio(20, 28, 57, "0123432101234321", .25, .7, .8)
    plucked.arpeggio(28, 36, 57, "02132413", .5, .95, .7)
    plucked.arpeggio(36, 40, 57, "01213121", .5, .8, .7)
    bass.bass(2, 4, 33, "r...r...", .5, .8)
    bass.bass(4, 20, 33, "r.rr.r5r", .5, .9)
    bass.bass(20, 28, 33, "r--r--5-", .5, .92)
    bass.bass(28, 36, 33, "r.rr.r58", .5, 1.0)
    bass.bass(36, 40, 33, "r.rr.r5r", .5, .82)
    strings.pad(12, 20, 57, .7)
    strings.pad(20, 28, 57, .95, 4)
    strings.pad(28, 36, 57, .85, 4)
    strings.pad(36, 40, 57, .7)
    for first, last, low, high in ((12, 20, 66, 96), (20, 28, 78, 118), (28, 36, 76, 112), (36, 40, 64, 100)):
        strings.swell(first, last, low, high)
    timpani.write(3, "E2/2 E2/1 E2/.5 E2/.5", .7)
    for bar, text in ((19, "A2/2 A2/1 A2/.5 A2/.5"), (27, "E2/1 E2/1 E2/.5 E2/.5 E2/.5 E2/.5"),
                      (35, "E2/2 E2/1 E2/1"), (39, "E2/1 E2/.5 E2/.5 E2/1 r/1")):
        timpani.write(bar, text, .85)
    drums.beat(2, 4, HAT, "4.3.4.3.", .5, .7)
    drums.beat(4, 36, HAT, "43534353", .5, .72)
    drums.beat(4, 36, KICK, "6..4.5..", .5, .85)
    drums.beat(4, 20, STICK, "..5...5.", .5, .8)
    drums.beat(20, 28, TAMBOURINE, "..4...5.", .5, .7)
    drums.beat(28, 36, STICK, "..6...6.", .5, .85)
    for bar in (11, 19, 27, 35):
        drums.beat(bar, bar + 1, LOW_TOM, "............4556", .25, .8)
    drums.beat(36, 39, HAT, "4.3.4.3.", .5, .7)
    drums.beat(36, 39, KICK, "6...5...", .5, .8)
    drums.beat(20, 21, CYMBAL, "4.......", .5, .6)
    piece.save()


def marsh():
    """Mist over water, in G minor: a pan flute, a vibraphone answers."""
    piece = Piece("MARSH", "Lights on the Water", 96, 4,
                  "Gm Eb Bb F Gm Cm D D  Eb Bb Cm Gm Ab Eb D D  Gm Eb Bb F Gm Cm D D")
    lead = piece.part(0, PAN_FLUTE, 122, 56, 80, 98)
    vibes = piece.part(1, VIBRAPHONE, 124, 78, 80, 92)
    harp = piece.part(2, HARP, 112, 80, 70, 80)
    bass = piece.part(3, BASS, 114, 64, 30, 92)
    strings = piece.part(4, SLOW_STRINGS, 122, 52, 80, 78)
    drums = piece.part(DRUMS, 0, 127, 64, 50, 90)

    tune = ("D5/1.5 Bb4/.5 G4/1 A4/1 G5/1.5 F5/.5 Eb5/1 Bb4/1 F5/1 D5/1 Bb4/1 C5/1 A4/2 C5/1 F5/1 "
            "G5/1.5 A5/.5 Bb5/1 G5/1 G5/1 Eb5/1 C5/1 Eb5/1 F#5/1.5 E5/.5 D5/1 A4/1 D5/3 r/1")
    lead.write(0, tune, .95, .97)
    vibes.write(8, "G5/2 Bb5/1 G5/1 F5/2 D5/2 Eb5/1 G5/1 C6/1 G5/1 D5/3 r/1 "
                   "C6/1.5 Bb5/.5 Ab5/1 Eb5/1 G5/2 Eb5/1 Bb4/1 A5/1 F#5/1 D5/1 F#5/1 A5/3 r/1", 1.0, 1.0)
    lead.write(16, tune, 1.0, .97)
    vibes.write(16, "r/2 D6/.5 Bb5/.5 G5/1 r/4 r/2 D6/.5 F5/.5 Bb5/1 r/4 r/2 G5/.5 D6/.5 Bb5/1 r/4 "
                    "r/2 A5/.5 D6/.5 F#5/1 r/4", .8, 1.0)
    harp.arpeggio(0, 8, 43, "02434243", .5, .85, 1.6)
    harp.arpeggio(8, 16, 43, "02132413", .5, .9, 1.6)
    harp.arpeggio(16, 24, 43, "02454245", .5, .95, 1.6, 7)
    bass.bass(0, 8, 31, "r---5---", .5, .9)
    bass.bass(8, 24, 31, "r--r5-r-", .5, .98)
    strings.pad(0, 24, 55, .85)
    for first in (0, 8, 16):
        strings.swell(first, first + 8, 70, 112)
    drums.beat(4, 23, SHAKER, "4.3.4.23", .5, .75)
    drums.beat(8, 23, WOOD_LOW, "..3....3", .5, .7)
    drums.beat(0, 24, TRIANGLE, "3.......", .5, .5)
    piece.save()


def ember():
    """A dance of leaves, in D: clarinet and plucked strings."""
    piece = Piece("EMBER", "Leaves on the Wind", 120, 4,
                  "Dm C Dm G Dm F C Am  F C Gm Dm Bb F C A  Dm C Dm G Dm F C Am")
    lead = piece.part(0, CLARINET, 120, 58, 60, 98)
    marimba = piece.part(1, MARIMBA, 124, 76, 60, 92)
    plucked = piece.part(2, PIZZICATO, 127, 80, 50, 84)
    bass = piece.part(3, BASS, 116, 64, 30, 94)
    strings = piece.part(4, STRINGS, 84, 50, 70, 72)
    drums = piece.part(DRUMS, 0, 127, 64, 40, 94)

    tune = ("D5/.5 E5/.5 F5/1 A5/1 F5/1 E5/1 G5/.5 E5/.5 C5/2 D5/.5 E5/.5 F5/1 D5/1 A4/1 B4/1 D5/1 G5/2 "
            "A5/1 F5/.5 A5/.5 D6/1 A5/1 C6/1.5 A5/.5 F5/1 A5/1 G5/1 E5/1 C5/1 E5/1 A4/3 r/1")
    answer = ("A5/1 C6/1 A5/1 F5/1 G5/1.5 A5/.5 G5/1 E5/1 Bb5/1 A5/.5 G5/.5 D5/1 G5/1 F5/2 D5/2 "
              "D6/1 C6/.5 Bb5/.5 F5/1 Bb5/1 A5/1.5 C6/.5 A5/1 F5/1 G5/1 E5/.5 G5/.5 C6/1 G5/1 C#6/1 A5/1 E5/1 r/1")
    lead.write(0, tune, .95, .92)
    marimba.write(8, answer, 1.0, .9)
    lead.write(16, tune, 1.0, .92)
    marimba.write(16, tune, .75, .8)
    plucked.chords_on(0, 8, 53, "x.xxx.x.", .5, .8)
    plucked.chords_on(8, 16, 53, "x.xxX.xx", .5, .86)
    plucked.chords_on(16, 23, 53, "x.xxX.xx", .5, .9)
    bass.bass(0, 8, 33, "r-5-r-5-", .5, .9)
    bass.bass(8, 24, 33, "r.5.r.58", .5, .98)
    strings.pad(8, 16, 57, .85)
    strings.pad(16, 24, 57, .8)
    strings.swell(8, 16, 70, 110)
    drums.beat(0, 23, TAMBOURINE, "4.2.5.23", .5, .75)
    drums.beat(4, 23, KICK, "6...5...", .5, .8)
    drums.beat(8, 23, STICK, "..5...5.", .5, .7)
    piece.save()


def frost():
    """Bells over ice, in E minor: celesta and harp in three."""
    piece = Piece("FROST", "Bells of Ice", 92, 3,
                  "Em C G D Em C Am B  G D Em C Am Em B B  Em C G D Am C B B")
    celesta = piece.part(0, CELESTA, 127, 58, 90, 112)
    bells = piece.part(1, GLOCKENSPIEL, 118, 84, 90, 84)
    harp = piece.part(2, HARP, 122, 76, 80, 92)
    strings = piece.part(3, SLOW_STRINGS, 127, 50, 80, 86)
    bass = piece.part(4, BASS, 116, 64, 40, 92)
    cello = piece.part(5, CELLO, 100, 46, 70, 82)

    celesta.write(0, "B5/1 G5/1 E5/1 E5/2 G5/1 D6/1 B5/1 G5/1 A5/2 F#5/1 "
                     "G5/1 B5/1 E6/1 E6/1.5 D6/.5 C6/1 C6/1 A5/1 E5/1 F#5/2 r/1", .95)
    celesta.write(8, "D6/2 B5/1 A5/2 D6/1 B5/1 E6/1 G6/1 E6/2 C6/1 "
                     "C6/1 E6/1 A5/1 B5/2 G5/1 F#5/1 A5/1 B5/1 D#6/2 r/1", 1.0)
    celesta.write(16, "E6/1 B5/1 G5/1 G5/2 E5/1 B5/1 D6/1 G5/1 F#5/2 A5/1 "
                      "E6/1 C6/1 A5/1 G5/2 C6/1 B5/1 F#5/1 D#5/1 B4/2 r/1", .98)
    bells.write(8, "r/2 G6/1 r/3 r/2 E6/1 r/3 r/2 A6/1 r/3 r/2 B6/1 r/2 F#6/1", .8)
    bells.write(16, "r/2 E6/1 r/3 r/2 D6/1 r/3 r/2 E6/1 r/3 r/2 F#6/1 r/3", .8)
    harp.arpeggio(0, 8, 45, "024342", .5, .85, 2.0)
    harp.arpeggio(8, 16, 45, "024565", .5, .95, 2.0, 7)
    harp.arpeggio(16, 24, 45, "024342", .5, .9, 2.0)
    strings.pad(0, 24, 57, .85)
    for first in (0, 8, 16):
        strings.swell(first, first + 8, 72, 116)
    bass.bass(0, 24, 28, "r--", 1, .95)
    cello.write(8, "B2/3 A2/3 G2/3 G2/3 A2/3 B2/3 F#2/3 B2/3", .9, .98)
    cello.write(16, "E3/3 C3/3 D3/3 D3/3 C3/3 E3/3 F#3/3 B2/3", .9, .98)
    piece.save()


def hollow():
    """Old roots, in C minor: it hurries, for something follows."""
    piece = Piece("HOLLOW", "The Old Hollow", 132, 4,
                  "Cm Cm Ab G Cm Fm G G  Ab Eb Fm Cm Db Ab G G  Cm Bb Ab G Fm Cm G G")
    lead = piece.part(0, CLARINET, 118, 58, 60, 96)
    horn = piece.part(1, HORN, 108, 46, 70, 84)
    plucked = piece.part(2, PIZZICATO, 127, 78, 50, 78)
    bass = piece.part(3, BASS, 114, 64, 30, 90)
    tremolo = piece.part(4, TREMOLO, 104, 52, 70, 72)
    timpani = piece.part(5, TIMPANI, 108, 64, 60, 80)
    drums = piece.part(DRUMS, 0, 127, 64, 40, 86)

    lead.write(0, "G5/1 Eb5/.5 C5/.5 D5/1 Eb5/1 C5/3 r/1 C6/1 Ab5/.5 C6/.5 Eb6/1 C6/1 B5/2 G5/1 D5/1 "
                  "Eb5/1 G5/1 C6/1 Eb6/1 C6/1.5 Ab5/.5 F5/1 Ab5/1 G5/1 B5/1 D6/1 B5/1 G5/3 r/1", .95, .94)
    horn.write(8, "C5/2 Eb5/1 C5/1 Bb4/2 G4/2 Ab4/1 C5/1 F5/1 C5/1 Eb5/2 C5/1 G4/1 "
                  "F5/1.5 Eb5/.5 Db5/1 Ab4/1 C5/2 Ab4/1 Eb4/1 D5/1 B4/1 G4/1 B4/1 D5/3 r/1", 1.0, .97)
    lead.write(16, "Eb6/1 D6/.5 C6/.5 G5/1 C6/1 D6/1 Bb5/1 F5/2 C6/1 Ab5/.5 C6/.5 Eb6/1 C6/1 B5/2 D6/1 G5/1 "
                   "Ab5/1 F5/1 C5/1 F5/1 G5/1 Eb5/1 C5/1 Eb5/1 D5/1 G5/1 B5/1 D6/1 G5/2 r/2", 1.0, .94)
    plucked.arpeggio(0, 8, 55, "01213121", .5, .85, .7)
    plucked.arpeggio(8, 16, 55, "02132413", .5, .9, .7)
    plucked.arpeggio(16, 24, 55, "0123432101234321", .25, .8, .8)
    bass.bass(0, 8, 33, "r.rr.r5r", .5, .9)
    bass.bass(8, 24, 33, "r.rr.r58", .5, .98)
    tremolo.pad(0, 24, 53, .85)
    for first in (0, 8, 16):
        tremolo.swell(first, first + 8, 70, 112)
    for bar, text in ((7, "G2/1 r/1 G2/1 G2/1"), (15, "G2/1 G2/1 G2/.5 G2/.5 G2/1"), (22, "G2/1 r/1 G2/1 G2/1")):
        timpani.write(bar, text, .9)
    drums.beat(0, 23, WOOD_HIGH, "5...4...", .5, .65)
    drums.beat(0, 23, KICK, "6..4.5..", .5, .8)
    drums.beat(8, 23, HAT, "43534353", .5, .7)
    drums.beat(16, 23, STICK, "..6...6.", .5, .75)
    piece.save()


def morning():
    """The sun is up, in G: everybody."""
    piece = Piece("MORNING", "Morning in the Hollow", 104, 4, "G C G D Em C D G  C D Bm Em Am D G G")
    flute = piece.part(0, FLUTE, 122, 58, 80, 100)
    horn = piece.part(1, HORN, 100, 46, 80, 84)
    harp = piece.part(2, HARP, 112, 78, 80, 84)
    strings = piece.part(3, STRINGS, 92, 52, 80, 80)
    bass = piece.part(4, BASS, 112, 64, 30, 90)
    bells = piece.part(5, GLOCKENSPIEL, 120, 86, 90, 80)
    drums = piece.part(DRUMS, 0, 122, 64, 50, 84)

    flute.write(0, "B5/1.5 A5/.5 G5/1 D5/1 E5/1 G5/1 C6/2 B5/1 D6/1 G6/1 D6/1 A5/3 r/1 "
                   "G5/1 B5/1 E6/1 B5/1 C6/1.5 D6/.5 E6/1 C6/1 D6/1 A5/1 F#5/1 A5/1 G5/3 r/1", .95)
    flute.write(8, "E6/2 C6/1 G5/1 F#6/2 D6/1 A5/1 D6/1 B5/1 F#5/1 B5/1 G5/2 B5/1 E6/1 "
                   "C6/1 A5/1 E5/1 A5/1 F#5/1 A5/1 D6/1 F#6/1 G6/2 D6/1 B5/1 G5/3 r/1", 1.0)
    horn.write(8, "G4/4 A4/4 B4/4 B4/4 C5/4 A4/4 B4/4 G4/3 r/1", .9, .98)
    bells.write(8, "r/3 G6/1 r/3 A6/1 r/3 F#6/1 r/3 B6/1 r/3 E6/1 r/3 D7/1 G6/.5 B6/.5 D7/1 r/2 r/4", .8)
    harp.arpeggio(0, 8, 43, "02434243", .5, .9, 1.8)
    harp.arpeggio(8, 15, 43, "0123456701234567", .25, .8, 2, 8)
    strings.pad(0, 16, 59, .85, 4)
    strings.swell(0, 8, 70, 104)
    strings.swell(8, 16, 84, 120)
    bass.bass(0, 16, 31, "r--r5-r-", .5, .95)
    drums.beat(4, 15, TAMBOURINE, "4.2.4.23", .5, .75)
    drums.beat(8, 9, CYMBAL, "4...", 1, .6)
    piece.save()


def danger():
    """Short of breath, in D minor: a ticking clock and trembling strings."""
    piece = Piece("DANGER", "The Glow Fades", 144, 4, "Dm Dm Eb Dm Gm Dm Bb A Dm Eb A A")
    lead = piece.part(0, CLARINET, 112, 56, 60, 92)
    tremolo = piece.part(1, TREMOLO, 112, 64, 60, 76)
    plucked = piece.part(2, PIZZICATO, 127, 78, 40, 83)
    bass = piece.part(3, BASS, 100, 64, 30, 92)
    timpani = piece.part(4, TIMPANI, 104, 64, 50, 81)
    bells = piece.part(5, GLOCKENSPIEL, 118, 88, 70, 69)
    drums = piece.part(DRUMS, 0, 124, 64, 30, 78)

    lead.write(0, "D5/1 F5/1 E5/.5 D5/.5 A4/1 D5/1 F5/1 A5/1 r/1 G5/1 Bb5/1 G5/.5 F5/.5 Eb5/1 D5/2 A4/1 r/1 "
                  "G5/1 Bb5/1 A5/.5 G5/.5 D5/1 F5/1 A5/1 F5/1 r/1 F5/1 Bb5/1 D6/1 Bb5/1 A5/1.5 Bb5/.5 A5/1 C#5/1 "
                  "D6/1 A5/1 F5/.5 E5/.5 D5/1 Eb5/1 G5/1 Bb5/1 Eb6/1 E6/1 C#6/1 A5/.5 G5/.5 E5/1 A5/1 C#5/1 E5/1 r/1",
               .95, .88)
    tremolo.pad(0, 12, 50, .85)
    tremolo.swell(0, 4, 70, 100)
    tremolo.swell(4, 8, 76, 112)
    tremolo.swell(8, 12, 84, 124)
    plucked.arpeggio(0, 12, 62, "0102010201020102", .25, .62, .7)
    bass.bass(0, 8, 31, "rr.rr.r.", .5, .85)
    bass.bass(8, 12, 31, "rrrrrr5r", .5, .95)
    timpani.write(3, "D2/1 r/2 D2/1", .8)
    timpani.write(7, "A2/1 r/1 A2/1 A2/1", .85)
    timpani.write(10, "A2/1 r/1 A2/1 A2/1 A2/1 A2/.5 A2/.5 A2/1 r/1", .95)
    bells.write(0, "r/3 A6/1 r/4 r/3 G6/1 r/4 r/3 D7/1 r/4 r/3 D7/1 r/4 r/3 A6/1 r/3 Bb6/1 r/3 C#7/1 r/4", .8)
    drums.beat(0, 12, WOOD_HIGH, "5...5...", .5, .7)
    drums.beat(0, 12, WOOD_LOW, "..4...4.", .5, .7)
    drums.beat(4, 12, HAT, "33433343", .5, .7)
    drums.beat(8, 12, KICK, "6.4.6.4.", .5, .8)
    piece.save()


def dawn():
    """The night is done: four bars in G."""
    piece = Piece("DAWN", "First Light", 120, 4, "G C D7 G", False)
    lead = piece.part(0, FLUTE, 118, 58, 70, 89)
    horn = piece.part(1, HORN, 104, 48, 70, 81)
    bells = piece.part(2, GLOCKENSPIEL, 127, 84, 80, 78)
    harp = piece.part(3, HARP, 84, 76, 70, 78)
    strings = piece.part(4, STRINGS, 50, 56, 70, 78)
    bass = piece.part(5, BASS, 98, 64, 30, 80)
    timpani = piece.part(6, TIMPANI, 96, 64, 60, 78)
    drums = piece.part(DRUMS, 0, 110, 64, 50, 64)

    tune = ("D5/.5 G5/.5 B5/.5 D6/1 B5/.5 D6/1 E6/1.5 D6/.5 C6/1 E6/1 "
            "F#6/1 E6/.5 D6/.5 A5/1 F#6/1 G6/3 r/1")
    lead.write(0, tune, 1.0)
    horn.write(0, tune, .85, .9, -12)
    bells.write(0, "r/3 D7/1 r/2 C7/1 E7/1 r/2 A6/1 F#7/1 G7/.5 D7/.5 B6/.5 D7/.5 G7/1 r/1", .8)
    harp.arpeggio(0, 3, 55, "0123456701234567", .25, .8, 2, 8)
    harp.arpeggio(3, 4, 43, "0123456789......", .25, .9, 4, 10)
    strings.pad(0, 3, 59, .9, 4)
    strings.write(3, "B3+D4+G4+B4/4", .95, .95)
    bass.bass(0, 3, 31, "r--r5-r-", .5, .95)
    bass.write(3, "G2/3 r/1", 1.0)
    timpani.write(0, "G2/2 r/2", .8)
    timpani.write(2, "D2/1 D2/1 D2/.5 D2/.5 D2/.5 D2/.5 G2/3 r/1", .9)
    drums.beat(0, 3, TAMBOURINE, "4.2.4.2.", .5, .8)
    drums.beat(3, 4, CYMBAL, "5...", 1, .8)
    piece.save()


def fade():
    """The light is gone: three slow bars in D minor."""
    piece = Piece("FADE", "Out of Light", 92, 4, "Dm Gm:A Dm", False)
    lead = piece.part(0, CLARINET, 112, 58, 80, 90)
    harp = piece.part(1, HARP, 100, 76, 80, 74)
    strings = piece.part(2, SLOW_STRINGS, 124, 52, 80, 74)
    cello = piece.part(3, CELLO, 97, 48, 80, 83)
    bells = piece.part(4, CELESTA, 112, 80, 90, 65)

    lead.write(0, "F5/1 E5/.5 D5/.5 A4/2 Bb4/1 D5/1 C#5/1.5 E5/.5 D5/4", .95, .98)
    harp.arpeggio(0, 2, 50, "01234321", .5, .9, 1.5)
    harp.arpeggio(2, 3, 38, "012345..", .5, .8, 5, 6)
    strings.pad(0, 3, 53, .85)
    strings.swell(0, 3, 60, 100)
    cello.write(0, "D3/2 F3/2 G3/2 A2/2 D3/4", .9, .98)
    bells.write(2, "r/2 A5/.5 F5/.5 D5/1", .8)
    piece.slower(6, 84)
    piece.slower(8, 76)
    piece.save()


def scores():
    """By the lantern, in C: vibraphone and harp, a flute joins for the second half."""
    piece = Piece("SCORES", "Lantern Light", 96, 4, "C Am Dm G Em Am Dm G7 F Em Dm C F Fm C G7")
    vibes = piece.part(0, VIBRAPHONE, 124, 58, 70, 94)
    harp = piece.part(1, HARP, 99, 78, 70, 69)
    bass = piece.part(2, BASS, 101, 64, 30, 80)
    strings = piece.part(3, SLOW_STRINGS, 120, 50, 80, 67)
    flute = piece.part(4, FLUTE, 98, 70, 80, 78)
    drums = piece.part(DRUMS, 0, 116, 64, 40, 87)

    first = ("E5/1.5 G5/.5 C5/1 E5/1 A5/2 E5/1 C5/1 F5/1.5 A5/.5 D5/1 F5/1 G5/3 r/1 "
             "B5/1.5 A5/.5 G5/1 E5/1 C6/2 A5/1 E5/1 D6/1 C6/.5 A5/.5 F5/1 A5/1 B5/2 G5/1 D5/1")
    second = ("A5/1 C6/1 A5/.5 G5/.5 F5/1 G5/1 B5/1 G5/.5 A5/.5 B5/1 A5/1.5 F5/.5 D5/1 F5/1 E5/2 G5/1 C6/1 "
              "C6/1.5 A5/.5 F5/1 A5/1 Ab5/1.5 C6/.5 F5/1 Ab5/1 G5/1.5 E5/.5 C5/1 E5/1 D5/1 G5/1 B5/1 r/1")
    vibes.write(0, first, .95, 1.0)
    flute.write(8, second, 1.0, .96)
    vibes.write(8, "r/2 C5/.5 F5/.5 A5/1 r/2 B4/.5 E5/.5 G5/1 r/2 D5/.5 F5/.5 A5/1 r/2 C5/.5 E5/.5 G5/1 "
                   "r/2 C5/.5 F5/.5 A5/1 r/2 C5/.5 F5/.5 Ab5/1 r/2 G5/.5 E5/.5 C5/1 r/1 D5/.5 F5/.5 G5/1 r/1", .75, 1.0)
    harp.arpeggio(0, 8, 48, "02434542", .5, .8, 2)
    harp.arpeggio(8, 16, 48, "02454642", .5, .85, 2, 7)
    bass.bass(0, 8, 36, "r--.5-..", .5, .85)
    bass.bass(8, 16, 36, "r--r5---", .5, .92)
    strings.pad(4, 16, 55, .85)
    strings.swell(4, 8, 60, 90)
    strings.swell(8, 16, 70, 106)
    drums.beat(4, 15, SHAKER, "4.23.4.2", .5, .7)
    drums.beat(8, 15, STICK, "..3...3.", .5, .5)
    piece.save()


def main():
    title()
    night_one()
    night_two()
    marsh()
    ember()
    frost()
    hollow()
    morning()
    danger()
    dawn()
    fade()
    scores()


if __name__ == "__main__":
    main()
