"""The sounds of Little Kettle."""
from synth import bell, breath, hertz, save, silence, tone

GLASS = ((1, 1.0), (2, .35), (3, .18), (5.4, .1))
TIN = ((1, 1.0), (2.76, .5), (5.4, .25))


def write_moves():
    sound = silence(.22)
    tone(sound, 0, .2, 300, .8, .004, 2.4, ((1, 1), (2, .3)), 640)
    breath(sound, 0, .1, .25, 2500, 5200, 1, .004, 2)
    save("JUMP", sound, .3)
    sound = silence(.42)
    breath(sound, 0, .38, .9, 1800, 5600, 2, .02, 1.6, .2)
    tone(sound, .02, .34, 1250, .28, .03, 1.8, ((1, 1), (2, .2)), 1900, .012, 22)
    save("PUFF", sound, .38)
    sound = silence(.4)
    tone(sound, 0, .36, 180, .9, .003, 1.6, ((1, 1), (2, .4)), 720, .03, 16)
    save("BOUNCE", sound, .42)
    sound = silence(.26)
    tone(sound, 0, .2, 380, .8, .002, 2.6, TIN, 120)
    breath(sound, 0, .1, .6, 900, 300, 3, .002, 2.4)
    save("STOMP", sound)


def write_finds():
    sound = silence(.3)
    bell(sound, 0, .26, hertz("B6"), .6, 2.8, .9)
    bell(sound, .045, .24, hertz("E7"), .7, 2.8, .8)
    save("SUGAR", sound, .3)
    sound = silence(1.1)
    for k, name in enumerate(("G5", "B5", "D6", "G6", "B6")):
        bell(sound, k * .07, 1.0 - k * .07, hertz(name), .6, 3.0, 1.2, 2.4)
        tone(sound, k * .07, .7, hertz(name) * 2, .16, partials=GLASS)
    save("LEAF", sound)
    sound = silence(.7)
    for start, name in ((0, "C6"), (.1, "E6"), (.2, "G6")):
        tone(sound, start, .5, hertz(name), .6, .01, 2.2, ((1, 1), (2, .4), (3, .15)))
    save("HEART", sound, .42)
    sound = silence(1.2)
    breath(sound, 0, .35, .6, 700, 3600, 5, .04, 2)
    breath(sound, .25, .9, .3, 360, 240, 6, .2, 1.4)
    for k, name in enumerate(("C5", "G5", "C6", "E6")):
        tone(sound, .15 + k * .08, .8, hertz(name), .4, .02, 2, ((1, 1), (2, .3)))
    save("STOVE", sound)
    sound = silence(2.4)
    for start, name in ((0, "C6"), (.14, "E6"), (.28, "G6"), (.42, "C7"), (.7, "A6"), (.84, "C7"), (1.0, "G6"), (1.0, "E7")):
        bell(sound, start, min(1.3, 2.4 - start), hertz(name), .5, 3.0, 1.2, 2.4)
    for name in ("C4", "G4", "E5"):
        tone(sound, 1.0, 1.35, hertz(name), .26, .06, 1.6, ((1, 1), (2, .4), (3, .15)))
    # Tea that is poured.
    breath(sound, .5, 1.2, .16, 500, 1500, 7, .1, 1.2, .12)
    save("CUP", sound)


def write_trouble():
    sound = silence(.5)
    tone(sound, 0, .42, 520, .8, .003, 1.8, TIN, 170, .02, 24)
    breath(sound, 0, .25, .5, 1600, 400, 8, .004, 2.4)
    save("HURT", sound)
    sound = silence(1.1)
    for k, pitch in enumerate((430, 360, 300, 220)):
        tone(sound, k * .14, .4, pitch, .6, .006, 2, TIN, pitch * .8)
    breath(sound, .3, .75, .55, 1400, 260, 9, .06, 1.6, .2)
    save("SPILL", sound)


def write_menu():
    sound = silence(.09)
    tone(sound, 0, .085, hertz("G5"), 1, .003, 2.5, ((1, 1), (2, .25)))
    save("MOVE", sound, .26)
    sound = silence(.3)
    bell(sound, 0, .14, hertz("G5"), .7, 2, .9)
    bell(sound, .07, .22, hertz("C6"), .8, 2, .9)
    save("PICK", sound, .38)


if __name__ == "__main__":
    write_moves()
    write_finds()
    write_trouble()
    write_menu()
