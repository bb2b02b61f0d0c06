#!/usr/bin/env python3
"""The game's icon: icon.py FILE writes a PNG of 256 x 256, a board of nine tiles with a loop on it."""
import struct
import sys
import zlib

SIZE, FINE = 256, 2  # pixels, and samples of a pixel along each side

GROUND, TILE, LINE = (38, 98, 196), (244, 246, 250), (28, 30, 36)
DISCS = {(0, 0): LINE, (2, 1): (232, 168, 20), (0, 2): (56, 160, 80)}
LOOP = [((1, 0), (2, 0)), ((2, 0), (2, 2)), ((2, 2), (1, 2)), ((1, 2), (1, 0))]


def in_rounded(x, y, left, top, size, radius):
    dx = max(left + radius - x, x - (left + size - radius), 0)
    dy = max(top + radius - y, y - (top + size - radius), 0)
    return dx * dx + dy * dy <= radius * radius


def centre(place):
    return 28 + place[0] * 68 + 32, 28 + place[1] * 68 + 32


def on_loop(x, y):
    for start, end in LOOP:
        (x0, y0), (x1, y1) = centre(start), centre(end)
        dx = max(min(x0, x1) - x, x - max(x0, x1), 0)
        dy = max(min(y0, y1) - y, y - max(y0, y1), 0)
        if dx * dx + dy * dy <= 8 * 8:
            return True
    return False


def sample(x, y):
    """The colour at a place, or None outside of the icon."""
    if not in_rounded(x, y, 8, 8, 240, 40):
        return None
    for place, colour in DISCS.items():
        cx, cy = centre(place)
        if (x - cx) ** 2 + (y - cy) ** 2 <= 17 * 17:
            return colour
    if on_loop(x, y):
        return LINE
    for column in range(3):
        for row in range(3):
            if in_rounded(x, y, 28 + column * 68, 28 + row * 68, 64, 10):
                return TILE
    return GROUND


def pixel(x, y):
    steps = [(i + 0.5) / FINE for i in range(FINE)]
    found = [c for c in (sample(x + dx, y + dy) for dy in steps for dx in steps) if c]
    if not found:
        return bytes(4)
    mean = [sum(c[i] for c in found) // len(found) for i in range(3)]
    return bytes(mean + [255 * len(found) // FINE ** 2])


def chunk(kind, data):
    body = kind + data
    return struct.pack('>I', len(data)) + body + struct.pack('>I', zlib.crc32(body))


def main():
    rows = b''.join(b'\0' + b''.join(pixel(x, y) for x in range(SIZE)) for y in range(SIZE))
    header = struct.pack('>IIBBBBB', SIZE, SIZE, 8, 6, 0, 0, 0)
    with open(sys.argv[1], 'wb') as file:
        file.write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', header) +
                   chunk(b'IDAT', zlib.compress(rows, 9)) + chunk(b'IEND', b''))


main()
