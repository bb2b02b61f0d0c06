"""The ground of the garden: TILES, 48x48 each, in seven rows of eight.

Row 0 is grass. Rows 1 and 2 are thicket, rows 3 and 4 ponds, rows 5 and 6 the same ponds with the
ripples moved. The 16 thickets and ponds go by a mask of the neighbours that are of their own kind:
1 north, 2 east, 4 south, 8 west.

Tiles meet without a seam because whatever crosses an edge is the same on every tile that may have
that edge: a few blades of grass, the clumps of leaves on a joined side, the bank of a pond. All else
keeps inside its tile.
"""
import math
import random

import cairo

from canvas import *

SIZE = 48
GRASS = "#234b40"
NORTH, EAST, SOUTH, WEST = 1, 2, 4, 8

# Grass blades over the edges, the same on opposite sides and on every tile: x, y, length, lean.
EDGE_BLADES = ((9, 0, 6, .3), (21, 1, 5, -.3), (37, 0, 6, .1), (29, -1, 5, .4), (0, 12, 5, .7),
               (1, 26, 5, -.8), (0, 39, 6, .5))


def blade(ctx, x, y, length, lean, colour, alpha):
    ctx.move_to(x, y + length / 2)
    ctx.curve_to(x, y, x + lean * length * .3, y - length * .2, x + lean * length, y - length / 2)
    stroke(ctx, colour, 1.3, alpha)


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


def draw_meadow_tile(ctx, index):
    draw_grass(ctx, 100 + (index if index < 4 else index % 4))
    if index == 4:
        draw_flowers(ctx, "#7fb2f5", "#ffe9a8", ((15, 17, 4.6), (30, 14, 3.6), (33, 31, 4.8),
                                                 (19, 33, 3.8)), 5)
    elif index == 5:
        draw_flowers(ctx, "#eef2ff", AMBER, ((17, 14, 4), (33, 19, 4.8), (14, 30, 4.8), (29, 34, 3.8)), 6)
    elif index == 6:
        draw_mushrooms(ctx)
    elif index == 7:
        draw_litter(ctx)


# Thicket -------------------------------------------------------------------------------------

# Clumps over a joined side, by their place along it, how far off the line, and their size. Those on
# the other axis keep clear of the corners, so that the two sets never fight over a pixel at an edge.
ROW_CLUMPS = ((13, 1, 10.5), (34, -1, 11), (23.5, 0, 8))
COLUMN_CLUMPS = ((15.5, 0, 10), (32.5, 1, 10.5))
DEEP = "#0d2b28"


def clump(ctx, x, y, size, seed):
    """A rosette of leaves seen from above, lit from the north-west."""
    chance = random.Random(seed)
    oval(ctx, x, y, size)
    ctx.set_source(radial(x, y, size, [(0, "#1e5244", 1), (.8, "#174237", 1), (1, "#0d2b28", 1)]))
    ctx.fill()
    for ring, (count, far, length, width) in enumerate(((11, .42, .62, .42), (8, .16, .6, .4),
                                                       (5, 0, .42, .3))):
        first = chance.uniform(0, 6)
        for k in range(count):
            angle = first + 2 * math.pi * k / count + chance.uniform(-.15, .15)
            light = .5 + .5 * math.cos(angle + 2.3)
            tone = mix(("#1f5545", "#2a6a4c", "#3a7c55")[ring], ("#3d8158", "#559a63", "#7ebd78")[ring], light)
            bx = x - size * .08 * ring + size * far * math.cos(angle)
            by = y - size * .1 * ring + size * far * math.sin(angle)
            leaf(ctx, bx, by, size * length, size * width, angle)
            fill(ctx, tone, 1, True)
            stroke(ctx, "#103229", .8, .75)


def thicket_outline(ctx, mask, inset=8, south=11):
    """The leafy area: past the tile on joined sides, rounded where two free sides meet."""
    left = -30 if mask & WEST else inset
    right = SIZE + 30 if mask & EAST else SIZE - inset
    top = -30 if mask & NORTH else inset
    bottom = SIZE + 30 if mask & SOUTH else SIZE - south
    rounded(ctx, left, top, right - left, bottom - top, 13)


