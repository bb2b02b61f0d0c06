"""The ground of the gardens: TILES, MARSH, EMBER, FROST and HOLLOW, 48x48 each, in eight rows of eight.

Row 0 is grass. Rows 1 and 2 are thicket, rows 3 and 4 ponds, rows 5 and 6 the same ponds with the
ripples moved. The 16 thickets and ponds go by a mask of the neighbours that are of their own kind:
1 north, 2 east, 4 south, 8 west. Row 7 is for the inside of thickets and ponds: a quarter of a tile
comes from there if the three neighbours around its corner are all of its kind. So where two sides of
a masked tile are joined, the cell across the corner is grass, and some of it comes in.

Tiles and quarters meet without a seam because whatever crosses an edge or a middle line is the same
on every tile that may have it: a few blades of grass, the clumps of leaves on a joined side and from
there to the middle, the bank of a pond. All else keeps inside its tile or its quarter.
"""
import math
import random

import cairo

from canvas import *

SIZE = 48
GRASS = "#234b40"


class Kind:
    """A kind of garden. Tones are those of `toned`, the rest is told where it is drawn."""

    def __init__(self, name, grass=(), leaves=(), water=(), bush="rosette", frozen=False, finds=None,
                 petals="#e09ae0"):
        self.name, self.grass, self.leaves, self.water, self.bush = name, grass, leaves, water, bush
        self.frozen, self.finds, self.petals = frozen, finds or ("blue", "white", "mushrooms", "litter"), petals


GREEN = (90, 185)
KINDS = (
    Kind("TILES"),
    Kind("MARSH", [(*GREEN, 196, .95, .92)], [(*GREEN, 92, .62, 1.12)], [(180, 260, 222, 1.05, .82)], "reeds",
         finds=("reeds", "white", "mushrooms", "pebbles"), petals="#d9c27a"),
    Kind("EMBER", [(*GREEN, 62, .62, 1.0)], [(*GREEN, 20, 1.12, 1.3)], [(180, 260, 196, .62, .86)],
         finds=("leaves", "asters", "leaves", "litter"), petals="#ffd36e"),
    Kind("FROST", [(*GREEN, 208, .44, 1.72)], [(*GREEN, 186, .52, 1.5)],
         [(180, 260, 200, .44, 1.62), (60, 180, 205, .3, 1.5)], "needles", True,
         finds=("snow", "crystals", "snow", "pebbles"), petals="#eef6ff"),
    Kind("HOLLOW", [(*GREEN, 262, .62, .86)], [(*GREEN, 300, .8, 1.2)], [(180, 260, 164, .9, 1.06)], "caps",
         finds=("mushrooms", "lights", "mushrooms", "lights"), petals="#8fe8ff"))
kind = KINDS[0]


def in_tone(tone):
    """Draws in the present kind's tone of that name."""
    def wrap(draw):
        def drawn(*arguments):
            with toned(getattr(kind, tone)):
                draw(*arguments)
        return drawn
    return wrap
NORTH, EAST, SOUTH, WEST = 1, 2, 4, 8

# Grass blades over the edges, the same on opposite sides and on every tile: x, y, length, lean.
EDGE_BLADES = ((9, 0, 6, .3), (21, 1, 5, -.3), (37, 0, 6, .1), (29, -1, 5, .4), (0, 12, 5, .7),
               (1, 26, 5, -.8), (0, 39, 6, .5))


def blade(ctx, x, y, length, lean, colour, alpha):
    ctx.move_to(x, y + length / 2)
    ctx.curve_to(x, y, x + lean * length * .3, y - length * .2, x + lean * length, y - length / 2)
    stroke(ctx, colour, 1.3, alpha)


@in_tone("grass")
def draw_grass(ctx, seed):
    ink(ctx, GRASS)
    ctx.rectangle(0, 0, SIZE, SIZE)
    ctx.fill()
    chance = random.Random(seed)
    for _ in range(5):
        x, y = chance.uniform(14, 34), chance.uniform(14, 34)
        glow(ctx, x, y, 13, chance.choice(("#2f6152", "#1b3f38")), .4)
    for _ in range(21):
        x, y = chance.uniform(6, 42), chance.uniform(6, 42)
        tone = chance.choice(("#2f6150", "#34694f", "#1c4038", "#1c4038"))
        blade(ctx, x, y, chance.uniform(4, 7), chance.uniform(-.7, .7), tone, .75)
    for x, y, length, lean in EDGE_BLADES:
        for dx in (0, SIZE):
            for dy in (0, SIZE):
                blade(ctx, x + dx, y + dy, length, lean, "#2f6150" if length > 5 else "#1c4038", .75)


