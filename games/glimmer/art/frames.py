"""What frames the game: PANEL and BUTTON (to be cut in nine), ICONS, KEYS, ICON."""
import math
import random

from canvas import *
from creatures import draw_hero
from things import draw_sparkle

WOOD_DARK = "#2c1d22"
WOOD = "#6b4a3a"
WOOD_LIGHT = "#a37a52"


def write_panel():
    """The sides run straight through the middle third, so that it may be tiled or stretched."""
    surface, ctx = picture(96, 96)
    rounded(ctx, 3, 3, 90, 90, 14)
    ink(ctx, DUSK, 225 / 255)
    ctx.fill()
    for inset, colour, width in ((5, WOOD_DARK, 8.4), (5, WOOD, 5.6), (4.2, WOOD_LIGHT, 1.6)):
        rounded(ctx, inset, inset, 96 - 2 * inset, 96 - 2 * inset, 13 - inset / 5)
        stroke(ctx, colour, width)
    rounded(ctx, 9.6, 9.6, 76.8, 76.8, 9)
    stroke(ctx, "#050912", 1.4, .7)
    rounded(ctx, 10.8, 10.8, 74.4, 74.4, 8)
    stroke(ctx, "#4f93a8", 1, .35)
    for k in range(4):
        with placed(ctx, 48, 48, k * math.pi / 2):
            with placed(ctx, -48, -48):
                draw_corner_vine(ctx)
    save(surface, "PANEL.PNG")


def draw_corner_vine(ctx):
    ctx.move_to(6, 28)
    ctx.curve_to(1, 22, 12, 18, 6, 11)
    ctx.curve_to(4, 5, 12, 3, 14, 7)
    ctx.curve_to(18, 12, 22, 2, 28, 5)
    stroke(ctx, "#132c22", 3.4, 1, True)
    stroke(ctx, "#5a9a5e", 1.8)
    for x, y, size, angle in ((6, 24, 8, .2), (5, 17, 7, 2.7), (8, 12, 9, .85), (18, 8, 7, -1.9),
                              (24, 5, 8, 1.25), (10, 6, 7, -2.6), (26, 5, 6, -.7), (6, 26, 6, 2.4)):
        leaf(ctx, x, y, size, size * .68, angle)
        ctx.set_source(linear(x, y, x + size * math.cos(angle), y + size * math.sin(angle),
                              [(0, "#357a54", 1), (1, "#86c47a", 1)]))
        ctx.fill_preserve()
        stroke(ctx, "#10291f", .9, .9)
    oval(ctx, 7.5, 7.5, 2.4)
    ctx.set_source(radial(7.5, 7.5, 2.6, [(0, "#fff6d4", 1), (1, AMBER_DEEP, 1)], 6.8, 6.8))
    ctx.fill_preserve()
    stroke(ctx, "#6a3a14", .8)


