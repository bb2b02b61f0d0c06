"""What all the picture scripts share: the palette, soft shapes, and saving as PNG.

Everything is drawn with cairo at its final size. Nothing reads a clock or an unseeded random
source, so a rerun gives the same pixels.
"""
import colorsys
import math
import os
import struct
from contextlib import contextmanager

import cairo

from png import write_png

NIGHT = "#0b1026"
DUSK = "#10243c"
TEAL = "#16324a"
MOSS_DARK = "#24523f"
MOSS = "#2f6a4a"
MOSS_LIGHT = "#4a8a5c"
AMBER = "#ffd36e"
AMBER_DEEP = "#ffb347"
CREAM = "#fff1c4"
MAGENTA = "#c46ad0"
DEW = "#8fe8ff"
INK = "#120c1c"


def picture(width, height):
    surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, width, height)
    ctx = cairo.Context(surface)
    ctx.set_antialias(cairo.ANTIALIAS_BEST)
    ctx.set_line_cap(cairo.LINE_CAP_ROUND)
    ctx.set_line_join(cairo.LINE_JOIN_ROUND)
    return surface, ctx


def rgb(colour):
    return tuple(int(colour[i:i + 2], 16) / 255 for i in (1, 3, 5))


def mix(a, b, t):
    parts = (round(255 * (x + (y - x) * t)) for x, y in zip(rgb(a), rgb(b)))
    return "#%02x%02x%02x" % tuple(parts)


_tone = None


@contextmanager
def toned(tone):
    """Everything is drawn in other colours for as long as the block lasts: a list of
    hues in degrees, from and to, the hue that they get, and factors of saturation and value."""
    global _tone
    before, _tone = _tone, tone
    yield
    _tone = before


def shown(colour):
    red, green, blue = rgb(colour)
    for first, last, hue, saturation, value in _tone or ():
        h, s, v = colorsys.rgb_to_hsv(red, green, blue)
        if first <= h * 360 < last and s > .08:
            return colorsys.hsv_to_rgb((hue + (h * 360 - (first + last) / 2) * .25) % 360 / 360,
                                       min(1, s * saturation), min(1, v * value))
    return red, green, blue


def ink(ctx, colour, alpha=1.0):
    ctx.set_source_rgba(*shown(colour), alpha)


def fill(ctx, colour, alpha=1.0, keep=False):
    ink(ctx, colour, alpha)
    ctx.fill_preserve() if keep else ctx.fill()


def stroke(ctx, colour, width, alpha=1.0, keep=False):
    ink(ctx, colour, alpha)
    ctx.set_line_width(width)
    ctx.stroke_preserve() if keep else ctx.stroke()


@contextmanager
def placed(ctx, x=0, y=0, angle=0.0, sx=1.0, sy=None):
    """Moves, turns and scales for as long as the block lasts."""
    ctx.save()
    ctx.translate(x, y)
    ctx.rotate(angle)
    ctx.scale(sx, sx if sy is None else sy)
    yield ctx
    ctx.restore()


