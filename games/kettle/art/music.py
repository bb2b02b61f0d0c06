"""The music of Little Kettle, written out: TITLE, MEADOW, WOODS, FROST, SUMMIT, END."""
from midi import DRUMS, Piece

# General MIDI programs.
CELESTA, GLOCKENSPIEL, MUSIC_BOX, VIBRAPHONE, MARIMBA, XYLOPHONE = 8, 9, 10, 11, 12, 13
ACCORDION, GUITAR, BASS, PIZZICATO, HARP, STRINGS, SLOW_STRINGS = 21, 24, 32, 45, 46, 48, 49
TUBA, HORN, BASSOON, CLARINET, PICCOLO, FLUTE, OCARINA = 58, 60, 70, 71, 72, 73, 79
KICK, STICK, SNARE, HAT, TAMBOURINE, SHAKER, TRIANGLE, WOOD = 36, 37, 38, 42, 54, 70, 81, 76


def title():
    """A lazy swing of accordion and plucked strings in C."""
    piece = Piece("TITLE", "Little Kettle", 104, 4,
                  "C Am F G7 C Am Dm G7 F G7 C Am Dm G7 C G7")
    lead = piece.part(0, ACCORDION, 84, 60, 60, 92)
    box = piece.part(1, MUSIC_BOX, 100, 80, 70, 84)
    pluck = piece.part(2, PIZZICATO, 104, 50, 50, 84)
    bass = piece.part(3, BASS, 112, 64, 30, 92)
    drums = piece.part(DRUMS, 0, 100, 64, 40, 84)
    lead.write(0, "E5/1.5 G5/.5 C5/1 D5/.5 E5/.5 A4/2 r/1 C5/1 A4/1 C5/1 F5/1 E5/.5 D5/.5 D5/3 r/1 "
                  "E5/1.5 G5/.5 C6/1 B5/.5 G5/.5 A5/2 r/1 E5/1 F5/1 A5/.5 F5/.5 D5/1 E5/.5 F5/.5 G5/3 r/1")
    lead.write(8, "A5/1.5 G5/.5 F5/1 A5/1 G5/1 F5/.5 D5/.5 B4/1 D5/1 E5/1.5 D5/.5 C5/1 E5/1 C5/2 A4/2 "
                  "D5/1 F5/.5 A5/.5 G5/1 F5/1 G5/1 D5/.5 E5/.5 F5/1 B4/1 C5/3 r/1 G4/2 r/2", .95)
    box.write(4, "r/2 E6/.5 G6/.5 C7/1 r/4 r/2 D6/.5 F6/.5 A6/1 r/4", .8)
    box.write(12, "r/2 D6/.5 F6/.5 A6/1 r/4 r/1 E6/.5 G6/.5 C7/.5 G6/.5 E6/1 r/4", .8)
    pluck.chords_on(0, 15, 55, "..x...x.", .5, .85)
    bass.bass(0, 15, 36, "r-..5-..", .5, .95)
    drums.beat(0, 16, SHAKER, "3.5.3.52", .5, .8)
    drums.beat(8, 16, STICK, "....4...", .5, .7)
    piece.save()


