"""Puts pictures, enlarged, on a plain ground, to look at them: sheet.py OUT SCALE GROUND FILE..."""
import sys

import cairo

from canvas import *


def main():
    out, scale, ground, names = sys.argv[1], int(sys.argv[2]), sys.argv[3], sys.argv[4:]
    pictures = [cairo.ImageSurface.create_from_png(name) for name in names]
    width = max(p.get_width() for p in pictures) * scale
    height = sum(p.get_height() * scale + 8 for p in pictures)
    surface, ctx = picture(width, height)
    ink(ctx, ground)
    ctx.paint()
    y = 0
    for item in pictures:
        with placed(ctx, 0, y, 0, scale):
            ctx.set_source_surface(item, 0, 0)
            ctx.get_source().set_filter(cairo.FILTER_NEAREST)
            ctx.paint()
        y += item.get_height() * scale + 8
    surface.write_to_png(out)


if __name__ == "__main__":
    main()
