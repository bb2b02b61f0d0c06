"""The lettering of the title: LOGO."""
import math

import cairo

from canvas import *
from creatures import draw_hero

WORDS = (("Glimmer", 60, 104), ("Hollow", 330, 199))


def letters(ctx):
    ctx.select_font_face("Z003", cairo.FONT_SLANT_ITALIC, cairo.FONT_WEIGHT_NORMAL)
    ctx.set_font_size(129)
    for text, x, y in WORDS:
        ctx.move_to(x, y)
        ctx.text_path(text)


def vine(ctx, points, leaves):
    smooth(ctx, points, False)
    stroke(ctx, "#0f2a20", 5.5, 1, True)
    stroke(ctx, "#4f9160", 3)
    for x, y, size, angle in leaves:
        leaf(ctx, x, y, size, size * .62, angle)
        ctx.set_source(linear(x, y, x + size * math.cos(angle), y + size * math.sin(angle),
                              [(0, "#357a54", 1), (1, "#9ad486", 1)]))
        ctx.fill_preserve()
        stroke(ctx, "#0f2a20", 1.3)


def main():
    surface, ctx = picture(760, 220)
    halo, halo_ctx = picture(760, 220)
    letters(halo_ctx)
    stroke(halo_ctx, AMBER_DEEP, 16, .85)
    halo = soften(halo, (2, 4, 6, 4, 2))
    ctx.set_source_surface(halo, 0, 0)
    ctx.paint()
    ctx.paint_with_alpha(.5)
    vine(ctx, ((60, 150), (110, 168), (170, 158), (225, 172), (290, 165)),
         ((90, 160, 22, 1.1), (120, 166, 24, -1.0), (160, 160, 20, 1.2), (190, 162, 24, -.7), (225, 171, 20, 1.0),
          (255, 171, 22, -.9), (62, 151, 22, 2.6), (64, 151, 18, -2.2)))
    vine(ctx, ((486, 60), (528, 46), (566, 58), (600, 48)),
         ((506, 52, 21, -1.2), (532, 46, 20, 1.0), (560, 57, 22, -1.0), (580, 56, 18, 1.1), (599, 48, 21, .5),
          (599, 47, 17, -.8)))
    with placed(ctx, 2, 5):
        letters(ctx)
        stroke(ctx, "#04060f", 13, .55)
    letters(ctx)
    stroke(ctx, "#3a1c14", 11)
    letters(ctx)
    stroke(ctx, "#8a4a1e", 5.5)
    letters(ctx)
    ctx.set_source(linear(0, 20, 0, 200, [(0, "#fffbe4", 1), (.3, "#ffe9a8", 1), (.5, "#ffc65a", 1), (.55, "#fff3c8", 1),
                                          (.8, "#ffd36e", 1), (1, "#f0942e", 1)]))
    ctx.fill()
    # A firefly over the words, and the sparks it leaves behind.
    for x, y, size in ((640, 88, 2.6), (664, 78, 3.2), (612, 94, 2.0), (590, 95, 1.4)):
        glow(ctx, x, y, size * 4, AMBER, .7)
        star(ctx, x, y, 4, size * 1.7, size * .5)
        fill(ctx, CREAM)
    glow(ctx, 690, 56, 46, AMBER, .6)
    with placed(ctx, 702, 48, -.6, 1.2):
        draw_hero(ctx, 1)
    save(surface, "LOGO.PNG")


if __name__ == "__main__":
    main()
