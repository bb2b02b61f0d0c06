"""Whoever flies or crawls: HERO, BAT, SPIDER, OWL."""
import math

from canvas import *


def hero_wing(ctx, side, angle, length, width):
    """One clear wing, hinged on the thorax; side is -1 or 1, angle counts from straight ahead."""
    with placed(ctx, 3, side * 3.2, side * angle):
        ctx.move_to(0, 0)
        ctx.curve_to(length * .3, -width * .6, length * .85, -width * .62, length, -width * .05)
        ctx.curve_to(length * .95, width * .5, length * .35, width * .5, 0, 0)
        ctx.close_path()
        ctx.set_source(linear(0, 0, length, 0, [(0, "#fff1c4", .75), (.4, "#d8f2ff", .62),
                                                (1, "#a9dcff", .42)]))
        ctx.fill_preserve()
        stroke(ctx, "#e6f8ff", 1, .85)
        for lift in (-.3, .02, .28):
            ctx.move_to(2, 0)
            ctx.curve_to(length * .4, width * lift, length * .6, width * lift, length * .86,
                         width * lift * .8)
            stroke(ctx, "#ffffff", .6, .5)


def wing_case(ctx, side, angle):
    """The hard cover of a wing, held open to the front: the mark of a beetle."""
    with placed(ctx, 5, side * 3.6, side * angle):
        ctx.move_to(-1, 0)
        ctx.curve_to(3, -4.6, 12, -4.8, 16, -.5)
        ctx.curve_to(13, 3.4, 4, 3.8, -1, 0)
        ctx.close_path()
        ctx.set_source(linear(0, -4, 0, 4, [(0, "#6d4038", 1), (.5, "#4a2a30", 1), (1, "#2a1724", 1)]))
        ctx.fill_preserve()
        stroke(ctx, INK, 1.3, .95)
        ctx.move_to(2, -1.6)
        ctx.curve_to(6, -3, 10, -3, 13.5, -1)
        stroke(ctx, AMBER_DEEP, .9, .75)


def draw_hero(ctx, phase):
    beat = (0, .55, 1, .55)[phase]
    # The lamp's own light, behind everything.
    glow(ctx, -10, 0, 21, AMBER_DEEP, .85)
    for side in (-1, 1):
        # The legs just show.
        for x, angle in ((8, .9), (3, 1.6), (-1, 2.2)):
            ctx.move_to(x, side * 3)
            ctx.line_to(x + 7 * math.cos(angle), side * (3 + 6 * math.sin(angle)))
            stroke(ctx, "#3a2430", 1.2, .9)
    # The lamp: three glowing segments that narrow to the rear.
    ctx.move_to(1, -5.6)
    ctx.curve_to(-7, -8.2, -17, -6.4, -18.5, 0)
    ctx.curve_to(-17, 6.4, -7, 8.2, 1, 5.6)
    ctx.close_path()
    ctx.set_source(radial(-10, 0, 13, [(0, "#fffdf0", 1), (.35, "#fff0a6", 1), (.7, "#ffc843", 1),
                                       (1, "#e8862a", 1)]))
    ctx.fill_preserve()
    stroke(ctx, "#6e3413", 1.3, .95)
    for x, half in ((-4.5, 5.8), (-9.2, 5.7), (-13.6, 4.4)):
        ctx.move_to(x, -half)
        ctx.curve_to(x - 1.8, -half * .4, x - 1.8, half * .4, x, half)
        stroke(ctx, "#d98a2c", .9, .5)
    for side in (-1, 1):
        hero_wing(ctx, side, 2.3 - .5 * beat, 20, 8.5)
        hero_wing(ctx, side, 1.95 - .62 * beat, 25.5 - 2.5 * beat, 11)
        wing_case(ctx, side, 1.22 - .14 * beat)
    # Thorax and shield.
    oval(ctx, 3, 0, 5.4, 5.2)
    ctx.set_source(radial(3, 0, 6, [(0, "#7a4a44", 1), (1, "#301a26", 1)], 4, -1.5))
    ctx.fill_preserve()
    stroke(ctx, INK, 1.1, .9)
    oval(ctx, 8, 0, 4.2, 5.2)
    ctx.set_source(radial(8, 0, 5.5, [(0, "#ffb35c", 1), (.55, "#d9653a", 1), (1, "#7c2c2c", 1)], 9, -1.8))
    ctx.fill_preserve()
    stroke(ctx, "#3a1420", 1.1, .95)
    # Head, eyes, antennae.
    for side in (-1, 1):
        ctx.move_to(13.5, side * 1.6)
        ctx.curve_to(17, side * 2.2, 19.5, side * 4.5, 20.5, side * 8)
        stroke(ctx, "#241521", 1.5)
        oval(ctx, 20.6, side * 8.2, 1.2)
        fill(ctx, AMBER)
    oval(ctx, 12.4, 0, 3.9, 4.1)
    ctx.set_source(radial(12.4, 0, 4.4, [(0, "#5b4357", 1), (1, "#1d1322", 1)], 13, -1.4))
    ctx.fill_preserve()
    stroke(ctx, INK, 1)
    for side in (-1, 1):
        oval(ctx, 13.8, side * 2.9, 1.9, 1.6)
        fill(ctx, "#0b0812")
        oval(ctx, 14.4, side * 2.7 - .4, .75)
        fill(ctx, "#ffffff", .95)


