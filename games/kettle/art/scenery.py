"""TILES1 to TILES4, and for each of these places a sky and three layers that repeat every 320 pixels."""
import math
import random

from pixels import CLEAR, INK, Grid, dither, mix, sheet

WIDTH, HEIGHT = 320, 180

# name of the place: grass light, grass, grass dark, earth light, earth, earth dark
PLACES = (
    ("#c4ec7a", "#7cc656", "#3f8a4a", "#b87f52", "#96603f", "#6d4231"),
    ("#ffd36e", "#e8973a", "#a85a2c", "#9c6a58", "#7d4d48", "#573339"),
    ("#ffffff", "#d7ebf7", "#93b9d8", "#8a97b8", "#6a7599", "#4a5278"),
    ("#c9d4ff", "#8f9fe0", "#5c67ae", "#5c5486", "#463f6b", "#312b50"))


def ground(mask, place, seed):
    """Joined to its neighbours where the mask says so: 1 north, 2 east, 4 south, 8 west."""
    light, grass, dark, clay, earth, deep = place
    made, chance = Grid(16, 16, earth), random.Random(seed)
    for _ in range(5):
        x, y = chance.randrange(2, 13), chance.randrange(6, 14)
        made.box(x, y, chance.choice((2, 3)), 1, clay)
        made.box(x, y + 1, 2, 1, deep)
    if not mask & 4:
        made.box(0, 14, 16, 2, deep)
    if not mask & 8:
        made.box(0, 0, 2, 16, deep)
        made.box(2, 6, 1, 9, clay)
    if not mask & 2:
        made.box(14, 0, 2, 16, deep)
    if not mask & 1:
        made.box(0, 0, 16, 4, grass)
        for x in range(16):
            tip = chance.choice((4, 4, 5, 5, 6))
            made.box(x, 4, 1, tip - 4, grass)
            made.set(x, tip, dark)
        made.box(0, 0, 16, 1, light)
        for x in range(16):
            if chance.random() < .35:
                made.set(x, 1, light)
        for x, free in ((0, not mask & 8), (15, not mask & 2)):
            if free:
                made.set(x, 0, CLEAR)
                made.box(x, 1, 1, 4, dark)
    return made


def ledge(left, right, place):
    made = Grid(16, 16)
    made.box(0, 0, 16, 5, "#b5794a")
    made.box(0, 0, 16, 1, "#e0aa72")
    made.box(0, 4, 16, 1, "#7d4f38")
    made.box(7, 1, 1, 3, "#8f5d3e")
    made.box(12, 2, 2, 1, "#8f5d3e")
    made.box(2, 2, 3, 1, "#c98d5b")
    if left:
        made.box(0, 0, 1, 5, "#7d4f38")
        made.box(2, 5, 2, 4, "#7d4f38")
    if right:
        made.box(15, 0, 1, 5, "#7d4f38")
        made.box(12, 5, 2, 4, "#7d4f38")
    made.box(0, 0, 16, 1, place[0])
    return made


