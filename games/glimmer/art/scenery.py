"""The title's layers and lettering: SKY, HILLS, TREES, MEADOW, LOGO.

HILLS, TREES and MEADOW repeat every 1280 pixels: their lines are sums of waves that fit the width,
and whatever stands near an edge is drawn on both.
"""
import math
import random

import cairo

from canvas import *

WIDE = 1280


def wrapped(x, reach):
    """The places at which something at x, of that reach, must be drawn to repeat."""
    return [x + shift for shift in (-WIDE, 0, WIDE) if -reach < x + shift < WIDE + reach]


def wave(x, parts):
    return sum(size * math.sin(2 * math.pi * times * x / WIDE + start) for times, size, start in parts)


def cloud(ctx, chance, x, y, length):
    for _ in range(int(length / 5)):
        t = chance.uniform(-1, 1)
        cx, cy = x + t * length, y + chance.gauss(0, 5) * (1.2 - abs(t))
        rx, ry = chance.uniform(40, 110) * (1.2 - abs(t)), chance.uniform(5, 12) * (1.3 - abs(t))
        with placed(ctx, cx, cy, 0, rx, ry):
            ctx.set_source(radial(0, 0, 1, [(0, "#9db4dc", .075), (.5, "#8aa4d2", .045), (1, "#7f98c8", 0)]))
            ctx.rectangle(-1, -1, 2, 2)
            ctx.fill()


def draw_moon(ctx, x, y, size):
    glow(ctx, x, y, size * 5.4, "#6f8ed0", .34)
    glow(ctx, x, y, size * 2.6, "#cfd8f0", .5)
    oval(ctx, x, y, size)
    ctx.set_source(radial(x, y, size * 1.1, [(0, "#fffdf0", 1), (.6, "#f8eccb", 1), (1, "#d8c6a0", 1)],
                          x - size * .3, y - size * .3))
    ctx.fill()
    ctx.save()
    oval(ctx, x, y, size)
    ctx.clip()
    for dx, dy, r in ((-.32, -.2, .3), (.25, -.42, .18), (.36, .18, .26), (-.12, .42, .22), (-.55, .3, .14),
                      (.05, .02, .12), (.62, -.15, .12), (-.2, -.62, .12)):
        oval(ctx, x + dx * size, y + dy * size, r * size, r * size * .92)
        fill(ctx, "#cbb890", .3)
        oval(ctx, x + dx * size - 1.5, y + dy * size - 1.5, r * size * .86)
        fill(ctx, "#e2d2aa", .35)
    ctx.restore()


def write_sky():
    surface, ctx = picture(WIDE, 800)
    ctx.set_source(linear(0, 0, 0, 800, [(0, "#070b20", 1), (.3, "#0d1838", 1), (.6, "#173459", 1),
                                         (.82, "#27597a", 1), (1, "#3c7c8c", 1)]))
    ctx.paint()
    chance = random.Random(21)
    # A faint band of far stars across the sky.
    for _ in range(70):
        t = chance.uniform(0, 1)
        x, y = 1280 * t, 470 - 430 * t + chance.gauss(0, 34)
        glow(ctx, x, y, chance.uniform(40, 110), chance.choice(("#5a6fc0", "#7a5ab0", "#4f8ac0")), .05)
    for _ in range(520):
        y = 620 * chance.random() ** 1.5
        size = chance.choice((.5, .5, .6, .7, .8, 1.0, 1.2))
        oval(ctx, chance.uniform(0, WIDE), y, size)
        fill(ctx, chance.choice(("#ffffff", "#dfe9ff", "#fff0d4")), chance.uniform(.35, .95) * (1 - y / 760))
    for _ in range(26):
        x, y, size = chance.uniform(20, 1260), chance.uniform(15, 420), chance.uniform(3, 6.5)
        glow(ctx, x, y, size * 2.2, "#bcd4ff", .4)
        star(ctx, x, y, 4, size, size * .13)
        fill(ctx, "#ffffff", .9)
    draw_moon(ctx, 1010, 165, 78)
    for x, y, length in ((930, 225, 230), (1130, 120, 150), (300, 130, 220), (150, 330, 260), (700, 390, 300),
                         (1150, 420, 220), (520, 250, 160)):
        cloud(ctx, chance, x, y, length)
    glow(ctx, 640, 900, 620, "#7fc0b0", .22)
    save(surface, "SKY.PNG")