def draw_thicket(ctx, mask):
    draw_grass(ctx, 100)
    shade, shade_ctx = picture(SIZE * 3, SIZE * 3)
    with placed(shade_ctx, SIZE + 1, SIZE + 3):
        thicket_outline(shade_ctx, mask, 4, 8)
        fill(shade_ctx, "#04100f", .75)
    shade = soften(shade, (1, 2, 1))
    ctx.set_source_surface(shade, -SIZE, -SIZE)
    ctx.paint()
    thicket_outline(ctx, mask)
    fill(ctx, DEEP, 1, True)
    stroke(ctx, "#081c1b", 1.5, .9)
    free = [side for side in (NORTH, EAST, SOUTH, WEST) if not mask & side]
    # The rim of leaves on free sides; each keeps one pixel inside.
    low, high, foot = 12.5, 35.5, 31.5
    chance = random.Random(mask)
    rim = {NORTH: ((17, low, 10), (31, low, 10.5)), SOUTH: ((16, foot, 10.5), (31, foot, 10)),
           WEST: ((low, 17, 10), (low, 30, 10)), EAST: ((high, 16, 10), (high, 30, 10.5))}
    for side in free:
        for x, y, size in rim[side]:
            clump(ctx, x, y, size, 40 + side + int(x))
    corners = ((NORTH | WEST, low + .5, low + .5), (NORTH | EAST, high - .5, low + .5),
               (SOUTH | WEST, low + .5, foot - .5), (SOUTH | EAST, high - .5, foot - .5))
    for both, x, y in corners:
        if not mask & both:
            clump(ctx, x, y, 9.5, 60 + both)
    for x, y, size in ((24, 12.5, 10), (15, 24, 10.5), (33, 25, 11), (24, 34, 9.5)):
        if not (y > 30 and not mask & SOUTH):
            clump(ctx, x + chance.uniform(-1, 1), y, size, 70 + int(x + y))
    clump(ctx, 24 + chance.uniform(-2, 2), 22 + chance.uniform(-2, 2), 10.5, 90 + mask)
    draw_seam_clumps(ctx, mask)
    if mask in (3, 5, 11, 14):
        for x, y in ((17, 19), (30, 15), (25, 29)):
            flower(ctx, x + chance.uniform(-2, 2), y + chance.uniform(-2, 2), 2.6, 5, "#e09ae0", AMBER, mask)


def draw_seam_clumps(ctx, mask):
    for k, (along, off, size) in enumerate(COLUMN_CLUMPS):
        for side, x in ((WEST, 0), (EAST, SIZE)):
            if mask & side:
                clump(ctx, x + off, along, size, 10 + k)
    for k, (along, off, size) in enumerate(ROW_CLUMPS):
        for side, y in ((NORTH, 0), (SOUTH, SIZE)):
            if mask & side:
                clump(ctx, along, y + off, size, 20 + k)


# Ponds ---------------------------------------------------------------------------------------

BANK = 5


def pond_outline(ctx, mask, inset):
    """The water's edge, a little uneven within each tile and back on its line where tiles meet.

    Where two joined sides meet, an islet stands on the corner: it is the bank's inner corner or, in
    open water, a quarter of a tussock.
    """
    left = -30 if mask & WEST else inset
    right = SIZE + 30 if mask & EAST else SIZE - inset
    top = -30 if mask & NORTH else inset
    bottom = SIZE + 30 if mask & SOUTH else SIZE - inset
    radius = 15

    def uneven(along, start):
        t = along / SIZE
        return 0 if not 0 < t < 1 else 1.2 * math.sin(math.pi * t) ** 2 * math.sin(8.5 * t + start)

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
            sides = ((y < top + 5, 0, uneven(x, .5)), (y > bottom - 5, 0, -uneven(x, 2.6)),
                     (x < left + 5, 1, uneven(y, 1.4)), (x > right - 5, 1, -uneven(y, 3.9)))
            for near, axis, push in sides:
                if near and axis:
                    x += push
                elif near:
                    y += push
            ctx.line_to(x, y)
    ctx.close_path()
    ctx.set_fill_rule(cairo.FILL_RULE_EVEN_ODD)
    for x, y in islets(mask):
        oval(ctx, x, y, inset)


def islets(mask):
    corners = ((NORTH | WEST, 0, 0), (NORTH | EAST, SIZE, 0), (SOUTH | WEST, 0, SIZE),
               (SOUTH | EAST, SIZE, SIZE))
    return [(x, y) for both, x, y in corners if mask & both == both]


