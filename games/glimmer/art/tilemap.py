"""Renders a map of 20x12 tiles as the game does, to look at the seams: tilemap.py OUT [SCALE [FRAME]]."""
import random
import sys

from canvas import *

MAP = """
TT..............TTTT
TTTTT....WWWW....TTT
TTTTTT..WWWWWW....TT
.TTTTT..WWWWWWW..T..
..TTT..WWWWWWWW.....
.......WWWWWWW..TTTT
.WW..T..WWWW...T..TT
WWWW.TT..WW..T.T..TT
WWWW.TTT.....TTTTTT.
.WWW..TTT.WW.TTTTTT.
TTW..TTTT.W.WW.TTTTT
TTTT..TT..WWW..TTTTT
""".split()
CORNERS = ((0, 0), (1, 0), (0, 1), (1, 1))


def main():
    tiles = cairo.ImageSurface.create_from_png(os.path.join(os.environ["ART_PICTURES"], "TILES.PNG"))
    frame = int(sys.argv[3]) if len(sys.argv) > 3 else 0
    scale = int(sys.argv[2]) if len(sys.argv) > 2 else 1
    surface, ctx = picture(960 * scale, 576 * scale)
    ctx.scale(scale, scale)
    chance = random.Random(5)

    def kind(x, y):
        # What lies beyond the map goes on as at its rim.
        return MAP[min(max(y, 0), 11)][min(max(x, 0), 19)]

    def put(index, right, down, x, y):
        """A quarter of a tile."""
        ctx.save()
        ctx.rectangle(x * 48 + right * 24, y * 48 + down * 24, 24, 24)
        ctx.clip()
        ctx.set_source_surface(tiles, x * 48 - index % 8 * 48, y * 48 - index // 8 * 48)
        ctx.get_source().set_filter(cairo.FILTER_NEAREST)
        ctx.paint()
        ctx.restore()

    for y in range(12):
        for x in range(20):
            what = kind(x, y)
            mask = sum(bit for bit, dx, dy in ((1, 0, -1), (2, 1, 0), (4, 0, 1), (8, -1, 0))
                       if kind(x + dx, y + dy) == what)
            inside = masked = chance.choice((0, 0, 1, 1, 2, 2, 3, 3, 0, 1, 2, 3, 4, 5, 6, 7))
            if what == "T":
                masked = 8 + mask
                inside = chance.choice((56, 57, 56, 57, 56, 57, 62, 63))
            elif what == "W":
                masked = 24 + 16 * frame + mask
                inside = chance.choice((58, 58, 58, 58, 58, 58, 58, 60)) + frame
            for right, down in CORNERS:
                dx, dy = right * 2 - 1, down * 2 - 1
                around = {kind(x + dx, y), kind(x, y + dy), kind(x + dx, y + dy)}
                put(inside if around == {what} else masked, right, down, x, y)
    surface.write_to_png(sys.argv[1])


if __name__ == "__main__":
    main()
