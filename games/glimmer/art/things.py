"""Lights and things to gather: GLOW, GLOWBLUE, DARK, SPARK, GOLD, PETAL, BERRY, LANTERN, PUFF,
TWINKLE."""
import math
import os
import random

from canvas import *


def write_lights():
    """The glows and the night are plain formulas of the distance, written without cairo."""
    folder = os.environ["ART_PICTURES"]
    os.makedirs(folder, exist_ok=True)

    def disc(name, size, colour_at, alpha_at, part=None):
        """part: how many rows and columns of it the picture has, if not all."""
        middle, part = (size - 1) / 2, part or size
        rows = []
        for y in range(part):
            row = bytearray()
            for x in range(part):
                distance = math.hypot(x - middle, y - middle) / (size / 2)
                alpha = round(alpha_at(distance))
                row += bytes((*colour_at(distance), alpha)) if alpha else b"\0\0\0\0"
            rows.append(bytes(row))
        write_png(os.path.join(folder, name), part, part, rows)

    def fade(t):
        t = min(1.0, max(0.0, t))
        return t * t * (3 - 2 * t)

    def warm(t):
        t = min(1.0, t * 1.5)
        return (255, round(222 - 52 * t), round(140 - 78 * t))

    def cool(t):
        t = min(1.0, t * 1.4)
        return (round(178 - 70 * t), round(240 - 28 * t), 255)

    disc("GLOW.PNG", 192, warm, lambda t: 150 * fade(1 - t) ** 1.5)
    disc("GLOWBLUE.PNG", 96, cool, lambda t: 110 * fade(1 - t) ** 1.5)
    disc("DARK.PNG", 1024, lambda t: (6, 9, 26), lambda t: 214 * fade((t - .3) / .7), 512)


def draw_sparkle(ctx, x, y, size, turn, colours):
    """A dew drop with four long rays and four short ones."""
    deep, body, pale = colours
    glow(ctx, x, y, size * 1.25, body, .55)
    star(ctx, x, y, 4, size * .62, size * .2, turn + math.pi / 4)
    fill(ctx, body, .75)
    star(ctx, x, y, 4, size, size * .2, turn)
    ctx.set_source(radial(x, y, size, [(0, "#ffffff", 1), (.35, pale, 1), (1, body, .85)]))
    ctx.fill()
    oval(ctx, x, y, size * .36)
    ctx.set_source(radial(x, y, size * .36, [(0, "#ffffff", 1), (.55, pale, 1), (1, body, 1)],
                          x - size * .1, y - size * .12))
    ctx.fill_preserve()
    stroke(ctx, deep, .8, .55)
    oval(ctx, x - size * .11, y - size * .13, size * .1)
    fill(ctx, "#ffffff", .95)


def write_sparks():
    for name, colours in (("SPARK.PNG", ("#2384a8", "#6fdcff", "#d9f8ff")),
                          ("GOLD.PNG", ("#a8641a", "#ffc24a", "#fff3c8"))):
        surface, ctx = picture(256, 32)
        for i in range(8):
            with cell(ctx, i, 8, 32, 32):
                phase = 2 * math.pi * i / 8
                size = 11.4 + 1.8 * math.sin(phase)
                draw_sparkle(ctx, 16, 16, size, i / 8 * math.pi / 2, colours)
        save(surface, name)


def write_petal():
    """The moon petal turns about its own axis: each frame is an eighth of a fifth of a turn."""
    surface, ctx = picture(320, 40)
    for i in range(8):
        with cell(ctx, i, 8, 40, 40):
            pulse = .5 + .5 * math.sin(2 * math.pi * i / 8)
            glow(ctx, 20, 20, 20, "#cdb4ff", .5 + .2 * pulse)
            turn = 2 * math.pi / 5 * i / 8
            for ring, (length, width, tone) in enumerate(((14.5, 10.5, 0), (9.5, 7.5, 1))):
                for k in range(5):
                    angle = turn + (k + ring * .5) * 2 * math.pi / 5 - math.pi / 2
                    with placed(ctx, 20, 20, angle):
                        ctx.move_to(1, 0)
                        ctx.curve_to(length * .3, -width * .62, length * .95, -width * .62,
                                     length * .93, -width * .08)
                        ctx.line_to(length * .86, 0)
                        ctx.line_to(length * .93, width * .08)
                        ctx.curve_to(length * .95, width * .62, length * .3, width * .62, 1, 0)
                        ctx.close_path()
                        shade = ("#b58fe6", "#efe2ff") if tone == 0 else ("#d9bff7", "#ffffff")
                        ctx.set_source(linear(0, 0, length, 0, [(0, shade[0], 1), (1, shade[1], 1)]))
                        ctx.fill_preserve()
                        stroke(ctx, "#6b4a9c", .9, .75)
            oval(ctx, 20, 20, 3.4)
            ctx.set_source(radial(20, 20, 3.4, [(0, "#fffbe0", 1), (1, AMBER, 1)], 19, 19))
            ctx.fill_preserve()
            stroke(ctx, "#9a6a2a", .8, .7)
    save(surface, "PETAL.PNG")