def meadow():
    """A walk in G: flute and marimba over a guitar."""
    piece = Piece("MEADOW", "Morning Meadow", 126, 4,
                  "G D Em C G D C D G Bm C D Em C D G "
                  "C G Am Em C G D D G D Em C Am D G D")
    lead = piece.part(0, FLUTE, 108, 60, 70, 92)
    marimba = piece.part(1, MARIMBA, 110, 78, 60, 90)
    guitar = piece.part(2, GUITAR, 92, 46, 50, 78)
    bass = piece.part(3, BASS, 112, 64, 30, 94)
    strings = piece.part(4, SLOW_STRINGS, 100, 64, 80, 66)
    drums = piece.part(DRUMS, 0, 108, 64, 40, 88)
    lead.write(0, "B5/1 G5/.5 A5/.5 B5/1 D6/1 A5/1.5 F#5/.5 D5/1 F#5/1 G5/1 E5/.5 F#5/.5 G5/1 B5/1 E5/2 r/2 "
                  "B5/1 G5/.5 A5/.5 B5/1 D6/1 F#6/1.5 E6/.5 D6/1 A5/1 G5/.5 A5/.5 C6/1 B5/1 G5/1 A5/3 r/1")
    lead.write(8, "D6/1 B5/.5 G5/.5 D6/1 G6/1 F#6/1.5 D6/.5 B5/2 E6/1 C6/.5 G5/.5 E6/1 D6/.5 C6/.5 D6/2 A5/2 "
                  "B5/.5 C6/.5 B5/1 G5/1 E5/1 G5/1 C6/1 E6/1 D6/.5 C6/.5 A5/1 D6/1 F#5/1 A5/1 G5/3 r/1")
    marimba.write(16, "E5/.5 G5/.5 C6/1 r/.5 G5/.5 E5/1 D5/.5 G5/.5 B5/1 r/.5 G5/.5 D5/1 "
                      "C5/.5 E5/.5 A5/1 r/.5 E5/.5 C5/1 B4/.5 E5/.5 G5/1 B5/2 "
                      "E5/.5 G5/.5 C6/1 r/.5 D6/.5 E6/1 D6/.5 B5/.5 G5/1 B5/2 "
                      "A5/1 F#5/.5 D5/.5 A5/1 C6/1 D6/3 r/1", 1.0)
    lead.write(24, "B5/1 D6/1 G6/1 F#6/.5 G6/.5 F#6/1.5 D6/.5 A5/2 B5/1 E6/1 G6/1 F#6/.5 E6/.5 E6/2 G5/2 "
                   "A5/.5 C6/.5 E6/1 D6/.5 C6/.5 A5/1 D6/1 C6/.5 A5/.5 F#5/1 A5/1 G5/2 D6/1 G5/1 A5/2 r/2", .95)
    guitar.arpeggio(0, 31, 50, "02132132", .5, .85, 1.2)
    bass.bass(0, 16, 36, "r-.r5-..", .5, .9)
    bass.bass(16, 31, 36, "r-r.5-8.", .5, .95)
    strings.pad(8, 31, 55, .75)
    drums.beat(0, 32, SHAKER, "53435343", .5, .6)
    drums.beat(4, 32, KICK, "6...5...", .5, .7)
    drums.beat(4, 32, STICK, "..4...4.", .5, .6)
    drums.beat(16, 32, TAMBOURINE, "....5...", .5, .7)
    piece.save()


def woods():
    """Leaves in D minor: clarinet and bassoon, a sly bass."""
    piece = Piece("WOODS", "Amber Woods", 118, 4,
                  "Dm Dm Gm A7 Dm Bb Gm A7 Dm F Gm Dm Bb Gm A7 Dm "
                  "F C Gm Dm Bb F Gm A7 Dm Gm A7 Dm Bb C Dm A7")
    lead = piece.part(0, CLARINET, 108, 56, 70, 94)
    low = piece.part(1, BASSOON, 104, 74, 60, 88)
    pluck = piece.part(2, PIZZICATO, 108, 46, 60, 86)
    bass = piece.part(3, BASS, 114, 64, 30, 96)
    bells = piece.part(4, GLOCKENSPIEL, 90, 84, 80, 70)
    drums = piece.part(DRUMS, 0, 108, 64, 40, 86)
    tune = ("D5/.5 F5/.5 A5/1 r/.5 G#5/.5 A5/1 F5/.5 E5/.5 D5/1 r/2 G5/.5 Bb5/.5 D6/1 r/.5 C6/.5 Bb5/1 A5/1 C#5/1 E5/1 r/1 "
            "D5/.5 F5/.5 A5/1 r/.5 C6/.5 A5/1 Bb5/1 F5/1 D5/2 G5/.5 A5/.5 Bb5/1 G5/1 D5/1 E5/1 C#5/1 A4/1 r/1")
    lead.write(0, tune)
    lead.write(8, "A5/1.5 G5/.5 F5/1 D5/1 C6/1.5 A5/.5 F5/2 Bb5/1 A5/.5 G5/.5 D5/1 G5/1 F5/2 A5/2 "
                  "D6/1 C6/.5 Bb5/.5 F5/1 Bb5/1 G5/1 A5/.5 Bb5/.5 D6/1 Bb5/1 A5/1 G5/.5 E5/.5 C#5/1 E5/1 D5/3 r/1", .97)
    low.write(16, "A3/1.5 C4/.5 F4/1 A4/1 G4/1.5 E4/.5 C4/2 D4/1 G4/1 Bb4/1 A4/.5 G4/.5 A4/2 F4/2 "
                  "F4/1 D4/1 Bb3/1 D4/1 C4/1 F4/1 A4/2 Bb4/1 G4/1 D4/1 Bb3/1 A3/1 C#4/1 E4/1 r/1", 1.05)
    lead.write(24, "D5/.5 F5/.5 A5/1 r/.5 G5/.5 F5/1 G5/.5 Bb5/.5 D6/1 r/2 C#6/.5 A5/.5 E5/1 r/.5 G5/.5 E5/1 F5/1 D5/1 r/2 "
                   "Bb5/.5 D6/.5 F6/1 D6/2 C6/.5 E6/.5 G6/1 E6/2 F6/1 D6/1 A5/1 F5/1 E5/2 r/2")
    bells.write(16, "r/3 A6/1 r/3 G6/1 r/3 D6/1 r/3 A6/1 r/3 F6/1 r/3 C6/1 r/3 D6/1 r/4", .8)
    pluck.chords_on(0, 31, 53, "..x...xx", .5, .85, .4)
    bass.bass(0, 31, 36, "r-.r.5r.", .5, .9)
    drums.beat(0, 32, WOOD, "4...3.4.", .5, .6)
    drums.beat(8, 32, SHAKER, "3.4.3.4.", .5, .7)
    drums.beat(8, 32, KICK, "6.....5.", .5, .7)
    piece.save()