def write_button():
    """Normal, lit, pressed: the ends are 24 wide, between them nothing changes along x."""
    surface, ctx = picture(288, 48)
    looks = ((("#2c6076", "#1b4056", "#143246"), WOOD, WOOD_LIGHT, 0),
             (("#d08a3c", "#9c5f2c", "#6f4024"), "#b98548", "#ffe2a0", 0),
             (("#12293c", "#183a50", "#1d465c"), "#54392f", "#7d5c44", 1))
    for i, (body, rim, light, sunk) in enumerate(looks):
        with cell(ctx, i, 3, 96, 48):
            rounded(ctx, 3, 5, 90, 41, 12)
            fill(ctx, "#03060e", .5)
            y, height = 3 + 2 * sunk, 41 - sunk
            rounded(ctx, 3, y, 90, height, 12)
            ctx.set_source(linear(0, y, 0, y + height, [(0, body[0], 1), (.5, body[1], 1), (1, body[2], 1)]))
            ctx.fill()
            if not sunk:
                rounded(ctx, 7, y + 4, 82, 14, 7)
                ctx.set_source(linear(0, y + 4, 0, y + 18, [(0, "#ffffff", .22), (1, "#ffffff", .02)]))
                ctx.fill()
            rounded(ctx, 4.5, y + 1.5, 87, height - 3, 11)
            stroke(ctx, WOOD_DARK, 4.6, 1, True)
            stroke(ctx, rim, 2.6, 1, True)
            rounded(ctx, 4, y + 1, 88, height - 2.4, 11)
            stroke(ctx, light, .9, .8)
            if i == 1:
                rounded(ctx, 8, y + 5, 80, height - 10, 8)
                stroke(ctx, CREAM, 1, .5)
            for side in (0, 1):
                with placed(ctx, 96 * side, 0, 0, -1 if side else 1, 1):
                    for angle, size in ((-.5, 11), (.55, 10), (0, 7)):
                        leaf(ctx, 5, y + height / 2, size, size * .6, angle)
                        fill(ctx, "#8cc878" if i == 1 else "#4f9160", 1, True)
                        stroke(ctx, "#10291f", .9)
    save(surface, "BUTTON.PNG")


def icon_lantern(ctx):
    glow(ctx, 16, 18, 15, AMBER_DEEP, .5)
    ctx.rectangle(10, 12, 12, 13)
    ctx.set_source(radial(16, 19, 9, [(0, "#fffbe6", 1), (.5, "#ffd75e", 1), (1, "#e8862a", 1)]))
    ctx.fill_preserve()
    stroke(ctx, "#1c2030", 1.8)
    ctx.move_to(16, 12)
    ctx.line_to(16, 25)
    stroke(ctx, "#1c2030", 1.4)
    ctx.move_to(5.5, 12.5)
    ctx.line_to(13, 5.5)
    ctx.line_to(19, 5.5)
    ctx.line_to(26.5, 12.5)
    ctx.close_path()
    fill(ctx, "#8296ac", 1, True)
    stroke(ctx, "#1c2030", 1.6)
    rounded(ctx, 7, 24.5, 18, 4, 1.6)
    fill(ctx, "#8296ac", 1, True)
    stroke(ctx, "#1c2030", 1.6)
    ctx.arc(16, 4, 2.2, 0, 7)
    stroke(ctx, "#c9d8e4", 1.5)


def icon_moon(ctx):
    oval(ctx, 16, 16, 12.5)
    ctx.set_source(radial(16, 16, 13, [(0, "#2a4a70", 1), (1, "#142442", 1)]))
    ctx.fill_preserve()
    stroke(ctx, "#a9c4e0", 1.6)
    ctx.save()
    oval(ctx, 16, 16, 12)
    ctx.clip()
    ctx.arc(15, 16, 8.6, .5, 2 * math.pi - .9)
    ctx.curve_to(14.5, 11, 15, 20, 15 + 8.6 * math.cos(.5), 16 + 8.6 * math.sin(.5))
    fill(ctx, "#fff1c4", 1, True)
    stroke(ctx, "#a9803c", .9)
    ctx.restore()
    for x, y, size in ((22, 11, 3.2), (24, 18, 2)):
        star(ctx, x, y, 4, size, size * .35)
        fill(ctx, "#ffffff")


def icon_note(ctx):
    for colour, grow in (("#10182c", 1.6), ("#8fe8ff", 0)):
        for x, y in ((10, 24), (22, 21.5)):
            oval(ctx, x, y, 4.6 + grow, 3.5 + grow, -.35)
            fill(ctx, colour)
        for x, y in ((13.6, 23), (25.6, 20.5)):
            ctx.move_to(x, y)
            ctx.line_to(x, y - 14.5)
            stroke(ctx, colour, 2 + 2 * grow)
        ctx.move_to(13.6, 9.5)
        ctx.line_to(25.6, 7)
        stroke(ctx, colour, 4 + 1.8 * grow)
    oval(ctx, 8.8, 23, 1.4, .9, -.35)
    fill(ctx, "#ffffff", .8)