def write_berry():
    surface, ctx = picture(160, 40)
    for i in range(4):
        with cell(ctx, i, 4, 40, 40):
            beat = (0, .6, 1, .4)[i]
            size = 11.2 + .9 * beat
            glow(ctx, 20, 22, 19, "#ff5a6a", .38 + .12 * beat)
            heart(ctx, 20, 22, size)
            ctx.set_source(radial(20, 22, size * 1.25,
                                  [(0, "#ff9d92", 1), (.45, "#f0455c", 1), (1, "#9c1a3e", 1)],
                                  15.5, 16.5))
            ctx.fill_preserve()
            stroke(ctx, "#560d2a", 1.3, .9)
            for x, y in ((16, 25), (22, 20), (24, 26), (19, 30), (27, 20), (20.5, 24.5)):
                oval(ctx, x, y, .75, 1.0)
                fill(ctx, "#ffd9a0", .8)
            oval(ctx, 14.2, 17.2, 2.6, 1.6, -.7)
            fill(ctx, "#ffffff", .75)
            for angle in (-2.75, -2.1, -1.0, -.4):
                leaf(ctx, 20, 16.4, 7.6, 4.2, angle)
                fill(ctx, "#6fb36a", 1, True)
                stroke(ctx, "#1f4a33", .9, .9)
            ctx.move_to(20, 16)
            ctx.curve_to(20, 12, 21, 9, 23.5, 7)
            stroke(ctx, "#2f6a4a", 2.2)
            ctx.move_to(20.2, 15)
            ctx.curve_to(20.4, 12, 21.2, 9.4, 23.2, 7.4)
            stroke(ctx, "#7fc07a", .9)
    save(surface, "BERRY.PNG")


def lantern_stone(ctx, x, y, width, height, radius, light):
    rounded(ctx, x, y, width, height, radius)
    ctx.set_source(linear(x, 0, x + width, 0, [(0, mix("#4c5a6e", "#a5825c", light), 1),
                                               (.35, mix("#74869a", "#d8b27c", light), 1),
                                               (1, mix("#2b3648", "#5c4a44", light), 1)]))
    ctx.fill_preserve()
    stroke(ctx, "#161c2a", 1.6)


def draw_lantern(ctx, frame):
    lit = frame > 0
    light = (0, .42, .5, .46, .38)[frame]
    sway = (0, -.7, .5, .9, -.4)[frame]
    if lit:
        glow(ctx, 32, 44, 32, AMBER_DEEP, .55 + light * .5)
        glow(ctx, 32, 88, 26, AMBER, .22)
    oval(ctx, 32, 90, 22, 5)
    fill(ctx, "#050814", .45)
    # Plinth, post and table, from the ground up.
    lantern_stone(ctx, 13, 82, 38, 9, 3, light * .5)
    lantern_stone(ctx, 17, 75, 30, 8, 3, light * .6)
    lantern_stone(ctx, 25, 62, 14, 14, 2, light * .6)
    lantern_stone(ctx, 12, 56, 40, 7, 3, light * .9)
    # The chamber: iron bars in front of glass.
    ctx.rectangle(16.5, 31, 31, 25)
    if lit:
        ctx.set_source(radial(32, 46, 23, [(0, "#fffbe6", 1), (.35, "#ffe69a", 1),
                                           (.75, "#ffae3c", 1), (1, "#c86a1e", 1)]))
    else:
        ctx.set_source(linear(16, 31, 48, 56, [(0, "#27405a", 1), (.4, "#16263e", 1),
                                               (1, "#0d1628", 1)]))
    ctx.fill()
    if lit:
        height = (0, 17, 19.5, 16, 18)[frame]
        for scale, colour in ((1, "#ff9a2e"), (.72, "#ffd75e"), (.42, "#fffdf0")):
            h, w = height * scale, 5.6 * scale
            ctx.move_to(32 + sway * 2.5 * scale, 55 - h)
            ctx.curve_to(32 + w * 1.2 + sway, 55 - h * .45, 32 + w, 55, 32, 55)
            ctx.curve_to(32 - w, 55, 32 - w * 1.2 + sway, 55 - h * .45,
                         32 + sway * 2.5 * scale, 55 - h)
            fill(ctx, colour, .95)
    else:
        ctx.move_to(20, 52)
        ctx.line_to(30, 34)
        stroke(ctx, "#a8cbe0", 2.2, .22)
        oval(ctx, 32, 54, 5, 2)
        fill(ctx, "#5b6474")
        ctx.move_to(32, 53)
        ctx.line_to(32.6, 48)
        stroke(ctx, "#2a2f3c", 1.4)
    for x in (16.5, 26.5, 37.5, 47.5):
        ctx.move_to(x, 31)
        ctx.line_to(x, 56)
        stroke(ctx, "#1a1f2c", 2.6)
        ctx.move_to(x - .5, 32)
        ctx.line_to(x - .5, 55)
        stroke(ctx, "#7d6a58" if lit else "#56657a", .8, .8)
    ctx.move_to(17, 43)
    ctx.line_to(47, 43)
    stroke(ctx, "#1a1f2c", 1.5)
    # The roof, with upturned eaves, and the knob.
    ctx.move_to(7, 32)
    ctx.curve_to(14, 30, 22, 22, 26, 15)
    ctx.line_to(38, 15)
    ctx.curve_to(42, 22, 50, 30, 57, 32)
    ctx.curve_to(50, 35, 14, 35, 7, 32)
    ctx.set_source(linear(8, 14, 56, 34, [(0, "#5d6d84", 1), (.35, "#7e90a4", 1), (1, "#2a3548", 1)]))
    ctx.fill_preserve()
    stroke(ctx, "#161c2a", 1.6)
    ctx.move_to(12, 33)
    ctx.curve_to(20, 34.6, 44, 34.6, 52, 33)
    stroke(ctx, AMBER if lit else "#8fa3b8", 1, .85 if lit else .4)
    for x0, x1 in ((30, 22), (34, 42)):
        ctx.move_to(x0, 16)
        ctx.curve_to(x0, 22, (x0 + x1) / 2, 28, x1, 32)
        stroke(ctx, "#2b3648", 1, .7)
    for x, y, r in ((15, 29, 3), (19, 26.5, 2.4), (11.5, 31, 2), (47, 81, 3), (43, 82, 2.2)):
        oval(ctx, x, y, r * 1.2, r * .8)
        fill(ctx, "#4a8a5c", .95)
        oval(ctx, x - .5, y - .6, r * .6, r * .35)
        fill(ctx, "#8cc47c", .8)
    lantern_stone(ctx, 27, 10, 10, 6, 2, 0)
    oval(ctx, 32, 7, 4)
    ctx.set_source(radial(32, 7, 4, [(0, "#c9d8e4", 1), (1, "#4b5a70", 1)], 30.6, 5.6))
    ctx.fill_preserve()
    stroke(ctx, "#161c2a", 1.3)