def frost():
    """Clear air in A: celesta and strings, three in a bar."""
    piece = Piece("FROST", "Frost Pass", 132, 3,
                  "A E F#m D A E D E A C#m F#m D Bm E A E "
                  "D E C#m F#m D E A A Bm E A F#m D E A E")
    lead = piece.part(0, CELESTA, 124, 58, 80, 98)
    flute = piece.part(1, PICCOLO, 84, 74, 80, 76)
    harp = piece.part(2, HARP, 98, 48, 70, 76)
    strings = piece.part(3, STRINGS, 100, 64, 80, 66)
    bass = piece.part(4, BASS, 108, 64, 40, 86)
    drums = piece.part(DRUMS, 0, 100, 64, 60, 80)
    lead.write(0, "E6/1 C#6/.5 D6/.5 E6/1 B5/2 G#5/1 A5/1 F#5/.5 G#5/.5 A5/1 F#5/3 E6/1 C#6/.5 D6/.5 E6/1 G#6/2 E6/1 "
                  "F#6/1 D6/1 A5/1 B5/3")
    lead.write(8, "C#6/1 E6/1 A6/1 G#6/2 E6/1 F#6/1 C#6/1 A5/1 D6/3 B5/1 D6/1 F#6/1 E6/1 B5/1 G#5/1 A5/3 B5/2 r/1", 1.0)
    flute.write(16, "F#6/2 A6/1 G#6/1.5 F#6/.5 E6/1 E6/2 C#6/1 A5/2 C#6/1 D6/1 F#6/1 A6/1 B6/2 G#6/1 A6/3 A6/2 r/1", .95, .97)
    lead.write(24, "D6/1 F#6/.5 E6/.5 D6/1 B5/2 E6/1 C#6/1 E6/1 A6/1 F#6/2 C#6/1 D6/1 F#6/1 A6/1 G#6/1 E6/1 B5/1 A5/3 E6/2 r/1", 1.0)
    harp.arpeggio(0, 31, 45, "024342", .5, .85, 1.8)
    strings.pad(8, 31, 57, .8)
    bass.bass(0, 31, 33, "r-5", 1, .85)
    drums.beat(0, 32, TRIANGLE, "4.....", .5, .6)
    drums.beat(8, 32, SHAKER, "4.3.3.", .5, .6)
    piece.save()