def flower(ctx, x, y, size, petals, colour, heart_colour, turn=0.0):
    oval(ctx, x + .8, y + 1.6, size * 1.05)
    fill(ctx, "#0b1f1c", .35)
    for k in range(petals):
        angle = turn + k * 2 * math.pi / petals
        oval(ctx, x + size * .58 * math.cos(angle), y + size * .58 * math.sin(angle), size * .52,
             size * .36, angle)
        fill(ctx, colour, 1, True)
        stroke(ctx, mix(colour, NIGHT, .55), .6, .7)
    oval(ctx, x, y, size * .28)
    fill(ctx, heart_colour)


def sprig(ctx, x, y, turn):
    for angle in (turn, turn + 2.2, turn + 4.1):
        leaf(ctx, x, y, 6.5, 3.6, angle)
        fill(ctx, "#3a7a58", .9)


def draw_flowers(ctx, colour, middle, places, petals):
    for i, (x, y, size) in enumerate(places):
        sprig(ctx, x, y, i * 1.3)
        flower(ctx, x, y, size, petals, colour, middle, i * .7)


def draw_mushrooms(ctx):
    for x, y, size in ((17, 19, 6), (28, 29, 7.2), (15, 33, 4.2), (35, 18, 3.6)):
        oval(ctx, x + 1.2, y + size * .85, size * 1.05, size * .55)
        fill(ctx, "#0b1f1c", .4)
        rounded(ctx, x - size * .3, y, size * .6, size * .95, size * .25)
        fill(ctx, "#d9cdb4", 1, True)
        stroke(ctx, "#3a3040", .8, .8)
        ctx.move_to(x - size, y + size * .25)
        ctx.curve_to(x - size, y - size, x + size, y - size, x + size, y + size * .25)
        ctx.curve_to(x + size * .5, y + size * .6, x - size * .5, y + size * .6, x - size, y + size * .25)
        ctx.set_source(radial(x, y, size * 1.3, [(0, "#d98bd6", 1), (1, "#7a3c86", 1)],
                              x - size * .4, y - size * .4))
        ctx.fill_preserve()
        stroke(ctx, "#3c1c48", .9, .9)
        for dx, dy, r in ((-.45, -.1, .17), (.2, -.35, .2), (.5, .1, .13)):
            oval(ctx, x + dx * size, y + dy * size, r * size)
            fill(ctx, "#ffe3f6", .9)


def draw_litter(ctx):
    for x, y, rx, ry in ((14, 30, 4.6, 3.6), (20, 34, 3, 2.3), (35, 16, 3.8, 3), (31, 34, 2.2, 1.7)):
        oval(ctx, x + .8, y + 1.4, rx, ry)
        fill(ctx, "#0b1f1c", .4)
        oval(ctx, x, y, rx, ry)
        ctx.set_source(radial(x, y, rx * 1.3, [(0, "#8a9aa4", 1), (1, "#465868", 1)], x - rx * .4, y - ry * .4))
        ctx.fill_preserve()
        stroke(ctx, "#1c2a34", .8, .8)
    for x, y, angle, tone in ((15, 15, .5, "#b9803c"), (27, 22, -.6, "#a2583c"), (33, 31, 2.2, "#b9803c"),
                              (24, 12, 2.6, "#8c6a3a")):
        leaf(ctx, x, y, 9, 6, angle)
        fill(ctx, tone, .85, True)
        stroke(ctx, "#4a2c20", .7, .7)
        ctx.move_to(x, y)
        ctx.line_to(x + 7 * math.cos(angle), y + 7 * math.sin(angle))
        stroke(ctx, "#f0c890", .6, .45)