def write_hero():
    surface, ctx = picture(256, 512)
    for direction in range(8):
        for phase in range(4):
            with cell(ctx, direction * 4 + phase, 4, 64, 64):
                with placed(ctx, 32, 32, direction * math.pi / 4):
                    draw_hero(ctx, phase)
    save(surface, "HERO.PNG")


def bat_wing(ctx, spread, sweep):
    """The right wing; spread shortens it for the up-stroke, sweep moves its tip backwards."""
    reach = 27.5 * spread
    tip = (reach, -3 + sweep)
    elbow = (reach * .5, -11 + sweep * .3)
    ctx.move_to(2, -5)
    ctx.curve_to(5, -9, reach * .3, elbow[1], *elbow)
    ctx.curve_to(reach * .7, elbow[1] + .5, reach * .92, tip[1] - 5, *tip)
    # Three scallops between the fingers.
    fingers = ((reach * .76, 7 + sweep * .8), (reach * .47, 10 + sweep * .5), (3, 10))
    x0, y0 = tip
    for x, y in fingers:
        ctx.curve_to(x0 - reach * .08, y0 + 2, x + reach * .06, y - 5.5, x, y)
        x0, y0 = x, y
    ctx.close_path()
    return elbow, (tip,) + fingers[:2]


def draw_bat(ctx, frame):
    spread = (1, .93, .76, .6, .74, .92)[frame]
    sweep = (-2, 0, 4, 8, 3, -1)[frame]
    with placed(ctx, 32, 23):
        for side in (1, -1):
            with placed(ctx, 0, 0, 0, side, 1):
                elbow, fingers = bat_wing(ctx, spread, sweep)
                ctx.set_source(linear(0, 0, 28 * spread, 0, [(0, "#5d4a86", 1), (.5, "#7a63a8", 1),
                                                             (1, "#574480", 1)]))
                ctx.fill_preserve()
                stroke(ctx, "#1c1433", 2.6, .95, True)
                stroke(ctx, "#b9a2e6", 1.1)
                for x, y in fingers:
                    ctx.move_to(*elbow)
                    ctx.line_to(x - .8, y - .8)
                    stroke(ctx, "#3a2c5e", 1.1, .85)
        # Body: tail end, fur, ears, eyes.
        ctx.move_to(0, -12)
        ctx.curve_to(6.5, -11, 6, 2, 3.6, 9)
        ctx.line_to(0, 14)
        ctx.line_to(-3.6, 9)
        ctx.curve_to(-6, 2, -6.5, -11, 0, -12)
        ctx.close_path()
        ctx.set_source(radial(0, -2, 13, [(0, "#8a74b6", 1), (1, "#463669", 1)], -1.5, -4))
        ctx.fill_preserve()
        stroke(ctx, "#1c1433", 1.4)
        for y in (-1, 3, 7):
            ctx.move_to(-2, y)
            ctx.line_to(0, y + 2)
            ctx.line_to(2, y)
            stroke(ctx, "#b9a2e6", .8, .6)
        for side in (1, -1):
            ctx.move_to(side * 1.2, -12)
            ctx.line_to(side * 5.4, -19.5)
            ctx.line_to(side * 6, -10.5)
            ctx.close_path()
            fill(ctx, "#6d5899", 1, True)
            stroke(ctx, "#1c1433", 1.3)
            ctx.move_to(side * 3, -12.5)
            ctx.line_to(side * 4.9, -16.6)
            ctx.line_to(side * 5, -11.8)
            fill(ctx, "#d98ac0", .85)
        oval(ctx, 0, -10, 5.8, 5.2)
        ctx.set_source(radial(0, -10, 6, [(0, "#9a84c6", 1), (1, "#54427e", 1)], -1.5, -12))
        ctx.fill_preserve()
        stroke(ctx, "#1c1433", 1.3)
        for side in (1, -1):
            glow(ctx, side * 2.6, -11.6, 4, "#ff4f7a", .8)
            oval(ctx, side * 2.6, -11.6, 1.7, 1.9)
            fill(ctx, "#ff6d8e")
            oval(ctx, side * 2.6 - .4, -12.2, .6)
            fill(ctx, "#ffffff")


