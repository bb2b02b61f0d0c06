"""What the picture scripts share: a grid of pixels, colours as "#rrggbb", text as pictures, and saving.

Nothing reads a clock or an unseeded random source, so a rerun gives the same files.
"""
import os

from png import write_png

CLEAR = None
INK = "#241a2e"  # what outlines things


def mix(a, b, t):
    parts = [(int(a[i:i + 2], 16), int(b[i:i + 2], 16)) for i in (1, 3, 5)]
    return "#" + "".join("%02x" % round(x + (y - x) * t) for x, y in parts)


class Grid:
    """Pixels; a place outside is ignored, so that shapes may overlap the edge."""

    def __init__(self, width, height, fill=CLEAR):
        self.width, self.height = width, height
        self.rows = [[fill] * width for _ in range(height)]

    def at(self, x, y):
        inside = 0 <= x < self.width and 0 <= y < self.height
        return self.rows[y][x] if inside else CLEAR

    def set(self, x, y, colour):
        if 0 <= x < self.width and 0 <= y < self.height:
            self.rows[y][x] = colour

    def box(self, x, y, width, height, colour):
        for v in range(y, y + height):
            for u in range(x, x + width):
                self.set(u, v, colour)

    def disc(self, cx, cy, radius, colour):
        for y in range(int(cy - radius) - 1, int(cy + radius) + 2):
            for x in range(int(cx - radius) - 1, int(cx + radius) + 2):
                if (x + .5 - cx) ** 2 + (y + .5 - cy) ** 2 <= radius * radius:
                    self.set(x, y, colour)

    def line(self, x0, y0, x1, y1, colour):
        steps = max(abs(x1 - x0), abs(y1 - y0), 1)
        for k in range(steps + 1):
            self.set(round(x0 + (x1 - x0) * k / steps), round(y0 + (y1 - y0) * k / steps), colour)

    def text(self, x, y, rows, colours):
        """A letter a pixel; letters without a colour are left out."""
        for v, row in enumerate(rows):
            for u, letter in enumerate(row):
                if letter in colours:
                    self.set(x + u, y + v, colours[letter])

    def paste(self, other, x, y):
        for v in range(other.height):
            for u in range(other.width):
                if other.rows[v][u] is not CLEAR:
                    self.set(x + u, y + v, other.rows[v][u])

    def mirrored(self):
        made = Grid(self.width, self.height)
        made.rows = [row[::-1] for row in self.rows]
        return made

    def outlined(self, colour=INK):
        """Every clear pixel beside a drawn one takes the colour."""
        made = Grid(self.width, self.height)
        for y in range(self.height):
            for x in range(self.width):
                here = self.at(x, y)
                beside = [self.at(x + u, y + v) for u, v in ((1, 0), (-1, 0), (0, 1), (0, -1))]
                made.set(x, y, colour if here is CLEAR and any(beside) else here)
        return made

    def enlarged(self, factor):
        made = Grid(self.width * factor, self.height * factor)
        for y in range(made.height):
            for x in range(made.width):
                made.rows[y][x] = self.rows[y // factor][x // factor]
        return made

    def save(self, name):
        folder = os.environ["ART_PICTURES"]
        os.makedirs(folder, exist_ok=True)
        rows = []
        for row in self.rows:
            parts = [b"\0\0\0\0" if c is CLEAR else bytes.fromhex(c[1:7]) + b"\xff" for c in row]
            rows.append(b"".join(parts))
        write_png(os.path.join(folder, name + ".PNG"), self.width, self.height, rows)


def sheet(cells, columns):
    """Pictures of one size in one."""
    width, height = cells[0].width, cells[0].height
    made = Grid(width * columns, height * (-(-len(cells) // columns)))
    for k, cell in enumerate(cells):
        made.paste(cell, k % columns * width, k // columns * height)
    return made


def dither(level, x, y):
    """Whether a level of 0 to 1 is lit at a place, in an ordered pattern of 4 by 4."""
    pattern = (0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5)
    return level * 16 > pattern[y % 4 * 4 + x % 4] + .5