BLUE_PLACES = ((15, 17, 4.6), (30, 14, 3.6), (33, 31, 4.8), (19, 33, 3.8))
WHITE_PLACES = ((17, 14, 4), (33, 19, 4.8), (14, 30, 4.8), (29, 34, 3.8))


def draw_leaves(ctx, seed):
    """Fallen leaves."""
    chance = random.Random(seed)
    for _ in range(9):
        x, y, angle = chance.uniform(13, 35), chance.uniform(13, 35), chance.uniform(0, 6.3)
        with placed(ctx, x + .8, y + 1.2):
            leaf(ctx, 0, 0, 8, 5, angle)
            fill(ctx, "#0b1f1c", .35)
        leaf(ctx, x, y, 8, 5, angle)
        fill(ctx, chance.choice(("#d0702c", "#e0a03c", "#a8402c", "#8c5a30")), .95, True)
        stroke(ctx, "#4a2418", .7, .7)


def draw_snow(ctx, seed):
    """Small drifts, each with its shade."""
    chance = random.Random(seed)
    for x, y, size in ((16, 17, 5.5), (30, 15, 4.2), (32, 31, 6), (18, 33, 4.4)):
        x, y = x + chance.uniform(-2, 2), y + chance.uniform(-2, 2)
        oval(ctx, x + .8, y + 1.8, size * 1.15, size * .6)
        fill(ctx, "#22344c", .4)
        oval(ctx, x, y, size * 1.15, size * .7)
        ctx.set_source(radial(x, y, size * 1.3, [(0, "#f4f8ff", 1), (1, "#a8c0dc", 1)], x - 1.5, y - 2))
        ctx.fill()


def draw_crystals(ctx):
    for x, y, size, lean in ((17, 22, 8, -.3), (21, 21, 10, .1), (26, 23, 7, .5), (32, 35, 7, .2), (35, 34, 5, .6)):
        oval(ctx, x + 1, y + 1, size * .4, size * .18)
        fill(ctx, "#22344c", .45)
        with placed(ctx, x, y, lean):
            for side, colour in ((-1, "#d8f2ff"), (1, "#7db6e0")):
                ctx.move_to(0, 0)
                ctx.line_to(side * size * .26, -size * .2)
                ctx.line_to(side * size * .2, -size * .8)
                ctx.line_to(0, -size * 1.15)
                ctx.close_path()
                fill(ctx, colour, .95)


def draw_lights(ctx, seed):
    """Buds that shine."""
    chance = random.Random(seed)
    for x, y in ((15, 18), (29, 14), (34, 29), (20, 33), (26, 24)):
        x, y = x + chance.uniform(-2, 2), y + chance.uniform(-2, 2)
        glow(ctx, x, y, 8, "#5ff0d0", .5)
        for angle in (-2.2, -.9):
            leaf(ctx, x, y + 2, 5, 2.6, angle)
            fill(ctx, "#3a6a7a", .9)
        oval(ctx, x, y, 1.9)
        ctx.set_source(radial(x, y, 2, [(0, "#ffffff", 1), (1, "#6ff0d8", 1)]))
        ctx.fill()


def draw_bulrushes(ctx):
    for x, y, height, lean in ((15, 34, 17, -1.5), (19, 35, 20, .5), (23, 34, 15, 2.5), (31, 26, 15, -1),
                               (35, 27, 12, 1.5)):
        ctx.move_to(x, y)
        ctx.curve_to(x, y - height * .5, x + lean * .5, y - height * .8, x + lean, y - height)
        stroke(ctx, "#12302a", 2.2, .7, True)
        stroke(ctx, "#8aa860", 1.2)
        oval(ctx, x + lean, y - height + 2.5, 1.6, 3.2)
        fill(ctx, "#8a5a38", 1, True)
        stroke(ctx, "#3a2418", .7, .8)


def draw_pebbles(ctx):
    for x, y, rx, ry in ((15, 20, 4.6, 3.4), (21, 23, 3, 2.2), (33, 30, 4.2, 3.2), (29, 34, 2.4, 1.8),
                         (31, 15, 2.8, 2.1)):
        oval(ctx, x + .8, y + 1.4, rx, ry)
        fill(ctx, "#0b1f1c", .4)
        oval(ctx, x, y, rx, ry)
        ctx.set_source(radial(x, y, rx * 1.3, [(0, "#9aaab8", 1), (1, "#4a5c70", 1)], x - rx * .4, y - ry * .4))
        ctx.fill_preserve()
        stroke(ctx, "#1c2a34", .8, .8)