def summit():
    """The climb in E minor: ocarina over a driving figure, and broad chords."""
    piece = Piece("SUMMIT", "The Summit", 138, 4,
                  "Em Em C D Em G C D Em Bm C G Am C D Em "
                  "C D G Em C D Em Em Am Em C D Em C D D")
    lead = piece.part(0, OCARINA, 110, 58, 80, 92)
    horn = piece.part(1, HORN, 98, 74, 80, 80)
    figure = piece.part(2, PIZZICATO, 108, 48, 50, 88)
    strings = piece.part(3, STRINGS, 104, 64, 80, 70)
    bass = piece.part(4, BASS, 116, 64, 30, 100)
    drums = piece.part(DRUMS, 0, 116, 64, 40, 94)
    lead.write(4, "E5/1 G5/1 B5/1.5 A5/.5 G5/1 B5/1 D6/2 E6/1.5 D6/.5 C6/1 G5/1 A5/1 F#5/1 D5/2")
    lead.write(8, "B5/1 G5/1 E5/1 B5/1 D6/1.5 B5/.5 F#5/2 E6/1 D6/.5 C6/.5 G5/1 C6/1 B5/2 D6/2 "
                  "C6/1 A5/1 E5/1 A5/1 G5/1 C6/1 E6/1 G6/1 F#6/1.5 E6/.5 D6/1 A5/1 B5/3 r/1")
    horn.write(16, "E4/2 G4/1 C5/1 D5/2 A4/2 B4/2 D5/1 G4/1 G4/2 E4/2 C5/2 E5/1 G4/1 F#4/2 A4/2 B4/4 B4/3 r/1", 1.05, .97)
    lead.write(24, "E6/1 C6/1 A5/1 C6/1 B5/2 G5/2 E6/1.5 D6/.5 C6/1 E6/1 F#6/2 D6/1 A5/1 "
                   "G6/1 F#6/.5 E6/.5 B5/2 C6/1 E6/1 G6/2 F#6/2 D6/2 A5/2 r/2")
    figure.arpeggio(0, 31, 52, "01210212", .5, .9, .7)
    strings.pad(8, 31, 55, .85)
    bass.bass(0, 31, 36, "rr.r5.r.", .5, .92)
    drums.beat(0, 32, HAT, "42324232", .5, .6)
    drums.beat(2, 32, KICK, "7...6.5.", .5, .8)
    drums.beat(4, 32, SNARE, "..4...4.", .5, .5)
    piece.save()


def end():
    """Home, slowly, in C."""
    piece = Piece("END", "Still Hot", 88, 4, "C Em F G7 Am F Dm G7 C Em F G7 Am Dm G7 C")
    box = piece.part(0, MUSIC_BOX, 116, 60, 80, 94)
    strings = piece.part(1, SLOW_STRINGS, 108, 64, 80, 72)
    harp = piece.part(2, HARP, 96, 50, 70, 76)
    horn = piece.part(3, HORN, 88, 76, 80, 72)
    bass = piece.part(4, BASS, 104, 64, 40, 84)
    box.write(0, "E6/1.5 G6/.5 C6/1 D6/.5 E6/.5 B5/2 G5/2 A5/1 C6/1 F6/1 E6/.5 D6/.5 D6/3 r/1 "
                 "C6/1.5 E6/.5 A6/1 G6/1 F6/2 C6/2 D6/1 F6/1 A6/1 F6/1 G6/3 r/1")
    horn.write(8, "G4/2 E4/2 B4/2 G4/2 A4/2 C5/2 B4/3 r/1 C5/2 A4/2 D5/2 F4/2 G4/2 F4/2 E4/3 r/1", .95, .97)
    box.write(8, "r/2 E6/.5 G6/.5 C7/1 r/4 r/2 C6/.5 F6/.5 A6/1 r/4 r/2 E6/.5 A6/.5 C7/1 r/4 D6/.5 F6/.5 B6/1 r/2 C6/3 r/1", .85)
    harp.arpeggio(0, 15, 48, "02134312", .5, .85, 2.0)
    strings.pad(0, 16, 55, .8, 4)
    strings.swell(0, 16, 70, 116)
    bass.bass(0, 15, 36, "r---5---", .5, .85)
    piece.save()


if __name__ == "__main__":
    title()
    meadow()
    woods()
    frost()
    summit()
    end()
