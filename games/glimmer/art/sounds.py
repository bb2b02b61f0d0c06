"""The sounds of Glimmer Hollow."""
from synth import bell, breath, hertz, save, silence, tone

GLASS = ((1, 1.0), (2, .35), (3, .18), (5.4, .1))


def write_gathering():
    """Dew rings up a pentatonic ladder as the combo grows; the rarer things answer with more."""
    for k, name in enumerate(("E6", "G6", "A6", "C7", "E7")):
        sound = silence(.34)
        bell(sound, 0, .3, hertz(name), .8, 3.0, 1.1)
        tone(sound, .035, .3, hertz(name) * 1.5, .35, partials=GLASS)
        save("SPARK%d" % (k + 1), sound, .42)
    sound = silence(.75)
    for k, name in enumerate(("C6", "E6", "G6", "C7", "E7")):
        bell(sound, k * .055, .5, hertz(name), .7, 3.0, 1.5)
        tone(sound, k * .055, .45, hertz(name) * 2, .18)
    save("GOLD", sound)
    sound = silence(1.1)
    for k, name in enumerate(("A5", "C#6", "E6", "G#6", "B6")):
        tone(sound, k * .07, 1.0 - k * .07, hertz(name), .5, .03, 2.0, GLASS, vibrato=.004)
    breath(sound, 0, .9, .12, 2500, 7000, 3, .2)
    save("PETAL", sound)
    sound = silence(.85)
    for start, length, name in ((0, .3, "F5"), (.1, .3, "A5"), (.2, .6, "C6"), (.2, .6, "F6")):
        tone(sound, start, length, hertz(name), .6, .008, 2.2, ((1, 1), (2, .4), (3, .15), (4, .06)))
    bell(sound, .22, .6, hertz("C7"), .25)
    save("BERRY", sound)


def write_trouble():
    sound = silence(.55)
    tone(sound, 0, .45, 420, .8, .004, 1.8, ((1, 1), (2, .5), (3, .35), (4, .2)), 110, .02, 28)
    breath(sound, 0, .22, .5, 1800, 300, 11, .004, 2.5)
    tone(sound, 0, .3, 130, .6, .003, 2.5, glide=55)
    save("HURT", sound)
    sound = silence(.38)
    breath(sound, 0, .34, .9, 500, 3800, 12, .06, 1.6, .18)
    tone(sound, .01, .26, 330, .2, .05, 2, glide=880)
    save("DASH", sound, .4)
    # Three hoots, hollow: mostly the fundamental, with breath around it.
    sound = silence(1.45)
    for start, length, pitch, volume in ((0, .22, 345, .6), (.3, .2, 340, .55), (.62, .72, 362, .9)):
        tone(sound, start, length, pitch, volume, .05, 1.2, ((1, 1), (2, .16), (3, .06)), pitch * .88, .006, 6)
        breath(sound, start, length, volume * .1, pitch * 1.1, pitch, 13, .05, 1.2, .06)
    save("OWL", sound)
    sound = silence(2.2)
    breath(sound, 0, 1.5, .8, 260, 900, 15, .7, 1.2, .3)
    breath(sound, .7, 1.5, .7, 900, 320, 16, .5, 1.4, .3)
    save("WIND", sound, .34)


def write_milestones():
    # The lantern: a match, then the flame takes hold in a rising chord.
    sound = silence(1.5)
    breath(sound, 0, .3, .5, 900, 4200, 21, .05, 2)
    breath(sound, .2, 1.1, .28, 380, 240, 22, .2, 1.4)
    for k, name in enumerate(("D5", "F#5", "A5", "D6", "F#6", "A6")):
        bell(sound, .16 + k * .075, 1.25 - k * .075, hertz(name), .5, 2.0, 1.2, 2.4)
    for name in ("D4", "A4"):
        tone(sound, .2, 1.25, hertz(name), .3, .15, 1.6, ((1, 1), (2, .3)))
    save("LANTERN", sound)
    sound = silence(2.1)
    for start, name in ((0, "G5"), (.13, "B5"), (.26, "D6"), (.39, "G6"), (.62, "F#6"), (.75, "A6"), (.9, "G6"),
                        (.9, "B6"), (.9, "D7")):
        bell(sound, start, min(1.2, 2.1 - start), hertz(name), .5, 3.0, 1.3, 2.6)
    for name in ("G4", "D5", "B4"):
        tone(sound, .9, 1.15, hertz(name), .24, .05, 1.7, ((1, 1), (2, .4), (3, .15)))
    save("NIGHT", sound)
    sound = silence(2.1)
    for start, length, name in ((0, .6, "A4"), (.35, .6, "F4"), (.7, .6, "E4"), (1.05, 1.0, "D4")):
        tone(sound, start, length, hertz(name), .55, .02, 1.8, ((1, 1), (2, .35), (3, .2), (4, .08)), vibrato=.005)
        tone(sound, start, length, hertz(name) / 2, .3, .03, 1.6)
    tone(sound, 1.05, 1.0, hertz("F4"), .3, .05, 1.8, ((1, 1), (2, .3)))
    save("OVER", sound)


def write_menu():
    sound = silence(.09)
    tone(sound, 0, .085, hertz("A5"), 1, .003, 2.5, ((1, 1), (2, .25)))
    save("MOVE", sound, .28)
    sound = silence(.3)
    bell(sound, 0, .14, hertz("A5"), .7, 2, .9)
    bell(sound, .07, .22, hertz("E6"), .8, 2, .9)
    save("PICK", sound, .4)
    sound = silence(.06)
    tone(sound, 0, .055, hertz("E6"), 1, .002, 2.5, ((1, 1), (3, .2)))
    save("COUNT", sound, .26)
    sound = silence(.95)
    for start, length, name in ((0, .2, "G5"), (.16, .2, "G5"), (.32, .6, "D6")):
        bell(sound, start, length, hertz(name), .7, 2, 1.1, 2.4)
        tone(sound, start, length, hertz(name) / 2, .25, .006, 2.4, ((1, 1), (2, .3)))
    save("READY", sound)


def main():
    write_gathering()
    write_trouble()
    write_milestones()
    write_menu()


if __name__ == "__main__":
    main()