def write_bat():
    surface, ctx = picture(384, 48)
    for i in range(6):
        with cell(ctx, i, 6, 64, 48):
            draw_bat(ctx, i)
    save(surface, "BAT.PNG")


def spider_leg(ctx, side, x, y, angle, first, second, bend):
    """Two joints; angle counts from sideways, positive to the rear."""
    knee = (side * (x + first * math.cos(angle)), y + first * math.sin(angle))
    foot = (knee[0] + side * second * math.cos(angle + bend), knee[1] + second * math.sin(angle + bend))
    for colour, wide in (("#0d0a14", 3.6), ("#4a3c52", 2)):
        ctx.move_to(side * x, y)
        ctx.curve_to(side * (x + first * .5 * math.cos(angle)), y + first * .5 * math.sin(angle),
                     *knee, *knee)
        ctx.line_to(*foot)
        stroke(ctx, colour, wide)
    oval(ctx, *knee, 1.3)
    fill(ctx, "#d9c7a8")


def draw_spider(ctx, frame):
    swing = 2 * math.pi * frame / 4
    with placed(ctx, 24, 22):
        oval(ctx, 1, 9, 13, 12)
        fill(ctx, "#02040a", .28)
        for side in (-1, 1):
            for k, (y, angle, first, second, bend) in enumerate((
                    (-6, -.78, 8.6, 7.6, -.2), (-4, -.3, 9.5, 9, -.45),
                    (-1.5, .3, 9.5, 9, .5), (1, .84, 9.6, 9.8, .32))):
                # Alternate legs step together, and the two sides against each other.
                turn = .19 * math.sin(swing + (math.pi if (k % 2 == 0) == (side > 0) else 0))
                spider_leg(ctx, side, 3.5, y, angle + turn, first, second, bend + turn * .5)
        oval(ctx, 0, 9, 9.6, 11)
        ctx.set_source(radial(0, 9, 12, [(0, "#7a6480", 1), (.6, "#4a3a55", 1), (1, "#241a30", 1)],
                              -3.5, 4))
        ctx.fill_preserve()
        stroke(ctx, "#0d0a14", 1.5)
        for y, half in ((3.5, 3.2), (8.2, 4.6), (13, 3.6)):
            ctx.move_to(-half, y + 1.6)
            ctx.line_to(0, y - 1.4)
            ctx.line_to(half, y + 1.6)
            stroke(ctx, "#f2dfb6", 1.7, .95)
        oval(ctx, 0, 16.6, 1.3)
        fill(ctx, "#f2dfb6")
        oval(ctx, 0, -5, 6.2, 6.6)
        ctx.set_source(radial(0, -5, 7, [(0, "#857088", 1), (1, "#33263f", 1)], -2, -8))
        ctx.fill_preserve()
        stroke(ctx, "#0d0a14", 1.4)
        for side in (-1, 1):
            ctx.move_to(side * 1.8, -10.5)
            ctx.line_to(side * 1.4, -14)
            stroke(ctx, "#0d0a14", 2.4)
            oval(ctx, side * 2.2, -8.8, 1.6)
            fill(ctx, "#ffd36e")
            oval(ctx, side * 2.2, -9.1, .7)
            fill(ctx, "#1a0f1e")
            oval(ctx, side * 4.5, -7.2, .9)
            fill(ctx, "#ffb347")