def icon_speaker(ctx):
    ctx.move_to(4, 12.5)
    ctx.line_to(9, 12.5)
    ctx.line_to(16.5, 6)
    ctx.line_to(16.5, 26)
    ctx.line_to(9, 19.5)
    ctx.line_to(4, 19.5)
    ctx.close_path()
    ctx.set_source(linear(4, 6, 16, 26, [(0, "#fff1c4", 1), (1, "#e0a04a", 1)]))
    ctx.fill_preserve()
    stroke(ctx, "#10182c", 1.6)
    for radius in (5, 9, 13):
        ctx.arc(15.5, 16, radius, -.75, .75)
        stroke(ctx, "#10182c", 4, .9)
        ctx.arc(15.5, 16, radius, -.75, .75)
        stroke(ctx, AMBER, 2)


def icon_crown(ctx):
    ctx.move_to(5, 25)
    for x, y in ((3.5, 11), (10, 17), (16, 6.5), (22, 17), (28.5, 11), (27, 25)):
        ctx.line_to(x, y)
    ctx.close_path()
    ctx.set_source(linear(5, 6, 27, 26, [(0, "#fff1b0", 1), (.5, "#ffc23c", 1), (1, "#c87a1e", 1)]))
    ctx.fill_preserve()
    stroke(ctx, "#5a3210", 1.6)
    for x, y, colour in ((3.5, 10, "#ff8fd8"), (16, 5.5, "#8fe8ff"), (28.5, 10, "#ff8fd8")):
        oval(ctx, x, y, 2.2)
        fill(ctx, colour, 1, True)
        stroke(ctx, "#3a2030", .9)
    rounded(ctx, 5, 23, 22, 4.5, 2)
    fill(ctx, "#e89a34", 1, True)
    stroke(ctx, "#5a3210", 1.3)
    for x in (10, 16, 22):
        oval(ctx, x, 25.2, 1.3)
        fill(ctx, MAGENTA if x == 16 else "#fff6d4")


def write_icons():
    surface, ctx = picture(256, 32)
    with cell(ctx, 0, 8, 32, 32):
        heart(ctx, 16, 16.5, 12)
        ctx.set_source(radial(16, 16, 15, [(0, "#ff9d92", 1), (.5, "#f0455c", 1), (1, "#9c1a3e", 1)], 11, 10))
        ctx.fill_preserve()
        stroke(ctx, "#4a0c26", 1.6)
        oval(ctx, 10, 11, 3, 1.9, -.7)
        fill(ctx, "#ffffff", .8)
    with cell(ctx, 1, 8, 32, 32):
        heart(ctx, 16, 16.5, 12)
        fill(ctx, "#0b1626", .75, True)
        stroke(ctx, "#10182c", 3, .9, True)
        stroke(ctx, "#6a7f98", 1.5)
    with cell(ctx, 2, 8, 32, 32):
        draw_sparkle(ctx, 16, 16, 14, 0, ("#2384a8", "#6fdcff", "#d9f8ff"))
    for index, draw in enumerate((icon_lantern, icon_moon, icon_note, icon_speaker, icon_crown), 3):
        with cell(ctx, index, 8, 32, 32):
            draw(ctx)
    save(surface, "ICONS.PNG")


def key(ctx, x, y, turn):
    rounded(ctx, x, y + 3, 30, 30, 6)
    fill(ctx, "#0a1020", .9)
    rounded(ctx, x, y, 30, 30, 6)
    ctx.set_source(linear(0, y, 0, y + 30, [(0, "#e8eef6", 1), (1, "#a9b8cc", 1)]))
    ctx.fill_preserve()
    stroke(ctx, "#22304a", 1.6)
    rounded(ctx, x + 4, y + 3, 22, 21, 4)
    fill(ctx, "#f8fbff", .8)
    with placed(ctx, x + 15, y + 13.5, turn):
        ctx.move_to(0, -7)
        ctx.line_to(7, 1)
        ctx.line_to(2.4, 1)
        ctx.line_to(2.4, 7)
        ctx.line_to(-2.4, 7)
        ctx.line_to(-2.4, 1)
        ctx.line_to(-7, 1)
        ctx.close_path()
        fill(ctx, "#c9781e", 1, True)
        stroke(ctx, "#5a3210", 1.2)