def conifer(ctx, x, base, height, colour):
    ctx.move_to(x, base - height)
    tiers = 6
    half = height * .2
    for side in (1, -1):
        steps = range(1, tiers + 1) if side > 0 else range(tiers, 0, -1)
        for k in steps:
            y = base - height + height * k / tiers
            out, inner = half * k / tiers + 2, half * (k - .55) / tiers
            if side > 0:
                ctx.line_to(x + out, y)
                ctx.line_to(x + inner, y - 2)
            else:
                ctx.line_to(x - inner, y - 2)
                ctx.line_to(x - out, y)
    ctx.close_path()
    fill(ctx, colour)


def round_tree(ctx, chance, x, base, height, colour):
    ctx.rectangle(x - height * .03, base - height * .5, height * .06, height * .6)
    fill(ctx, colour)
    for _ in range(11):
        angle, far = chance.uniform(0, 2 * math.pi), chance.uniform(0, .22) * height
        oval(ctx, x + far * math.cos(angle) * 1.1, base - height * .66 + far * math.sin(angle),
             height * chance.uniform(.1, .17))
        fill(ctx, colour)


def write_hills():
    surface, ctx = picture(WIDE, 420)
    chance = random.Random(33)
    layers = ((150, "#2f6478", ((2, 26, .4), (3, 14, 2), (7, 4, 1)), 60, .35),
              (225, "#22506a", ((1, 20, 2.2), (3, 18, .3), (8, 4, 0)), 90, .3),
              (310, "#173c55", ((2, 16, 1.2), (5, 9, 2.4), (9, 3, 0)), 125, .22))
    for top, colour, parts, tall, mist in layers:
        count = int(WIDE / (tall * .3))
        for k in range(count):
            x = WIDE * (k + chance.uniform(-.4, .4)) / count
            height = tall * chance.uniform(.55, 1.05)
            base = top + wave(x, parts) + 10
            kind, seed = chance.random(), chance.random()
            for px in wrapped(x, 90):
                if kind < .68:
                    conifer(ctx, px, base, height, colour)
                else:
                    round_tree(ctx, random.Random(seed), px, base, height * .9, colour)
        ctx.move_to(0, 421)
        for x in range(0, WIDE + 1, 8):
            ctx.line_to(x, top + wave(x, parts))
        ctx.line_to(WIDE, 421)
        fill(ctx, colour)
        # Mist that lies in the valley before the next ridge; only on what stands already.
        ctx.set_operator(cairo.OPERATOR_ATOP)
        ctx.set_source(linear(0, top - 20, 0, top + 110, [(0, "#8fd0cc", 0), (1, "#8fd0cc", mist)]))
        ctx.paint()
        ctx.set_operator(cairo.OPERATOR_OVER)
    save(surface, "HILLS.PNG")


def foliage(ctx, chance, x, y, spread, count, tones):
    """A crown: dark clumps, then leaves that catch the moon at the upper right."""
    lumps = []
    for _ in range(count):
        angle, far = chance.uniform(0, 2 * math.pi), spread * math.sqrt(chance.random())
        lumps.append((x + far * math.cos(angle) * 1.25, y + far * math.sin(angle) * .75,
                      spread * chance.uniform(.26, .42)))
    for lx, ly, r in lumps:
        oval(ctx, lx, ly, r)
        fill(ctx, tones[0])
    for lx, ly, r in lumps:
        for _ in range(16):
            angle = chance.uniform(0, 2 * math.pi)
            far = r * chance.uniform(.55, 1.0)
            lit = math.cos(angle + .8) > .35 and (ly - y) < spread * .25
            leaf(ctx, lx + far * math.cos(angle), ly + far * math.sin(angle), chance.uniform(9, 15), 7,
                 angle + chance.uniform(-.9, .9))
            fill(ctx, chance.choice(tones[2:]) if lit else chance.choice(tones[:2]))