def write_spider():
    surface, ctx = picture(192, 48)
    for i in range(4):
        with cell(ctx, i, 4, 48, 48):
            draw_spider(ctx, i)
    save(surface, "SPIDER.PNG")


def owl_wing(ctx, spread, sweep):
    """The right wing, of long feathers in two rows; the owl looks down the screen."""
    reach = 50 * spread
    feathers = 8
    for row, (length, tone) in enumerate(((1, ("#6b5140", "#8b6d54")), (.62, ("#8a6b50", "#a98a68")))):
        for k in range(feathers):
            t = k / (feathers - 1)
            x = 9 + (reach - 9) * t
            y = -2 + 3 * math.sin(t * math.pi) + sweep * t * t
            # The flight feathers fan from straight back to outward and back.
            angle = -math.pi / 2 + .95 * t ** 1.4
            size = (27 - 6 * t) * length
            leaf(ctx, x - 2, y + 2, size, 10.5, angle)
            fill(ctx, tone[k % 2], 1, True)
            stroke(ctx, "#2a1c1c", 1.2, .9)
            if row == 0:
                leaf(ctx, x - 2 + size * .62 * math.cos(angle), y + 2 + size * .62 * math.sin(angle),
                     size * .3, 5, angle)
                fill(ctx, "#dcc39a", .55)
    # The leading edge, at the south.
    ctx.move_to(5, -6)
    ctx.curve_to(20, -9, reach * .7, -8 + sweep * .5, reach + 2, -4 + sweep)
    ctx.curve_to(reach + 4, 2 + sweep, reach * .8, 8 + sweep * .6, reach * .5, 9 + sweep * .25)
    ctx.curve_to(reach * .3, 10, 10, 12, 4, 12)
    ctx.close_path()
    ctx.set_source(linear(0, -8, 0, 12, [(0, "#8a6b50", 1), (1, "#c2a078", 1)]))
    ctx.fill_preserve()
    stroke(ctx, "#2a1c1c", 1.5, .95, True)
    ctx.save()
    ctx.clip()
    for k in range(6):
        x = 13 + (reach - 15) * k / 5
        oval(ctx, x, 2.5 + sweep * .8 * (k / 5) ** 1.5, 2.4, 1.5)
        fill(ctx, "#f2e0bc", .75)
    ctx.restore()