FINDS = {"blue": lambda ctx, seed: draw_flowers(ctx, "#7fb2f5", "#ffe9a8", BLUE_PLACES, 5),
         "white": lambda ctx, seed: draw_flowers(ctx, "#eef2ff", AMBER, WHITE_PLACES, 6),
         "asters": lambda ctx, seed: draw_flowers(ctx, "#c88ae0", "#ffd36e", WHITE_PLACES, 8),
         "mushrooms": lambda ctx, seed: draw_mushrooms(ctx),
         "litter": lambda ctx, seed: draw_litter(ctx),
         "pebbles": lambda ctx, seed: draw_pebbles(ctx),
         "reeds": lambda ctx, seed: draw_bulrushes(ctx),
         "crystals": lambda ctx, seed: draw_crystals(ctx),
         "leaves": draw_leaves, "snow": draw_snow, "lights": draw_lights}


def draw_meadow_tile(ctx, index):
    draw_grass(ctx, 100 + (index if index < 4 else index % 4))
    if index >= 4:
        FINDS[kind.finds[index - 4]](ctx, index)


# Thicket -------------------------------------------------------------------------------------

# Clumps over a joined side, by their place along it, how far off the line, and their size. Those on
# the other axis keep clear of the corners, so that the two sets never fight over a pixel at an edge.
ROW_CLUMPS = ((15.5, 1.5, 9.5), (33, -1.5, 9.5), (24.5, 1, 7.5))
COLUMN_CLUMPS = ((18, -1, 9.5), (30.5, 1.5, 9.5))
# From a joined side to the middle, and the middle itself.
ARMS = ((NORTH, 25, 13, 10.5), (WEST, 12, 22, 10), (EAST, 36, 26, 10), (SOUTH, 22, 36, 10))
MIDDLE = (23, 24, 10)
CORNERS = ((NORTH | WEST, 0, 0), (NORTH | EAST, SIZE, 0), (SOUTH | WEST, 0, SIZE),
           (SOUTH | EAST, SIZE, SIZE))
# The bushes that stand out in open thickets, each within its quarter: x, y, size, how light.
OPEN_THICKETS = (((11.5, 11, 9.4, .12), (35, 35.5, 9, -.1)),
                 ((36, 11.5, 9.4, -.08), (12.5, 35, 8.2, .1), (37, 37, 7, .16)),
                 ((12, 11.5, 9.4, .1), (11, 36, 8.6, -.05), (36.5, 12, 7.4, .05)),
                 ((36, 11, 9, .1), (36, 35.5, 9.3, .04), (11.5, 12.5, 7.4, -.1)))
DEEP = "#0d2b28"


# Rings of a bush from the outermost inwards: leaves, how far out they begin, their length and width.
BUSHES = {"rosette": ((11, .42, .62, .42), (8, .16, .6, .4), (5, 0, .42, .3)),
          "reeds": ((13, .3, .72, .16), (10, .1, .7, .15), (7, 0, .55, .13)),
          "needles": ((16, .4, .62, .14), (12, .18, .62, .14), (8, 0, .5, .12)),
          "caps": ((7, .52, .44, .5), (5, .2, .44, .5), (1, 0, .4, .44))}


def draw_caps(ctx, x, y, size, chance):
    """Round caps in place of leaves, with pale spots."""
    oval(ctx, x, y, size)
    fill(ctx, "#123a30")
    for count, far, radius in ((6, .62, .36), (4, .3, .38), (1, 0, .4)):
        first = chance.uniform(0, 6)
        for k in range(count):
            angle = first + 2 * math.pi * k / count
            cx, cy, r = x + size * far * math.cos(angle), y + size * far * math.sin(angle), size * radius
            oval(ctx, cx, cy, r)
            ctx.set_source(radial(cx, cy, r * 1.1, [(0, "#6fbf80", 1), (.7, "#2a7a58", 1), (1, "#14402f", 1)],
                                  cx - r * .35, cy - r * .4))
            ctx.fill_preserve()
            stroke(ctx, "#0c2a20", .7, .8)
            for dx, dy in ((-.3, -.2), (.3, .1), (0, .45)):
                oval(ctx, cx + dx * r, cy + dy * r, r * .13)
                fill(ctx, "#8fe8ff", .8)