def trunk(ctx, x, top, base, wide, lean):
    ctx.move_to(x - wide * 1.7, base)
    ctx.curve_to(x - wide * .6, base - 60, x - wide * .55 + lean * .3, (top + base) / 2, x - wide * .3 + lean, top)
    ctx.line_to(x + wide * .3 + lean, top)
    ctx.curve_to(x + wide * .55 + lean * .3, (top + base) / 2, x + wide * .6, base - 60, x + wide * 1.8, base)
    ctx.close_path()
    ctx.set_source(linear(x - wide, 0, x + wide, 0, [(0, "#0a1a22", 1), (.6, "#10272e", 1), (.85, "#1e4248", 1),
                                                     (1, "#132c34", 1)]))
    ctx.fill()


def branch(ctx, x, y, dx, dy, wide):
    ctx.move_to(x, y)
    ctx.curve_to(x + dx * .4, y, x + dx * .7, y + dy * .6, x + dx, y + dy)
    stroke(ctx, "#0c1f27", wide)


def glowing_mushroom(ctx, x, y, size, tilt, colour):
    glow(ctx, x, y - size, size * 4.2, colour, .4)
    with placed(ctx, x, y, tilt):
        ctx.move_to(-size * .18, 0)
        ctx.curve_to(-size * .1, -size * .5, -size * .16, -size * .8, -size * .14, -size)
        ctx.line_to(size * .14, -size)
        ctx.curve_to(size * .16, -size * .8, size * .1, -size * .5, size * .22, 0)
        fill(ctx, mix(colour, "#ffffff", .55), .85)
        ctx.move_to(-size * .8, -size * .9)
        ctx.curve_to(-size * .75, -size * 1.9, size * .75, -size * 1.9, size * .8, -size * .9)
        ctx.curve_to(size * .4, -size * .72, -size * .4, -size * .72, -size * .8, -size * .9)
        ctx.set_source(linear(0, -size * 1.7, 0, -size * .8, [(0, mix(colour, NIGHT, .3), 1),
                                                             (1, mix(colour, "#ffffff", .45), 1)]))
        ctx.fill()
        for dx, dy in ((-.3, -1.2), (.25, -1.35), (.45, -1.05)):
            oval(ctx, dx * size, dy * size, size * .1)
            fill(ctx, "#ffffff", .8)


def tree(ctx, seed, x, crown, base, spread, wide, lean):
    chance = random.Random(seed)
    tones = ("#0a2024", "#0d292b", "#164038", "#1f5444", "#2b6b52")
    foliage(ctx, chance, x + lean + spread * .2, crown + spread * .3, spread * 1.05, 14, ("#081a20", "#0a2024", "#0d292b"))
    trunk(ctx, x, crown, base, wide, lean)
    branch(ctx, x + lean * .6, crown + spread * .9, spread * .7, -spread * .5, wide * .3)
    branch(ctx, x + lean * .5, crown + spread * 1.1, -spread * .75, -spread * .5, wide * .32)
    foliage(ctx, chance, x + lean - spread * .72, crown + spread * .38, spread * .55, 10, tones)
    foliage(ctx, chance, x + lean + spread * .75, crown + spread * .3, spread * .55, 10, tones)
    foliage(ctx, chance, x + lean, crown, spread * .85, 20, tones)