def write_lantern():
    surface, ctx = picture(320, 96)
    for i in range(5):
        with cell(ctx, i, 5, 64, 96):
            draw_lantern(ctx, i)
    save(surface, "LANTERN.PNG")


def write_puff():
    chance = random.Random(77)
    lobes = [(k * 2 * math.pi / 9 + chance.uniform(-.2, .2), chance.uniform(.8, 1.15),
              chance.uniform(.75, 1.2)) for k in range(9)]
    surface, ctx = picture(512, 64)
    for i in range(8):
        with cell(ctx, i, 8, 64, 64):
            t = i / 7
            reach = 5 + 11 * (1 - (1 - t) ** 2)
            size = 9 + 5 * t
            alpha = (1 - t) ** 1.3 * .8 + .04
            ctx.push_group()
            for angle, far, big in lobes:
                x, y = 32 + reach * far * math.cos(angle), 32 + reach * far * math.sin(angle)
                r = size * big * (1 - .35 * t)
                ctx.set_source(radial(x, y, r, [(0, "#f4ecff", 1), (.5, "#d8cdf0", .8),
                                                (1, "#a9a4d8", 0)]))
                oval(ctx, x, y, r)
                ctx.fill()
            if t < .6:
                glow(ctx, 32, 32, 16 + 10 * t, CREAM, 1 - t * 1.6)
            ctx.pop_group_to_source()
            ctx.paint_with_alpha(alpha)
    save(surface, "PUFF.PNG")


def write_twinkle():
    surface, ctx = picture(192, 24)
    for i, (size, alpha) in enumerate(((2.5, .7), (5, .9), (8, 1), (10.5, 1), (11, .95), (8.5, .8),
                                       (5.5, .6), (3, .35))):
        with cell(ctx, i, 8, 24, 24):
            glow(ctx, 12, 12, size, CREAM, .6 * alpha)
            star(ctx, 12, 12, 4, size, size * .13 + .5, 0)
            fill(ctx, "#fffbe8", alpha)
            star(ctx, 12, 12, 4, size * .5, size * .12 + .4, math.pi / 4)
            fill(ctx, AMBER, alpha * .9)
            oval(ctx, 12, 12, size * .16 + .4)
            fill(ctx, "#ffffff", alpha)
    save(surface, "TWINKLE.PNG")


def main():
    write_lights()
    write_sparks()
    write_petal()
    write_berry()
    write_lantern()
    write_puff()
    write_twinkle()


if __name__ == "__main__":
    main()