@in_tone("leaves")
def clump(ctx, x, y, size, seed, lighter=0.0):
    """A bush seen from above, lit from the north-west."""
    chance = random.Random(seed)
    if kind.bush == "caps":
        draw_caps(ctx, x, y, size, chance)
        return
    oval(ctx, x, y, size)
    ctx.set_source(radial(x, y, size, [(0, "#1e5244", 1), (.8, "#174237", 1), (1, "#0d2b28", 1)]))
    ctx.fill()
    for ring, (count, far, length, width) in enumerate(BUSHES[kind.bush]):
        first = chance.uniform(0, 6)
        for k in range(count):
            angle = first + 2 * math.pi * k / count + chance.uniform(-.15, .15)
            light = max(0, .5 + .5 * math.cos(angle + 2.3) + 2 * lighter)
            tone = mix(("#1f5545", "#2a6a4c", "#3a7c55")[ring], ("#3d8158", "#559a63", "#7ebd78")[ring], light)
            bx = x - size * .08 * ring + size * far * math.cos(angle)
            by = y - size * .1 * ring + size * far * math.sin(angle)
            leaf(ctx, bx, by, size * length, size * width, angle)
            fill(ctx, tone, 1, True)
            stroke(ctx, "#103229", .8, .75)


def outline(ctx, mask, inset, south, radius, notch):
    """The cell's shape: past the tile on joined sides, rounded where two free sides meet, and cut out
    where two joined ones do."""
    left = -30 if mask & WEST else inset
    right = SIZE + 30 if mask & EAST else SIZE - inset
    top = -30 if mask & NORTH else inset
    bottom = SIZE + 30 if mask & SOUTH else SIZE - south
    # Clockwise: each corner's two sides, where their lines meet, and the way out from there.
    for k, (first, second, x, y, out_x, out_y) in enumerate((
            (WEST, NORTH, inset, inset, -1, -1), (NORTH, EAST, SIZE - inset, inset, 1, -1),
            (EAST, SOUTH, SIZE - inset, SIZE - south, 1, 1), (SOUTH, WEST, inset, SIZE - south, -1, 1))):
        turn = math.pi * (1 + k / 2)
        if mask & first and mask & second:
            ends = [(x + 60 * out_x, y), (x, y + 60 * out_y)]
            ctx.line_to(*ends[k % 2])
            ctx.arc_negative(x + notch * out_x, y + notch * out_y, notch, turn - math.pi / 2, turn - math.pi)
            ctx.line_to(*ends[1 - k % 2])
        elif mask & (first | second):
            ctx.line_to(left if out_x < 0 else right, top if out_y < 0 else bottom)
        else:
            ctx.arc(x - radius * out_x, y - radius * out_y, radius, turn, turn + math.pi / 2)
    ctx.close_path()


def draw_thicket_ground(ctx, mask):
    draw_grass(ctx, 100)
    shade, shade_ctx = picture(SIZE * 3, SIZE * 3)
    with placed(shade_ctx, SIZE + 1, SIZE + 3):
        outline(shade_ctx, mask, 5, 9, 13, 5)
        fill(shade_ctx, "#04100f", .75)
    ctx.set_source_surface(soften(shade, (1, 2, 1)), -SIZE, -SIZE)
    ctx.paint()
    with toned(kind.leaves):
        outline(ctx, mask, 9, 12, 12, 6)
        fill(ctx, DEEP, 1, True)
        stroke(ctx, "#081c1b", 1.5, .9)