def thorns(place):
    made = Grid(16, 16)
    for x, tall in ((2, 8), (6, 11), (10, 9), (13, 7)):
        for y in range(16 - tall, 16):
            wide = (y - (16 - tall)) // 3
            made.box(x - wide // 2, y, 1 + wide, 1, mix("#8a3f5c", "#4d2440", (y - 4) / 12))
        made.set(x, 16 - tall, "#ffb0c0")
        made.set(x, 17 - tall, "#d9708c")
    return made.outlined()


def flowers(k, place):
    made, petals = Grid(16, 16), ("#ffffff", "#ffd36e", "#f29ac0", "#a9b8ff")[k % 4]
    for x, tall in ((4, 7), (10, 5)) if k % 2 else ((7, 8),):
        made.box(x, 16 - tall, 1, tall, place[2])
        made.set(x + 1, 16 - tall + 3, place[1])
        for u, v in ((-1, 0), (1, 0), (0, -1), (0, 1)):
            made.set(x + u, 15 - tall + v, petals)
        made.set(x, 15 - tall, "#e8973a" if k % 4 != 1 else "#b5622e")
    return made


def tuft(place, seed):
    made, chance = Grid(16, 16), random.Random(seed)
    for x in range(2, 14, 2):
        tall = chance.randrange(2, 7)
        made.line(x, 15, x + chance.choice((-1, 0, 1)), 16 - tall, chance.choice(place[:3]))
    return made


def bush(place, seed):
    made = Grid(16, 16)
    for x, y, r in ((4, 13, 4), (11, 13, 4), (8, 10, 5)):
        made.disc(x, y + 1, r, place[2])
        made.disc(x, y, r - .6, place[1])
    for x, y in ((6, 7), (9, 8), (4, 11), (12, 11)):
        made.box(x, y, 2, 1, place[0])
    made.box(0, 15, 16, 1, place[2])
    return made.outlined(mix(place[2], INK, .5))


def signpost():
    made = Grid(16, 16)
    made.box(7, 8, 2, 8, "#7d4f38")
    made.box(1, 1, 14, 8, "#b5794a")
    made.box(1, 1, 14, 1, "#e0aa72")
    for y in (3, 5, 7):
        made.box(3, y, 10 if y < 7 else 6, 1, "#7d4f38")
    return made.outlined()


def write_tiles():
    for number, place in enumerate(PLACES, 1):
        cells = [ground(mask, place, mask + 100 * number) for mask in range(16)]
        cells += [ledge(False, False, place), ledge(True, False, place), ledge(False, True, place), ledge(True, True, place)]
        cells += [thorns(place), signpost(), tuft(place, 1), tuft(place, 2)]
        cells += [flowers(k, place) for k in range(4)] + [bush(place, 1)]
        # Two more insides, so that large grounds do not repeat.
        cells += [ground(15, place, 900 + k) for k in range(3)]
        sheet(cells, 8).save("TILES%d" % number)


def waves(seed, count, low, high):
    """A height for each column that comes round after WIDTH."""
    chance = random.Random(seed)
    parts = [(k, chance.uniform(0, 6.28), chance.uniform(.5, 1) / k ** .8) for k in range(1, count + 1)]
    sums = [sum(size * math.sin(2 * math.pi * k * x / WIDTH + turn) for k, turn, size in parts) for x in range(WIDTH)]
    least, most = min(sums), max(sums)
    return [low + (high - low) * (value - least) / (most - least) for value in sums]


def sky(name, stops, extras):
    made = Grid(WIDTH, HEIGHT)
    for y in range(HEIGHT):
        place = y / (HEIGHT - 1) * (len(stops) - 1)
        k = min(int(place), len(stops) - 2)
        for x in range(WIDTH):
            # In steps of a fifth, dithered between them.
            level = (place - k) * 5
            step = int(level) + (1 if dither(level - int(level), x, y) else 0)
            made.set(x, y, mix(stops[k], stops[k + 1], min(1, step / 5)))
    extras(made)
    made.save(name)


def cloud(made, x, y, size, light, dark):
    for u, v, r in ((0, 0, 1), (-1.2, .35, .7), (1.2, .3, .75), (.5, -.45, .7), (-.6, -.3, .6)):
        made.disc(x + u * size, y + v * size + 1, r * size * .8, dark)
    for u, v, r in ((0, 0, 1), (-1.2, .35, .7), (1.2, .3, .75), (.5, -.45, .7), (-.6, -.3, .6)):
        made.disc(x + u * size, y + v * size - 1, r * size * .76, light)
    made.box(int(x - 2.2 * size), int(y + .7 * size), int(4.4 * size), int(size), CLEAR)


def clouds(made, places, light, dark):
    for x, y, size in places:
        part = Grid(WIDTH, HEIGHT)
        cloud(part, x, y, size, light, dark)
        made.paste(part, 0, 0)


def stars(made, seed, count):
    chance = random.Random(seed)
    for _ in range(count):
        x, y = chance.randrange(WIDTH), chance.randrange(120)
        made.set(x, y, chance.choice(("#ffffff", "#c9d4ff", "#ffe9c4")))
        if chance.random() < .1:
            for u, v in ((1, 0), (-1, 0), (0, 1), (0, -1)):
                made.set(x + u, y + v, "#8f9fe0")


def hills(name, heights, top, base, low, rim=None):
    """A layer: solid below the heights, from one colour at the rim to another at the bottom."""
    made = Grid(WIDTH, HEIGHT)
    for x in range(WIDTH):
        for y in range(int(heights[x]), HEIGHT):
            level = (y - heights[x]) / 60 * 4
            step = int(level) + (1 if dither(level - int(level), x, y) else 0)
            made.set(x, y, mix(top, base, min(1, step / 4)))
        if rim:
            made.box(x, int(heights[x]), 1, 2, rim)
    return made


def around(made, part, x, y):
    for shift in (-WIDTH, 0, WIDTH):
        made.paste(part, x + shift, y)


def round_tree(leaves, dark, trunk, size):
    made = Grid(int(size * 2.6), int(size * 4))
    cx = made.width / 2
    made.box(int(cx) - 1, int(size * 2), max(2, int(size / 5)), int(size * 2), trunk)
    for u, v, r in ((0, 1.2, 1), (-.55, 1.5, .7), (.55, 1.5, .7)):
        made.disc(cx + u * size, v * size + 1, r * size, dark)
    for u, v, r in ((-.1, 1.1, .88), (-.6, 1.4, .55), (.45, 1.4, .55)):
        made.disc(cx + u * size, v * size, r * size, leaves)
    return made


def fir(leaves, dark, snow, size):
    made = Grid(int(size * 1.6), int(size * 3))
    cx = made.width // 2
    for y in range(made.height):
        wide = (y % (size * .75)) / (size * .75) * size * .45 + y / made.height * size * .3
        for x in range(int(cx - wide), int(cx + wide) + 1):
            made.set(x, y, leaves if x < cx else dark)
        if snow and y % (size * .75) < size * .3:
            made.box(int(cx - wide), y, int(wide) + 1, 1, snow)
    return made


def peaks(made, places, rock, shade, snow):
    for x, top, slope in places:
        part = Grid(WIDTH, HEIGHT)
        chance = random.Random(x)
        for y in range(top, HEIGHT):
            wide = (y - top) * slope
            for u in range(int(-wide), int(wide) + 1):
                part.set(160 + u, y, rock if u < (y - top) * .15 + chance.randrange(-1, 2) else shade)
            if snow and y < top + 26:
                jag = 26 - (y - top)
                for u in range(int(-wide), int(wide) + 1):
                    if (u * 7 + y // 3) % 9 < jag / 2:
                        part.set(160 + u, y, snow if u < (y - top) * .15 else mix(snow, shade, .35))
        around(made, part, x - 160, 0)


def planted(made, heights, seed, make, step, sink):
    chance = random.Random(seed)
    x = 0
    while x < WIDTH - step / 2:
        tree = make(chance)
        around(made, tree, x - tree.width // 2, int(heights[x % WIDTH]) - tree.height + sink)
        x += int(step * chance.uniform(.6, 1.5))


def meadow():
    sky("SKY1", ("#58b4e8", "#8fd3f0", "#d8f2e8"), lambda made: (
        made.disc(250, 36, 15, "#fff3c4"), made.disc(250, 36, 12, "#fffbe6"),
        clouds(made, ((60, 40, 11), (150, 66, 8), (205, 24, 7), (296, 78, 9)), "#ffffff", "#cfe8f5")))
    made = hills("FAR1", waves(11, 4, 92, 130), "#8cc4d8", "#a9d9d4", 0)
    peaks(made, ((70, 62, 1.1), (200, 78, 1.3), (285, 70, 1.0)), "#8fc0d8", "#78a9c8", "#eaf6fa")
    made.save("FAR1")
    heights = waves(12, 5, 112, 142)
    made = hills("MID1", heights, "#8fce86", "#6fb38a", 0, "#b4e394")
    planted(made, heights, 5, lambda chance: round_tree("#7fc07a", "#5fa070", "#6a6a58", chance.choice((5, 6, 7))), 26, 4)
    made.save("MID1")
    heights = waves(13, 6, 140, 160)
    made = hills("NEAR1", heights, "#4f9a62", "#35705a", 0, "#7cc072")
    planted(made, heights, 6, lambda chance: round_tree("#5aa85c", "#3c7f52", "#5a4a40", chance.choice((8, 10, 12))), 44, 6)
    made.save("NEAR1")


def autumn():
    sky("SKY2", ("#6a5a9c", "#d9738a", "#ffc27a", "#ffe9a8"), lambda made: (
        made.disc(90, 118, 20, "#ffe08a"), made.disc(90, 118, 16, "#fff3c4"),
        clouds(made, ((40, 50, 10), (170, 34, 12), (262, 70, 9)), "#f29a9a", "#b8608c")))
    made = hills("FAR2", waves(21, 4, 100, 132), "#b8688c", "#d98a8a", 0)
    peaks(made, ((130, 70, 1.2), (250, 84, 1.2)), "#b0648c", "#94527f", "#ffd0b0")
    made.save("FAR2")
    heights = waves(22, 5, 116, 146)
    made = hills("MID2", heights, "#c8684a", "#a04e50", 0, "#f29a5a")
    planted(made, heights, 8, lambda chance: round_tree(chance.choice(("#e8873a", "#d9603a")), "#a8443c", "#5a3444",
                                                        chance.choice((5, 6, 8))), 24, 4)
    made.save("MID2")
    heights = waves(23, 6, 142, 162)
    made = hills("NEAR2", heights, "#7d3f4a", "#5a2f44", 0, "#b85a4a")
    planted(made, heights, 9, lambda chance: round_tree(chance.choice(("#b8503a", "#c86a34")), "#7d3440", "#3d2438",
                                                        chance.choice((9, 11, 13))), 48, 6)
    made.save("NEAR2")


def frost():
    sky("SKY3", ("#7fa8d9", "#b0d0ec", "#e8f2fa"), lambda made: (
        clouds(made, ((70, 30, 12), (180, 54, 10), (270, 26, 9)), "#ffffff", "#c4d9ec")))
    made = hills("FAR3", waves(31, 4, 108, 134), "#a4bcdc", "#c4d6ea", 0)
    peaks(made, ((40, 44, 1.0), (150, 30, 1.15), (250, 52, 1.0)), "#9cb4d6", "#7f98c0", "#ffffff")
    made.save("FAR3")
    heights = waves(32, 5, 114, 146)
    made = hills("MID3", heights, "#c4d9ee", "#a0bada", 0, "#f2f8ff")
    planted(made, heights, 12, lambda chance: fir("#7a9cba", "#66869f", "#e8f2fa", chance.choice((7, 8, 10))), 20, 3)
    made.save("MID3")
    heights = waves(33, 6, 144, 162)
    made = hills("NEAR3", heights, "#8aa6cc", "#6a84b0", 0, "#d9e8f7")
    planted(made, heights, 13, lambda chance: fir("#43648a", "#34507a", "#d0e2f2", chance.choice((12, 14, 17))), 36, 5)
    made.save("NEAR3")


def night():
    sky("SKY4", ("#0e1230", "#1c2050", "#3c3478", "#7a4f94"), lambda made: (
        stars(made, 41, 150), made.disc(236, 42, 19, "#f4ecd0"), made.disc(229, 38, 4, "#dccfae"),
        made.disc(241, 49, 3, "#dccfae"), made.disc(243, 36, 2, "#dccfae")))
    made = hills("FAR4", waves(42, 4, 120, 142), "#3d3874", "#564690", 0)
    peaks(made, ((60, 60, 1.0), (170, 82, 1.2), (280, 66, 1.1)), "#403c7c", "#332e68", "#a9b4ec")
    made.save("FAR4")
    heights = waves(43, 5, 126, 152)
    made = hills("MID4", heights, "#343068", "#27244f", 0, "#5c5aa4")
    planted(made, heights, 15, lambda chance: fir("#2a2858", "#222048", "#6a70b8", chance.choice((8, 9, 11))), 22, 3)
    made.save("MID4")
    heights = waves(44, 6, 150, 166)
    made = hills("NEAR4", heights, "#1c1a3c", "#141230", 0, "#3c3a78")
    planted(made, heights, 16, lambda chance: fir("#171536", "#121030", "#3c4084", chance.choice((13, 16, 18))), 40, 5)
    made.save("NEAR4")


if __name__ == "__main__":
    write_tiles()
    meadow()
    autumn()
    frost()
    night()
