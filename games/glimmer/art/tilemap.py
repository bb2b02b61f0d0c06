"""Renders a map of 20x12 tiles as the game does, to look at the seams: tilemap.py OUT [SCALE]."""
import random
import sys

from canvas import *

MAP = """
....................
.TTT......WWW....T..
.TTTT....WWWWW..TTT.
..TTT....WWWWW...T..
..T.......WWWW......
.......T...WW...TTT.
.W....TT........T.T.
.WW...TTT..T....TTT.
.W.....T..WWW.......
......TT..W.W..TTTT.
.TT.......WWW..TTTT.
....................
""".split()


def main():
    tiles = cairo.ImageSurface.create_from_png(os.path.join(PICTURES, "TILES.PNG"))
    surface, ctx = picture(960, 576)
    chance = random.Random(5)

    def kind(x, y):
        return MAP[y][x] if 0 <= y < 12 and 0 <= x < 20 else "."

    for y in range(12):
        for x in range(20):
            what = kind(x, y)
            mask = sum(bit for bit, dx, dy in ((1, 0, -1), (2, 1, 0), (4, 0, 1), (8, -1, 0))
                       if kind(x + dx, y + dy) == what)
            if what == ".":
                index = chance.choice((0, 0, 1, 1, 2, 2, 3, 3, 0, 1, 2, 3, 4, 5, 6, 7))
            else:
                index = (8 if what == "T" else 24) + mask
            ctx.save()
            ctx.rectangle(x * 48, y * 48, 48, 48)
            ctx.clip()
            ctx.set_source_surface(tiles, x * 48 - index % 8 * 48, y * 48 - index // 8 * 48)
            ctx.paint()
            ctx.restore()
    surface.write_to_png(sys.argv[1])


if __name__ == "__main__":
    main()