def draw_owl(ctx, frame, strike):
    spread = (.92, .87, .74, .86)[frame]
    sweep = (-3, 2, 7, 1)[frame] + (-4 if strike else 0)
    with placed(ctx, 64, 37):
        # The tail, up the screen.
        for turn in (-.53, .53, -.27, .27, 0):
            leaf(ctx, 0, -10, 25, 9, turn - math.pi / 2)
            fill(ctx, "#7c6049", 1, True)
            stroke(ctx, "#2a1c1c", 1.2)
        for side in (1, -1):
            with placed(ctx, 0, 0, 0, side, 1):
                owl_wing(ctx, spread, sweep)
        if strike:
            for side in (1, -1):
                ctx.move_to(side * 8, 14)
                ctx.line_to(side * 12, 27)
                stroke(ctx, "#2a1c1c", 5.5)
                ctx.move_to(side * 8, 14)
                ctx.line_to(side * 12, 27)
                stroke(ctx, "#e0b060", 3.4)
                for turn in (-.65, 0, .65):
                    leaf(ctx, side * 12, 26, 11, 4.2, math.pi / 2 + turn)
                    fill(ctx, "#f7e6c0", 1, True)
                    stroke(ctx, "#2a1c1c", 1.1)
        oval(ctx, 0, 0, 13.5, 17)
        ctx.set_source(radial(0, 0, 18, [(0, "#b8946c", 1), (1, "#6b5140", 1)], -4, -4))
        ctx.fill_preserve()
        stroke(ctx, "#2a1c1c", 1.5)
        for y in (-10, -5, 0):
            for x in range(-8, 9, 4):
                ctx.move_to(x - 1.5, y + 1.6)
                ctx.line_to(x, y - 1)
                ctx.line_to(x + 1.5, y + 1.6)
                stroke(ctx, "#f2e0bc", 1, .7)
        draw_owl_head(ctx, strike)


def draw_owl_head(ctx, strike):
    """The face is tilted up towards the one who looks, chin to the south."""
    for side in (1, -1):
        ctx.move_to(side * 5, 5)
        ctx.line_to(side * 16, -1)
        ctx.line_to(side * 15, 13)
        ctx.close_path()
        fill(ctx, "#7c6049", 1, True)
        stroke(ctx, "#2a1c1c", 1.5)
    oval(ctx, 0, 16, 16, 14)
    ctx.set_source(radial(0, 16, 18, [(0, "#cdaa80", 1), (1, "#7c6049", 1)], -4, 10))
    ctx.fill_preserve()
    stroke(ctx, "#2a1c1c", 1.6)
    for side in (1, -1):
        oval(ctx, side * 7, 17, 8, 8.6)
        fill(ctx, "#f0dcb4")
        glow(ctx, side * 7, 17, 13, AMBER_DEEP, .6 if strike else .35)
        big = 6.4 if strike else 5.3
        oval(ctx, side * 7, 17, big)
        ctx.set_source(radial(side * 7, 17, big, [(0, "#fff1a8", 1), (.6, "#ffc23c", 1), (1, "#d97a1c", 1)]))
        ctx.fill_preserve()
        stroke(ctx, "#2a1c1c", 1.4)
        oval(ctx, side * 6.6, 17.6, 2.4 if strike else 3)
        fill(ctx, "#140c14")
        oval(ctx, side * 6.6 - 1.2, 16.2, 1.1)
        fill(ctx, "#ffffff")
        if not strike:
            # A calm eyelid.
            ctx.arc(side * 7, 17, big + .4, math.pi, 2 * math.pi)
            ctx.curve_to(side * 7 + big * .4, 14, side * 7 - big * .4, 14, side * 7 - big - .4, 17)
            fill(ctx, "#a9865f")
        ctx.move_to(side * 1.5, 13)
        ctx.curve_to(side * 6, 8 if strike else 7, side * 11, 5, side * 16, 5)
        stroke(ctx, "#4a3428", 2.6)
    ctx.move_to(-3, 18)
    ctx.line_to(3, 18)
    ctx.line_to(0, 26 if strike else 24.5)
    ctx.close_path()
    fill(ctx, "#e8b04a", 1, True)
    stroke(ctx, "#2a1c1c", 1.3)


def write_owl():
    surface, ctx = picture(512, 160)
    for i in range(8):
        with cell(ctx, i, 4, 128, 80):
            draw_owl(ctx, i % 4, i >= 4)
    save(surface, "OWL.PNG")


def main():
    write_hero()
    write_bat()
    write_spider()
    write_owl()


if __name__ == "__main__":
    main()
