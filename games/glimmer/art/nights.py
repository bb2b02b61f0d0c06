"""What comes with later nights: WISP, SHADE, LEAF, and the MORNING after the last one."""
import math
import random

import cairo

from canvas import *
from scenery import WIDE, wave


def write_wisp():
    """A flame that flies: eight frames."""
    surface, ctx = picture(8 * 48, 48)
    for i in range(8):
        with cell(ctx, i, 8, 48, 48):
            turn = 2 * math.pi * i / 8
            glow(ctx, 24, 26, 22, "#5ff0b8", .6 + .12 * math.sin(turn))
            sway = 2.2 * math.sin(turn)
            for size, colour, alpha in ((11, "#2fbf94", .8), (7.6, "#8ff5cf", .9), (4.2, "#f2fff4", 1)):
                ctx.move_to(24 + sway, 26 - size * 1.5)
                ctx.curve_to(24 + size, 26 - size * .3, 24 + size, 26 + size * .8, 24, 26 + size * .8)
                ctx.curve_to(24 - size, 26 + size * .8, 24 - size, 26 - size * .3, 24 + sway, 26 - size * 1.5)
                fill(ctx, colour, alpha)
            for side in (-1, 1):
                oval(ctx, 24 + 2.6 * side, 27, 1.1, 1.7)
                fill(ctx, "#0e3a34", .95)
    save(surface, "WISP.PNG")


def write_shade():
    """A firefly of darkness, round so that it needs no directions: four frames."""
    surface, ctx = picture(4 * 64, 64)
    for i in range(4):
        with cell(ctx, i, 4, 64, 64):
            glow(ctx, 32, 32, 31, "#4a1e78", .85)
            for k in range(7):
                angle = 2 * math.pi * (k + i / 4) / 7
                leaf(ctx, 32, 32, 21 + 3 * math.sin(3 * angle + i), 13, angle)
                fill(ctx, "#0a0614", .8)
            oval(ctx, 32, 32, 14, 13)
            ctx.set_source(radial(32, 32, 15, [(0, "#241038", 1), (1, "#06030c", 1)]))
            ctx.fill_preserve()
            stroke(ctx, "#7a4ab8", 1.2, .8)
            for side in (-1, 1):
                glow(ctx, 32 + 5 * side, 31, 6, "#d07aff", .8)
                leaf(ctx, 32 + 2.2 * side, 32, 6.5 * side, 3.4, -.25 * side)
                fill(ctx, "#f4d8ff", 1)
    save(surface, "SHADE.PNG")


def write_leaf():
    """A leaf in the wind: eight frames of a turn."""
    surface, ctx = picture(8 * 24, 24)
    for i in range(8):
        with cell(ctx, i, 8, 24, 24):
            turn = 2 * math.pi * i / 8
            wide = 5 * abs(math.cos(turn)) + 1.2
            with placed(ctx, 12, 12, turn):
                leaf(ctx, -7, 0, 14, wide, 0)
                fill(ctx, "#e0913c", .95, True)
                stroke(ctx, "#5a2c18", .8, .8)
                ctx.move_to(-6, 0)
                ctx.line_to(6, 0)
                stroke(ctx, "#f8d890", .7, .6)
    save(surface, "LEAF.PNG")


def ridge(ctx, base, parts, colour):
    ctx.move_to(0, 801)
    for x in range(0, WIDE + 1, 8):
        ctx.line_to(x, base + wave(x, parts))
    ctx.line_to(WIDE, 801)
    fill(ctx, colour)


def write_morning():
    surface, ctx = picture(WIDE, 800)
    ctx.set_source(linear(0, 0, 0, 640, [(0, "#3f6fae", 1), (.35, "#8fa8d0", 1), (.6, "#f0c0a8", 1),
                                         (.82, "#ffd98a", 1), (1, "#fff3c8", 1)]))
    ctx.paint()
    chance = random.Random(12)
    for _ in range(40):
        x, y = chance.uniform(0, WIDE), chance.uniform(60, 330)
        with placed(ctx, x, y, 0, chance.uniform(60, 190), chance.uniform(5, 14)):
            ctx.set_source(radial(0, 0, 1, [(0, "#fff0e0", .28), (.6, "#ffd8c0", .14), (1, "#ffd0b0", 0)]))
            ctx.rectangle(-1, -1, 2, 2)
            ctx.fill()
    glow(ctx, 640, 520, 560, "#fff0b0", .75)
    glow(ctx, 640, 520, 230, "#fffbe0", .8)
    oval(ctx, 640, 520, 74)
    ctx.set_source(radial(640, 520, 76, [(0, "#ffffff", 1), (.7, "#fff6c8", 1), (1, "#ffdf7a", 1)]))
    ctx.fill()
    for k in range(18):
        angle = math.pi * (1 + (k + .5) / 18)
        with placed(ctx, 640, 520, angle):
            ctx.move_to(90, -5)
            ctx.line_to(700, -34)
            ctx.line_to(700, 34)
            ctx.line_to(90, 5)
            ctx.close_path()
            ctx.set_source(linear(90, 0, 700, 0, [(0, "#fff6d0", .3), (1, "#fff0c0", 0)]))
            ctx.fill()
    ridge(ctx, 545, ((2, 26, .4), (5, 12, 1.1)), "#8fb0a8")
    ridge(ctx, 600, ((3, 22, 2.0), (7, 9, .3)), "#5f9a80")
    ridge(ctx, 660, ((2, 18, 1.2), (6, 10, 2.4)), "#3f8060")
    for _ in range(900):
        x = chance.uniform(0, WIDE)
        y = 700 + chance.uniform(-20, 100)
        leaf(ctx, x, y, chance.uniform(26, 60), 4.4, -math.pi / 2 + chance.gauss(0, .3))
        fill(ctx, chance.choice(("#3a7a50", "#4f9160", "#2f6a4a", "#6aa866")))
    for _ in range(70):
        x, y, size = chance.uniform(0, WIDE), chance.uniform(668, 790), chance.uniform(4, 8)
        colour = chance.choice((MAGENTA, "#7fb2f5", "#ffffff", AMBER, "#f08aa0"))
        for k in range(5):
            angle = k * 2 * math.pi / 5
            oval(ctx, x + size * .6 * math.cos(angle), y + size * .55 * math.sin(angle), size * .55, size * .4, angle)
            fill(ctx, colour)
        oval(ctx, x, y, size * .32)
        fill(ctx, "#fff1c4")
    save(surface, "MORNING.PNG")


def main():
    write_wisp()
    write_shade()
    write_leaf()
    write_morning()


if __name__ == "__main__":
    main()
