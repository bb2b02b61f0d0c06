"""FONT: the characters from the space to ~, and LOGO, the game's name made of them."""
from pixels import CLEAR, INK, Grid, mix, sheet

# Columns from the left, a bit a pixel, the lowest bit on top; bit 7 is below the line.
COLUMNS = (
    "00,5f,03 00 03,14 7f 14 7f 14,24 2a 7f 2a 12,23 13 08 64 62,36 49 55 22 50,03,1c 22 41,41 22 1c,"
    "14 08 3e 08 14,08 08 3e 08 08,80 60,08 08 08 08,60 60,60 1c 03,3e 51 49 45 3e,42 7f 40,"
    "62 51 49 49 46,22 41 49 49 36,18 14 12 7f 10,27 45 45 45 39,3c 4a 49 49 30,01 71 09 05 03,"
    "36 49 49 49 36,06 49 49 29 1e,36 36,80 6c,08 14 22 41,14 14 14 14,41 22 14 08,02 01 51 09 06,"
    "3e 41 5d 55 1e,7e 11 11 11 7e,7f 49 49 49 36,3e 41 41 41 22,7f 41 41 22 1c,7f 49 49 49 41,"
    "7f 09 09 09 01,3e 41 49 49 7a,7f 08 08 08 7f,41 7f 41,20 40 40 3f,7f 08 14 22 41,7f 40 40 40,"
    "7f 02 0c 02 7f,7f 04 08 10 7f,3e 41 41 41 3e,7f 09 09 09 06,3e 41 51 21 5e,7f 09 19 29 46,"
    "46 49 49 49 31,01 01 7f 01 01,3f 40 40 40 3f,1f 20 40 20 1f,3f 40 38 40 3f,63 14 08 14 63,"
    "07 08 70 08 07,61 51 49 45 43,7f 41,03 1c 60,41 7f,02 01 02,40 40 40 40,01 02,20 54 54 78,"
    "7f 44 44 38,38 44 44 28,38 44 44 7f,38 54 54 58,08 7e 09,18 a4 a4 7c,7f 04 04 78,7d,80 7d,"
    "7f 10 28 44,3f 40,7c 04 78 04 78,7c 04 04 78,38 44 44 38,fc 24 24 18,18 24 24 fc,7c 08 04,"
    "48 54 54 24,04 3f 44,3c 40 40 7c,1c 20 40 20 1c,3c 40 30 40 3c,6c 10 10 6c,1c a0 a0 7c,64 54 4c,"
    "08 36 41,7f,41 36 08,08 04 08 04").split(",")


def letter(character):
    columns = [int(column, 16) for column in COLUMNS[ord(character) - 32].split()]
    made = Grid(len(columns), 8)
    for x, column in enumerate(columns):
        for y in range(8):
            if column >> y & 1:
                made.set(x, y, "#ffffff")
    return made


def write_font():
    cells = []
    for code in range(32, 127):
        cell = Grid(6, 9)
        cell.paste(letter(chr(code)), 0, 0)
        cells.append(cell)
    sheet(cells, 19).save("FONT")


def line(text, factor, light, dark):
    """Thick letters with a light that falls from above."""
    drawn = [letter(character) for character in text]
    flat = Grid(sum(part.width + 1 for part in drawn), 8)
    x = 0
    for part in drawn:
        flat.paste(part, x, 0)
        x += part.width + 1
    large = flat.enlarged(factor)
    made = Grid(large.width + 8, large.height + 10)
    thick = [(x, y) for y in range(large.height) for x in range(large.width) if large.rows[y][x] is not CLEAR]
    for x, y in thick:
        for u in range(2):
            made.set(x + u + 3, y + 3, mix(light, dark, min(1, y / (7 * factor))))
    for x, y in thick:
        if large.at(x, y - 1) is CLEAR:
            made.set(x + 3, y + 3, "#fff6dc")
            made.set(x + 4, y + 3, "#fff6dc")
    return made


def shadowed(grid):
    made = Grid(grid.width, grid.height)
    solid = grid.outlined().outlined()
    for y in range(grid.height):
        for x in range(grid.width):
            if solid.rows[y][x] is not CLEAR:
                made.set(x, y + 2, INK)
    made.paste(solid, 0, 0)
    return made


def write_logo():
    first = shadowed(line("Little", 3, "#ffe9a8", "#f2a65a"))
    second = shadowed(line("Kettle", 5, "#ffc27a", "#c8553d"))
    made = Grid(second.width, first.height + second.height - 8)
    made.paste(first, (second.width - first.width) // 2 - 34, 0)
    made.paste(second, 0, first.height - 8)
    made.save("LOGO")


if __name__ == "__main__":
    write_font()
    write_logo()