def draw_pond(ctx, mask, frame):
    draw_grass(ctx, 100)
    # Damp grass, earth, a lit rim, wet earth.
    for inset, colour, alpha in ((BANK - 2.6, "#183a33", .8), (BANK - 1.6, "#3c4a38", 1),
                                 (BANK - .9, "#7e7d57", 1), (BANK + .6, "#2c4a50", 1)):
        pond_outline(ctx, mask, inset)
        fill(ctx, colour, alpha)
    ctx.save()
    pond_outline(ctx, mask, BANK + 1.3)
    ctx.clip()
    ink(ctx, "#195576")
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
    draw_ripples(ctx, mask, frame)
    ctx.restore()
    for x, y in islets(mask):
        draw_tussock(ctx, x, y)
    if mask in (7, 11, 14):
        draw_lilies(ctx, mask, frame)
    draw_reeds(ctx, mask, frame)


def draw_tussock(ctx, x, y):
    for k in range(12):
        angle = k * math.pi / 6 + .2
        leaf(ctx, x, y, BANK + (2.2 if k % 2 else .6), 2.6, angle)
        fill(ctx, ("#356d55", "#4a8a5c", "#2b5c4a")[k % 3])


def draw_lilies(ctx, mask, frame):
    pads = {7: ((22, 20, 5.2, 1.2),), 11: ((18, 27, 4.8, 2.6), (27, 33, 3.4, .4)),
            14: ((30, 27, 6.2, .4), (20, 33, 4.2, 2.4))}[mask]
    for x, y, size, gap in pads:
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
    if mask == 14:
        flower(ctx, 28.5 + .8 * frame, 25.5, 4, 7, "#f6c6ea", "#fff1c4", .2)


def draw_ripples(ctx, mask, frame):
    chance = random.Random(500 + mask)
    places = []
    for x, y in ((14, 15), (33, 19), (17, 31), (34, 35)):
        places.append((x + chance.uniform(-3, 3), y + chance.uniform(-3, 3), chance.uniform(3.6, 6.2)))
    chance.shuffle(places)
    for k, (x, y, size) in enumerate(places[:3]):
        x += 2.5 * frame
        size *= .7 if k % 2 == frame else 1
        ctx.move_to(x - size, y)
        ctx.curve_to(x - size * .4, y - 1.8, x + size * .3, y - 1.8, x + size, y)
        stroke(ctx, "#7fd0ea", 1.1, .5)
        ctx.move_to(x - size * .7, y + 2)
        ctx.curve_to(x - size * .2, y + .6, x + size * .2, y + .6, x + size * .7, y + 2)
        stroke(ctx, "#0f3a5c", 1.2, .6)
    for k in range(2):
        x, y = chance.uniform(13, 35), chance.uniform(13, 36)
        oval(ctx, x + 2 * frame, y, 1.5 if k == frame else .9, .6)
        fill(ctx, "#e6fbff", .9 if k == frame else .5)


def draw_reeds(ctx, mask, frame):
    lean = .8 if frame else 0
    spots = {NORTH: (18, 12), WEST: (7, 29), EAST: (41, 24), SOUTH: (32, 45)}
    for side, (x, y) in spots.items():
        # Not on every bank, so that a shore does not look planted.
        if mask & side or (mask * 5 + side) % 3 == 0:
            continue
        for dx, height, tip in ((-2.4, 7, -2), (0, 10, .5), (2.4, 8, 2.2)):
            ctx.move_to(x + dx, y)
            ctx.curve_to(x + dx, y - height * .5, x + dx + tip * .5, y - height * .8,
                         x + dx + tip + lean, y - height)
            stroke(ctx, "#12302a", 2.2, .8, True)
            stroke(ctx, "#6fa860", 1.2)
        oval(ctx, x + .5 + lean, y - 9.5, 1.2, 2.2, .1)
        fill(ctx, "#8a5a38")


def main():
    surface, ctx = picture(8 * SIZE, 7 * SIZE)
    for index in range(56):
        with cell(ctx, index, 8, SIZE, SIZE):
            if index < 8:
                draw_meadow_tile(ctx, index)
            elif index < 24:
                draw_thicket(ctx, index - 8)
            else:
                draw_pond(ctx, (index - 24) % 16, (index - 24) // 16)
    save(surface, "TILES.PNG")


if __name__ == "__main__":
    main()