def draw_rims(ctx, mask):
    """The leaves along free sides and around the corners; each keeps one pixel inside."""
    low, high, foot = 13.2, 34.8, 31.5
    rim = {NORTH: ((17, low, 10), (31, low, 10.5)), SOUTH: ((16, foot, 10.5), (31, foot, 10)),
           WEST: ((low, 17, 10), (low, 30, 10)), EAST: ((high, 16, 10), (high, 30, 10.5))}
    for side, places in rim.items():
        for x, y, size in places:
            if not mask & side:
                clump(ctx, x, y, size, 40 + side + int(x))
    for both, x, y in CORNERS:
        if not mask & both:
            clump(ctx, high - .5 if x else low + .5, foot - .5 if y else low + .5, 9.5, 60 + both)
        elif mask & both == both:
            clump(ctx, 32.5 if x else 15.5, 32.5 if y else 15.5, 8.2, 65 + both)


def draw_common_clumps(ctx, mask):
    for side, x, y, size in ARMS:
        if mask & side:
            clump(ctx, x, y, size, 80 + side)
        elif side != SOUTH:
            clump(ctx, (x + 24) / 2, (y + 24) / 2, 10, 70 + side)
    clump(ctx, *MIDDLE, 90)
    for k, (along, off, size) in enumerate(COLUMN_CLUMPS):
        for side, x in ((WEST, 0), (EAST, SIZE)):
            if mask & side:
                clump(ctx, x + off, along, size, 10 + k)
    for k, (along, off, size) in enumerate(ROW_CLUMPS):
        for side, y in ((NORTH, 0), (SOUTH, SIZE)):
            if mask & side:
                clump(ctx, along, y + off, size, 20 + k)


def draw_thicket(ctx, mask):
    draw_thicket_ground(ctx, mask)
    draw_rims(ctx, mask)
    draw_common_clumps(ctx, mask)
    if mask in (3, 8, 12):
        for x, y in ((16, 18), (32, 15), (30, 31)):
            flower(ctx, x, y, 2.6, 5, kind.petals, AMBER, mask)


@in_tone("leaves")
def draw_deep(ctx):
    ink(ctx, DEEP)
    ctx.rectangle(0, 0, SIZE, SIZE)
    ctx.fill()


def draw_open_thicket(ctx, index):
    draw_deep(ctx)
    for _, x, y in CORNERS:
        clump(ctx, abs(x - 12), abs(y - 12), 10, 110 + x + y)
        clump(ctx, x + 2, y - 1, 10.5, 100)
    draw_common_clumps(ctx, 15)
    for k, (x, y, size, lighter) in enumerate(OPEN_THICKETS[index]):
        oval(ctx, x + .8, y + 1.6, size * 1.04)
        fill(ctx, "#081c1b", .45)
        clump(ctx, x, y, size, 150 + 10 * index + k, lighter)
    if index == 2:
        for x, y, size in ((10, 11, 3), (16.5, 15.5, 2.3), (37, 12, 2.6), (11, 36, 2.7)):
            flower(ctx, x, y, size, 5, "#f2e6ff", AMBER, x)
    elif index == 3:
        for x, y in ((34, 9), (38, 12.5), (33, 14.5), (37, 36), (33.5, 39), (12, 12)):
            draw_berry(ctx, x, y)


def draw_berry(ctx, x, y):
    oval(ctx, x + .6, y + 1.2, 2.3)
    fill(ctx, "#081c1b", .5)
    oval(ctx, x, y, 2)
    fill(ctx, "#c2476a", 1, True)
    stroke(ctx, "#4a1530", .7, .8)
    oval(ctx, x - .6, y - .7, .6)
    fill(ctx, "#ffd3dc", .9)


# Ponds ---------------------------------------------------------------------------------------

BANK = 5
# How much further the bank comes in where two tiles meet than in the middle of a tile.
BULGE = 3.5
WATER = "#195576"