def write_keys():
    surface, ctx = picture(192, 96)
    key(ctx, 38, 10, 0)
    key(ctx, 4, 48, -math.pi / 2)
    key(ctx, 38, 48, math.pi)
    key(ctx, 72, 48, math.pi / 2)
    ctx.move_to(152, 22)
    ctx.curve_to(152, 12, 164, 16, 160, 4)
    stroke(ctx, "#0a1020", 5, .8, True)
    stroke(ctx, "#8fa3b8", 2.4)
    rounded(ctx, 128, 24, 48, 66, 23)
    fill(ctx, "#0a1020", .9)
    rounded(ctx, 128, 20, 48, 66, 23)
    ctx.set_source(linear(128, 20, 176, 86, [(0, "#f2f6fb", 1), (1, "#9db0c6", 1)]))
    ctx.fill_preserve()
    ctx.save()
    ctx.clip()
    ctx.rectangle(128, 20, 24, 27)
    fill(ctx, AMBER, .95)
    ctx.move_to(128, 47)
    ctx.line_to(176, 47)
    stroke(ctx, "#22304a", 1.6)
    ctx.move_to(152, 20)
    ctx.line_to(152, 47)
    stroke(ctx, "#22304a", 1.6)
    ctx.restore()
    rounded(ctx, 128, 20, 48, 66, 23)
    stroke(ctx, "#22304a", 1.8)
    rounded(ctx, 149, 29, 6, 13, 3)
    fill(ctx, "#5a6f8c", 1, True)
    stroke(ctx, "#22304a", 1.2)
    save(surface, "KEYS.PNG")


def write_icon():
    surface, ctx = picture(128, 128)
    rounded(ctx, 4, 4, 120, 120, 28)
    ctx.set_source(linear(0, 4, 0, 124, [(0, "#13294a", 1), (.6, "#10243c", 1), (1, "#0b1a24", 1)]))
    ctx.fill_preserve()
    ctx.save()
    ctx.clip()
    chance = random.Random(4)
    for _ in range(22):
        oval(ctx, chance.uniform(8, 120), chance.uniform(8, 70), chance.uniform(.5, 1.2))
        fill(ctx, "#ffffff", chance.uniform(.4, .9))
    glow(ctx, 60, 66, 62, AMBER_DEEP, .75)
    for x in range(0, 134, 6):
        leaf(ctx, x + chance.uniform(-2, 2), 128, chance.uniform(20, 38), 11, -math.pi / 2 + chance.uniform(-.5, .5))
        fill(ctx, chance.choice(("#1d4a3c", "#24523f", "#2f6a4a")), 1, True)
        stroke(ctx, "#0b2420", 1)
    with placed(ctx, 64, 60, -math.pi / 4, 2.15):
        draw_hero(ctx, 1)
    ctx.restore()
    rounded(ctx, 5, 5, 118, 118, 27)
    stroke(ctx, WOOD_DARK, 7, 1, True)
    stroke(ctx, WOOD_LIGHT, 3.4)
    for x, y, angle in ((16, 112, -.9), (16, 112, .1), (16, 112, -1.9), (112, 16, 2.2), (112, 16, 3.2), (112, 16, 1.2)):
        leaf(ctx, x, y, 22, 13, angle)
        fill(ctx, "#5a9a5e", 1, True)
        stroke(ctx, "#10291f", 1.4)
    save(surface, "ICON.PNG")


def main():
    write_panel()
    write_button()
    write_icons()
    write_keys()
    write_icon()


if __name__ == "__main__":
    main()