def write_trees():
    surface, ctx = picture(WIDE, 520)
    # x, crown's middle, spread, trunk's half width, lean; tall ones at the sides, an open middle.
    stand = ((60, 132, 120, 21, 14), (205, 205, 88, 14, -10), (345, 272, 58, 9, 6), (1240, 140, 114, 19, -8),
             (1105, 190, 92, 15, 12), (975, 268, 60, 10, -8), (480, 318, 42, 7, 4), (850, 326, 40, 6, -4))
    parts = ((1, 7, 1), (3, 5, .2), (6, 3, 2))
    ground = lambda x: 384 + wave(x, parts)
    for index in sorted(range(len(stand)), key=lambda i: -stand[i][1]):
        x, crown, spread, wide, lean = stand[index]
        for px in wrapped(x, 300):
            tree(ctx, 300 + index, px, crown, ground(x) + 18, spread, wide, lean)
    chance = random.Random(9)
    # Undergrowth between the trunks, then the ground.
    for _ in range(80):
        x, size = chance.uniform(0, WIDE), chance.uniform(12, 26)
        seed = chance.random()
        for px in wrapped(x, 60):
            foliage(ctx, random.Random(seed), px, ground(x) - size * .2, size, 4,
                    ("#08191e", "#0b2226", "#10302e", "#17413a"))
    ctx.move_to(0, 521)
    for x in range(0, WIDE + 1, 8):
        ctx.line_to(x, ground(x))
    ctx.line_to(WIDE, 521)
    ctx.set_source(linear(0, 390, 0, 520, [(0, "#0c2427", 1), (1, "#071519", 1)]))
    ctx.fill()
    for x, size, tilt, colour in ((128, 14, -.1, DEW), (146, 9, .2, DEW), (112, 8, -.3, DEW), (268, 11, .1, MAGENTA),
                                  (283, 7, .25, MAGENTA), (1042, 13, .05, DEW), (1058, 8, .3, DEW),
                                  (1180, 12, -.1, MAGENTA), (1166, 8, -.3, MAGENTA), (640, 8, 0, MAGENTA),
                                  (652, 6, .2, MAGENTA), (415, 8, -.1, DEW), (905, 8, .1, MAGENTA)):
        glowing_mushroom(ctx, x, ground(x) + 5, size, tilt, colour)
    save(surface, "TREES.PNG")


def write_meadow():
    surface, ctx = picture(WIDE, 180)
    chance = random.Random(55)
    parts = ((2, 8, .5), (5, 5, 1.7))
    top = lambda x: 100 + wave(x, parts)
    rows = ((0, "#0e2f2c", 60, 520), (16, "#123a33", 56, 520), (34, "#0b2926", 52, 480), (54, "#081e1e", 48, 420))
    for shift, colour, tall, count in rows:
        ctx.move_to(0, 181)
        for x in range(0, WIDE + 1, 8):
            ctx.line_to(x, top(x) + shift)
        ctx.line_to(WIDE, 181)
        fill(ctx, colour)
        for _ in range(count):
            x, height = chance.uniform(0, WIDE), tall * chance.uniform(.4, 1.1)
            lean, tone = chance.gauss(0, .32), chance.choice((0, .08, .16))
            for px in wrapped(x, 80):
                leaf(ctx, px, top(x) + shift + 8, height, 4.6, -math.pi / 2 + lean)
                fill(ctx, mix(colour, "#4a8a5c", tone + (.12 if shift == 16 else 0)))
        if shift < 54:
            draw_meadow_flowers(ctx, chance, top, shift)
    save(surface, "MEADOW.PNG")


def draw_meadow_flowers(ctx, chance, top, shift):
    for _ in range(11):
        x, height, lean = chance.uniform(0, WIDE), chance.uniform(26, 52), chance.gauss(0, 7)
        colour = chance.choice((MAGENTA, "#7fb2f5", "#eef2ff", AMBER))
        size, turn = chance.uniform(4, 6.5), chance.random()
        for px in wrapped(x, 80):
            base = top(x) + shift + 8
            ctx.move_to(px, base)
            ctx.curve_to(px, base - height * .5, px + lean, base - height * .7, px + lean, base - height)
            stroke(ctx, "#1d5042", 1.8)
            glow(ctx, px + lean, base - height, size * 3, colour, .28)
            for k in range(5):
                angle = turn + k * 2 * math.pi / 5
                oval(ctx, px + lean + size * .62 * math.cos(angle), base - height + size * .5 * math.sin(angle),
                     size * .55, size * .4, angle)
                fill(ctx, mix(colour, DUSK, .18), 1, True)
                stroke(ctx, mix(colour, NIGHT, .6), .7, .7)
            oval(ctx, px + lean, base - height, size * .3)
            fill(ctx, CREAM)


def main():
    write_sky()
    write_hills()
    write_trees()
    write_meadow()


if __name__ == "__main__":
    main()