@contextmanager
def cell(ctx, index, columns, width, height):
    """One frame of a sheet, with its own origin; nothing drawn in it reaches its neighbours."""
    ctx.save()
    ctx.translate(index % columns * width, index // columns * height)
    ctx.rectangle(0, 0, width, height)
    ctx.clip()
    yield ctx
    ctx.restore()


def oval(ctx, x, y, rx, ry=None, angle=0.0):
    ctx.new_sub_path()
    ctx.save()
    ctx.translate(x, y)
    ctx.rotate(angle)
    ctx.scale(rx, rx if ry is None else ry)
    ctx.arc(0, 0, 1, 0, 2 * math.pi)
    ctx.restore()


def radial(x, y, radius, stops, fx=None, fy=None):
    """A radial gradient; stops are (offset, colour, alpha), the focus may lie off the centre."""
    pattern = cairo.RadialGradient(x if fx is None else fx, y if fy is None else fy, 0, x, y, radius)
    for offset, colour, alpha in stops:
        pattern.add_color_stop_rgba(offset, *shown(colour), alpha)
    return pattern


def linear(x0, y0, x1, y1, stops):
    pattern = cairo.LinearGradient(x0, y0, x1, y1)
    for offset, colour, alpha in stops:
        pattern.add_color_stop_rgba(offset, *shown(colour), alpha)
    return pattern


def glow(ctx, x, y, radius, colour, alpha):
    """Light that falls off as a square, so that it has no visible rim."""
    stops = [(i / 8, colour, alpha * (1 - i / 8) ** 2) for i in range(9)]
    ctx.set_source(radial(x, y, radius, stops))
    ctx.rectangle(x - radius, y - radius, 2 * radius, 2 * radius)
    ctx.fill()


def leaf(ctx, x, y, length, width, angle):
    """A pointed leaf that starts at x, y."""
    with placed(ctx, x, y, angle):
        ctx.move_to(0, 0)
        ctx.curve_to(length * .25, -width * .75, length * .7, -width * .6, length, 0)
        ctx.curve_to(length * .7, width * .6, length * .25, width * .75, 0, 0)
        ctx.close_path()


def smooth(ctx, points, closed=True):
    """A curve through all points."""
    count = len(points)

    def at(i):
        return points[i % count] if closed else points[max(0, min(count - 1, i))]

    ctx.move_to(*points[0])
    for i in range(count if closed else count - 1):
        (x0, y0), (x1, y1), (x2, y2), (x3, y3) = at(i - 1), at(i), at(i + 1), at(i + 2)
        ctx.curve_to(x1 + (x2 - x0) / 6, y1 + (y2 - y0) / 6,
                     x2 - (x3 - x1) / 6, y2 - (y3 - y1) / 6, x2, y2)
    if closed:
        ctx.close_path()


def rounded(ctx, x, y, width, height, radius):
    ctx.new_sub_path()
    ctx.arc(x + width - radius, y + radius, radius, -math.pi / 2, 0)
    ctx.arc(x + width - radius, y + height - radius, radius, 0, math.pi / 2)
    ctx.arc(x + radius, y + height - radius, radius, math.pi / 2, math.pi)
    ctx.arc(x + radius, y + radius, radius, math.pi, 1.5 * math.pi)
    ctx.close_path()


def star(ctx, x, y, points, outer, inner, angle=0.0):
    for i in range(points * 2):
        radius = inner if i % 2 else outer
        turn = angle + math.pi * i / points - math.pi / 2
        ctx.line_to(x + radius * math.cos(turn), y + radius * math.sin(turn))
    ctx.close_path()


def heart(ctx, x, y, size):
    """A heart whose lobes and tip lie about size from x, y."""
    with placed(ctx, x, y, 0, size):
        ctx.move_to(0, .95)
        ctx.curve_to(-.55, .5, -1.05, .1, -1.0, -.38)
        ctx.curve_to(-.95, -.85, -.3, -.95, 0, -.42)
        ctx.curve_to(.3, -.95, .95, -.85, 1.0, -.38)
        ctx.curve_to(1.05, .1, .55, .5, 0, .95)
        ctx.close_path()


def soften(surface, steps):
    """The picture blurred: each step averages three copies a few pixels apart, both ways."""
    width, height = surface.get_width(), surface.get_height()
    for step in steps:
        for dx, dy in ((step, 0), (0, step)):
            result = cairo.ImageSurface(cairo.FORMAT_ARGB32, width, height)
            ctx = cairo.Context(result)
            ctx.set_operator(cairo.OPERATOR_ADD)
            for offset, weight in ((-1, .25), (0, .5), (1, .25)):
                ctx.set_source_surface(surface, offset * dx, offset * dy)
                ctx.paint_with_alpha(weight)
            surface = result
    return surface


class _Straight(dict):
    """Premultiplied ARGB words to straight RGBA bytes, remembered."""

    def __missing__(self, word):
        alpha = word >> 24
        if alpha == 0:
            value = b"\0\0\0\0"
        else:
            parts = (word >> 16 & 255, word >> 8 & 255, word & 255)
            value = bytes([min(255, (p * 255 + alpha // 2) // alpha) for p in parts] + [alpha])
        self[word] = value
        return value


def straight_rows(surface):
    surface.flush()
    width, stride = surface.get_width(), surface.get_stride()
    data = bytes(surface.get_data())
    table = _Straight()
    for y in range(surface.get_height()):
        words = struct.unpack_from("<%dI" % width, data, y * stride)
        yield b"".join([table[word] for word in words])


def save(surface, name, folder=None):
    folder = folder or os.environ["ART_PICTURES"]
    os.makedirs(folder, exist_ok=True)
    write_png(os.path.join(folder, name), surface.get_width(), surface.get_height(),
              straight_rows(surface))