def pond_outline(ctx, mask, inset):
    """The water's edge, a little uneven within each tile and back on its line where tiles meet.

    Where two joined sides meet, the grass across the corner comes in as a quarter of a circle.
    """
    left = -30 if mask & WEST else inset
    right = SIZE + 30 if mask & EAST else SIZE - inset
    top = -30 if mask & NORTH else inset
    bottom = SIZE + 30 if mask & SOUTH else SIZE - inset
    radius = 15

    def uneven(along, start, before, after):
        t = along / SIZE
        bulge = BULGE * math.cos(math.pi * min(max(t, 0), 1)) ** 2 if mask & (before if t < .5 else after) else 0
        return bulge + (1.2 * math.sin(math.pi * t) ** 2 * math.sin(8.5 * t + start) if 0 < t < 1 else 0)

    points = []
    for x, y, turn in ((right - radius, top + radius, -.5), (right - radius, bottom - radius, 0),
                       (left + radius, bottom - radius, .5), (left + radius, top + radius, 1)):
        for k in range(7):
            angle = math.pi * (turn + k / 12)
            points.append((x + radius * math.cos(angle), y + radius * math.sin(angle)))
    points.append(points[0])
    ctx.new_sub_path()
    for (x0, y0), (x1, y1) in zip(points, points[1:]):
        steps = max(1, int(math.hypot(x1 - x0, y1 - y0) / 2))
        for k in range(steps):
            x, y = x0 + (x1 - x0) * k / steps, y0 + (y1 - y0) * k / steps
            if y < top + 5:
                y += uneven(x, .5, WEST, EAST)
            elif y > bottom - 5:
                y -= uneven(x, 2.6, WEST, EAST)
            if x < left + 5:
                x += uneven(y, 1.4, NORTH, SOUTH)
            elif x > right - 5:
                x -= uneven(y, 3.9, NORTH, SOUTH)
            ctx.line_to(x, y)
    ctx.close_path()
    ctx.set_fill_rule(cairo.FILL_RULE_EVEN_ODD)
    for both, x, y in CORNERS:
        if mask & both == both:
            oval(ctx, x, y, inset + BULGE)


def draw_pond(ctx, mask, frame):
    draw_grass(ctx, 100)
    with toned(kind.water):
        draw_water(ctx, mask, frame)
    if not kind.frozen:
        draw_reeds(ctx, mask, frame)


def draw_water(ctx, mask, frame):
    # Damp grass, earth, a lit rim, wet earth.
    for inset, colour, alpha in ((BANK - 2.6, "#183a33", .8), (BANK - 1.6, "#3c4a38", 1),
                                 (BANK - .9, "#7e7d57", 1), (BANK + .6, "#2c4a50", 1)):
        pond_outline(ctx, mask, inset)
        fill(ctx, colour, alpha)
    ctx.save()
    pond_outline(ctx, mask, BANK + 1.3)
    ctx.clip()
    ink(ctx, WATER)
    ctx.paint()
    # The bank's shade on the water, strongest under the north bank.
    edge, edge_ctx = picture(SIZE * 3, SIZE * 3)
    ink(edge_ctx, "#06172c", .95)
    edge_ctx.paint()
    edge_ctx.set_operator(cairo.OPERATOR_CLEAR)
    with placed(edge_ctx, SIZE, SIZE + 3):
        pond_outline(edge_ctx, mask, BANK + 2)
        edge_ctx.fill()
    ctx.set_source_surface(soften(edge, (1, 2, 2)), -SIZE, -SIZE)
    ctx.paint()
    chance = random.Random(500 + mask)
    for x, y in ((13, 15), (34, 15), (14, 33), (33, 34)):
        if chance.random() < .6:
            draw_ripple(ctx, x + chance.uniform(-2, 2), y + chance.uniform(-3, 3), chance.uniform(3, 5), frame)
    ctx.restore()
    if kind.frozen:
        return
    for x, y, size, gap in {3: ((17, 30, 5.2, 1.2), (24, 36, 3.4, .4)), 12: ((31, 19, 5, 2.6),)}.get(mask, ()):
        draw_lily_pad(ctx, x, y, size, gap, frame)


@in_tone("water")
def draw_open_pond(ctx, lily, frame):
    ink(ctx, WATER)
    ctx.rectangle(0, 0, SIZE, SIZE)
    ctx.fill()
    for x, y, radius, colour in ((11, 13, 10, "#1d6082"), (36, 35, 11, "#1d6082"), (36, 12, 10, "#164c6c"),
                                 (12, 36, 11, "#164c6c")):
        glow(ctx, x, y, radius, colour, .5)
    for x, y, size in ((9, 9, 4), (16, 19, 3), (35, 16, 6), (10.5, 41, 5.5), (40, 29, 3), (33, 40, 4.5)):
        if not lily or y < 24:
            draw_ripple(ctx, x, y, size, frame)
    if lily and kind.frozen:
        draw_cracks(ctx)
    elif lily:
        draw_lily_pad(ctx, 34.5, 35, 6.2, .4, frame)
        draw_lily_pad(ctx, 16, 39, 4.2, 2.4, frame)
        flower(ctx, 33 + .8 * frame, 33.5, 4, 7, "#f6c6ea", "#fff1c4", .2)


def draw_cracks(ctx):
    for points in (((29, 31), (34, 34), (36, 40)), ((34, 34), (41, 32)), ((12, 33), (17, 38), (15, 43)),
                   ((17, 38), (22, 37))):
        ctx.move_to(*points[0])
        for point in points[1:]:
            ctx.line_to(*point)
        stroke(ctx, "#e8f6ff", 1, .7)


def draw_lily_pad(ctx, x, y, size, gap, frame):
    x += .8 * frame
    oval(ctx, x + .8, y + 1.6, size, size * .82)
    fill(ctx, "#06172c", .5)
    with placed(ctx, x, y, 0, size, size * .82):
        ctx.arc(0, 0, 1, gap + .28, gap + 2 * math.pi - .28)
        ctx.line_to(0, 0)
        ctx.close_path()
    ctx.set_source(radial(x, y, size, [(0, "#6aa866", 1), (1, "#357a54", 1)], x - 1.5, y - 1.5))
    ctx.fill_preserve()
    stroke(ctx, "#123a30", .9)


def draw_ripple(ctx, x, y, size, frame):
    """A wavelet with its shade, which keeps to a quarter. Some go east while the others go west."""
    if kind.frozen:
        ctx.move_to(x - size, y + size * .4)
        ctx.line_to(x + size, y - size * .4)
        stroke(ctx, "#f4fbff", 1.2, .3)
        return
    odd = int(x + y) % 2
    x += (2 * frame - 1) * (1 - 2 * odd)
    size *= .75 if odd == frame else 1
    ctx.move_to(x - size, y)
    ctx.curve_to(x - size * .4, y - 1.6, x + size * .3, y - 1.6, x + size, y)
    stroke(ctx, "#7fd0ea", 1, .25)
    ctx.move_to(x - size * .7, y + 2)
    ctx.curve_to(x - size * .2, y + .7, x + size * .2, y + .7, x + size * .7, y + 2)
    stroke(ctx, "#0f3a5c", 1.1, .42)


def draw_reeds(ctx, mask, frame):
    lean = .8 if frame else 0
    spots = {NORTH: (18, 12), WEST: (7, 29), EAST: (41, 24), SOUTH: (32, 45)}
    for side, (x, y) in spots.items():
        # Not on every bank, so that a shore does not look planted.
        if mask & side or mask in (7, 14) or (mask * 5 + side) % 3 == 0:
            continue
        for dx, height, tip in ((-2.4, 7, -2), (0, 10, .5), (2.4, 8, 2.2)):
            ctx.move_to(x + dx, y)
            ctx.curve_to(x + dx, y - height * .5, x + dx + tip * .5, y - height * .8,
                         x + dx + tip + lean, y - height)
            stroke(ctx, "#12302a", 2.2, .8, True)
            stroke(ctx, "#6fa860", 1.2)
        oval(ctx, x + .5 + lean, y - 9.5, 1.2, 2.2, .1)
        fill(ctx, "#8a5a38")


def write_tiles():
    surface, ctx = picture(8 * SIZE, 8 * SIZE)
    for index in range(64):
        with cell(ctx, index, 8, SIZE, SIZE):
            if index < 8:
                draw_meadow_tile(ctx, index)
            elif index < 24:
                draw_thicket(ctx, index - 8)
            elif index < 56:
                draw_pond(ctx, (index - 24) % 16, (index - 24) // 16)
            elif 58 <= index < 62:
                draw_open_pond(ctx, index >= 60, index % 2)
            else:
                draw_open_thicket(ctx, {56: 0, 57: 1, 62: 2, 63: 3}[index])
    save(surface, kind.name + ".PNG")


def main():
    global kind
    for kind in KINDS:
        write_tiles()


if __name__ == "__main__":
    main()
