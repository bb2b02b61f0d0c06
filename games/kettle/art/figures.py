"""KETTLE, the foes, and the things that lie about."""
from pixels import CLEAR, INK, Grid, mix, sheet

COPPER = {"k": INK, "c": "#d9783f", "C": "#f09c5c", "o": "#a84a32", "h": "#5b4a6b", "H": "#8a7899",
          "y": "#ffd36e", "w": "#ffffff", "p": "#ff9e9e", "L": "#6d4a3a", "s": "#ffe0b0"}

BODY = (
    "......kkkkkkkk......",
    ".....kHHHHHHHHk.....",
    ".....kHkkkkkkHk.....",
    ".....khk....khk.....",
    ".....khk....khk..kk.",
    ".....kkkkkkkkkk.kCok",
    "....kcsCCCCCCcck.kok",
    "...kcsCCCCCCCCcokcok",
    "...kcCCwwCCCwwccccok",
    "..kcCCCwkCCCwkccccok",
    "..kcCCCwkCCCwkccock.",
    "..kcCppCCCCCCCpcok..",
    "..kccCCCCkkCCCcck...",
    "..kocccCCCCCCccok...",
    "...koocccccccook....",
    "....kkoooooookk.....",
    "......kkkkkkk.......")
KNOB = ("kyyk", "kyyk", ".kk.")
LEGS = {
    "stand": (".....kLk...kLk......", ".....kLLk..kLLk.....", ".....kkkk..kkkk....."),
    "run1": ("....kLk....kLk......", "...kLLk.....kLLk....", "...kkkk.....kkkk...."),
    "run2": (".....kLk..kLk.......", ".....kLLkkLLk.......", "......kkkkkk........"),
    "run3": ("......kLkkLk........", ".....kLLkLLk........", ".....kkkkkkk........"),
    "air": ("....kLLk..kLLk......", "....kkkk..kkkk......", "...................."),
    "fall": ("...kLk......kLk.....", "..kLk........kLLk...", "..kkk........kkkk...")}


def kettle(legs, bob=0, lid=0, eyes="open"):
    made = Grid(22, 24)
    body = [list(row) for row in BODY]
    if eyes != "open":
        for x in (7, 12):
            for y in (8, 9, 10):
                for u in (0, 1):
                    body[y][x + u] = "C"
            if eyes == "shut":
                body[9][x] = body[9][x + 1] = "k"
            else:  # crossed out
                body[8][x] = body[9][x + 1] = body[10][x] = "k"
    if lid:
        # The lid has sprung open: a dark gap below it.
        body[5] = list(".....kkkkkkkkkk.kCok")
    made.text(1, 21, LEGS[legs], COPPER)
    made.text(1, 4 + bob, ["".join(row) for row in body], COPPER)
    made.text(9, 6 + bob - lid, KNOB, COPPER)
    if lid:
        made.box(6, 9 + bob - lid + 1, 10, 1, INK)
        made.box(7, 9 + bob - lid, 8, 1, "#f09c5c")
    return made


def write_kettle():
    cells = [kettle("stand"), kettle("stand", 1), kettle("stand", 0, 0, "shut"), kettle("stand", 1, 0, "shut"),
             kettle("run1", 0), kettle("run2", 1), kettle("run3", 0), kettle("run2", 1),
             kettle("air", 0, 2), kettle("fall", 0, 1), kettle("air", 1, 4), kettle("fall", 0, 3, "hurt")]
    sheet(cells, 12).save("KETTLE")


SLUG = {"k": INK, "b": "#6fb7d6", "B": "#a9e2ee", "d": "#417aa8", "w": "#ffffff", "p": "#f7b7c8"}
SLUGS = (("......kkkkkk......", "....kkBBBBBBkk....", "...kBBwBBBBBBbk...", "..kBBwBBBBBBBbbk..",
          "..kBBBBBwwBBwwbk..", ".kBBBBBBwkBBwkbbk.", ".kbBBBBBwkBBwkbbk.", ".kbbBBBBBBkkBBbdk.",
          "kbbbbbBBBBBBbbbddk", "kddbbbbbbbbbbbdddk", ".kkkddddddddddkkk.", "....kkkkkkkkkk...."),
         ("..................", ".......kkkkkk.....", "....kkkBBBBBBkk...", "...kBBwBBBBBBBbk..",
          "..kBBwBBwwBBwwbbk.", ".kBBBBBBwkBBwkbbk.", ".kbBBBBBwkBBwkbbk.", "kbbBBBBBBBkkBBbbdk",
          "kbbbbbbBBBBBBbbddk", "kdddbbbbbbbbbddddk", ".kkkkddddddddkkkk.", ".....kkkkkkkk....."),
         ("..................", "..................", "..................", "..................",
          "..................", "..................", "..................", "...kkkkkkkkkkkk...",
          ".kkBBkBkBBkBkBbkk.", "kbbBBBkBBBBkBBbbdk", "kdddddddddddddddkk", ".kkkkkkkkkkkkkkk.."))
BEE = {"k": INK, "y": "#ffd84d", "Y": "#fff0a0", "d": "#5a3a2a", "w": "#ffffff", "a": "#d7f1ff", "r": "#e8705a"}
BEES = (("...kaaak.kaak...", "..kaaaakkaaak...", "...kaaakkaak....", "....kkkkkkkk....", "..kkYddyyddyk...",
         ".kdYYddyyddywkk.", "kkddyddyyddywkyk", ".kddyddyyddyyyyk", "..kkyddyyddyykk.", "....kkkkkkkkk..."),
        ("................", "................", "................", "....kkkkkkkk....", "..kkYddyyddyk...",
         ".kdYaaakyaakwkk.", "kkdkaaaakaaakyyk", ".kdkaaaakaaakyyk", "..kkkkkkkkkkykk.", "....kkkkkkkkk..."),
        ("................", "................", "................", "................", "................",
         "..kkkkkkkkkkk...", ".kdYkdkyykdkykk.", "kkddyddyyddyyyyk", ".kkkkkkkkkkkkkk.", "................"))
FROG = {"k": INK, "g": "#79b85a", "G": "#b4e07a", "d": "#47803f", "w": "#ffffff", "y": "#f3f0b0"}
FROGS = (("..................", "..................", "..................", "..........kkk.....",
          ".........kwwkkkk..", "....kkkkkkwkGGwkk.", "..kkGGGGGGGGGGGGGk", ".kGGgGGgGGGGGGkkkk",
          "kgGGGGGGGGGGyyyyk.", "kgggGGggGGyyyyyk..", "kdgkgggkggggkgk...", ".kkkkkkkkkkkkkkk.."),
         ("..........kkk.....", ".........kwwkkkk..", ".....kkkkkwkGGwkk.", "...kkGGGGGGGGGGGGk",
          "..kGgGGgGGGGGGkkkk", ".kgGGGGGGGGyyyyk..", ".kggGGGggyyyyyk...", "kggkkgggggggkk....",
          "kgk..kdgkkdgk.....", "kgk...kgk.kgk.....", "kk....kk...kk.....", ".................."),
         ("..................", "..................", "..................", "..................",
          "..................", "..................", "..................", ".....kkkkkkkkkkkk.",
          "..kkkGkGGGkGkGGkGk", "kkggGGGGGGGGGyyyyk", "kdddgggggggggggkk.", ".kkkkkkkkkkkkkk..."))


def write_foes():
    for name, frames, colours in (("SLUG", SLUGS, SLUG), ("BEE", BEES, BEE), ("FROG", FROGS, FROG)):
        cells = []
        for rows in frames:
            cell = Grid(max(len(row) for row in frames[0]), len(frames[0]))
            cell.text(0, 0, rows, colours)
            cells.append(cell)
        sheet(cells, len(cells)).save(name)


SUGAR = ("...kkkkk...", "..kwwwwwk..", ".kwwwwwwkk.", "kwwwwwwkgk.", "kkkkkkkkggk", "kvvvvvvkggk", "kvsvvvvkggk",
         "kvvvvsvkgk.", "kvvvvvvkk..", ".kkkkkkk...")
LEAF = ("..........kk....", "........kkGk....", "......kkGGgk....", ".....kGGYggk....", "....kGGYGggk....",
        "...kGGYGGgdk....", "...kGYGGggdk....", "...kYGGGgdk.....", "...kYGGgdk......", "..kYkgddk.......",
        ".kyk.kkk........", "kyk.............", "kk..............")


def write_things():
    cells = []
    for k in range(4):
        cell = Grid(12, 12)
        shine = ["#e3ecf5", "#ffffff", "#ffffff", "#f2f6fa"][k]
        cell.text(0, 1 if k < 2 else 0, SUGAR,
                  {"k": INK, "w": "#ffffff", "v": shine, "g": "#a9bcd0", "s": "#cfdae6"})
        cells.append(cell)
    sheet(cells, 4).save("SUGAR")
    cells = []
    for k in range(4):
        cell = Grid(16, 16)
        glow = mix("#ffd36e", "#ffffff", (0, .35, .8, .35)[k])
        cell.text(1, (1, 1, 0, 0)[k], LEAF, {"k": INK, "G": "#ffc94d", "g": "#e89a33", "d": "#b86a2a",
                                             "Y": glow, "y": "#8a5a2a"})
        cells.append(cell)
    sheet(cells, 4).save("LEAF")
    # A little stove: cold, then two of its fire.
    cells = []
    for k in range(3):
        cell = Grid(18, 26)
        cell.box(7, 0, 4, 9, "#6b6478")
        cell.box(7, 0, 1, 9, "#8d869c")
        cell.box(5, 0, 8, 2, "#4d465c")
        cell.box(2, 9, 14, 14, "#575066")
        cell.box(2, 9, 2, 14, "#7a7289")
        cell.box(1, 8, 16, 2, "#7a7289")
        cell.box(5, 12, 8, 7, "#1c1424" if k == 0 else "#8a2f2a")
        if k:
            for x in range(5, 13):
                tall = (3, 5, 4, 6, 5, 3, 5, 2)[(x - 5 + 3 * k) % 8]
                for y in range(19 - tall, 19):
                    cell.set(x, y, "#ffd36e" if y > 20 - tall else "#f2803a")
        for x in range(5, 13, 2):
            cell.box(x, 12, 1, 7, "#3d3549")
        cell.box(3, 23, 3, 2, "#3d3549")
        cell.box(12, 23, 3, 2, "#3d3549")
        cells.append(cell.outlined())
    sheet(cells, 3).save("STOVE")
    # The friend's cup on a table: empty, and full of tea.
    cells = []
    for full in (False, True):
        cell = Grid(36, 32)
        cell.box(3, 22, 30, 3, "#a8704a")
        cell.box(3, 22, 30, 1, "#d09a68")
        for x in (6, 27):
            cell.box(x, 25, 3, 6, "#7d4f38")
        cell.box(6, 20, 24, 2, "#e8ecf4")
        cell.box(9, 21, 18, 1, "#b9c3d6")
        for y in range(8, 20):
            inset = max(0, y - 14)
            cell.box(9 + inset, y, 17 - 2 * inset, 1, "#f4f7fb" if y < 17 else "#cfd8e8")
        cell.box(9, 11, 17, 2, "#e8705a")
        cell.box(22, 8, 2, 9, "#cfd8e8")
        for x, y in ((26, 10), (27, 10), (28, 11), (28, 12), (28, 13), (27, 14), (26, 15), (25, 15)):
            cell.set(x, y, "#f4f7fb")
        cell.box(10, 8, 15, 1, "#b5622e" if full else "#9aa6bd")
        cells.append(cell.outlined())
    sheet(cells, 2).save("CUP")
    # Rafts: a saucer that flies.
    cell = Grid(36, 12)
    for y, inset, colour in ((1, 0, "#f4f7fb"), (2, 0, "#7fb2d9"), (3, 1, "#e3e9f2"), (4, 2, "#cfd8e8"), (5, 4, "#b9c3d6"),
                             (6, 7, "#a3aec4"), (7, 11, "#8f9ab2")):
        cell.box(1 + inset, y, 34 - 2 * inset, 1, colour)
    for x in range(4, 34, 6):
        cell.box(x, 3, 2, 1, "#7fb2d9")
    cell.outlined().save("SAUCER")
    # A cushion that throws up: at rest, and pressed.
    cells = []
    for pressed in (False, True):
        cell = Grid(20, 14)
        top = 7 if pressed else 3
        for y in range(top, 12):
            inset = 2 if y in (top, 11) else 1
            cell.box(1 + inset, y, 18 - 2 * inset, 1, "#e86a8a" if y < 9 else "#b8476c")
        cell.box(5, top + 1, 7, 1, "#ffb0c0")
        cell.box(9, top + 2, 2, 1, "#ffd36e")
        cell.box(2, 12, 16, 1, "#7d2f52")
        cells.append(cell.outlined())
    sheet(cells, 2).save("CUSHION")


HEART = (".kk.kk.", "krrkrrk", "krwrrrk", "krrrrdk", ".krrdk.", "..kdk..", "...k...")


def write_marks():
    cells = []
    for colours in ({"k": INK, "r": "#f25f5c", "w": "#ffd0c8", "d": "#b8384a"},
                    {"k": INK, "r": "#4a4058", "w": "#5d526c", "d": "#3a3146"}):
        cell = Grid(8, 8)
        cell.text(0, 0, HEART, colours)
        cells.append(cell)
    sheet(cells, 2).save("HEARTS")
    # A leaf that was not found, for lists.
    grey = Grid(16, 16)
    grey.text(1, 1, LEAF, {"k": INK, "G": "#4a4058", "g": "#443a52", "d": "#3a3146", "Y": "#5d526c", "y": "#3a3146"})
    grey.save("NOLEAF")
    icon = Grid(24, 24)
    icon.paste(kettle("stand"), 1, 0)
    back = Grid(32, 32, "#7fc8e8")
    back.box(0, 24, 32, 8, "#6fb35a")
    back.box(0, 24, 32, 1, "#a9dd7a")
    back.disc(25, 7, 4, "#fff0b0")
    back.paste(icon, 4, 2)
    for x, y in ((0, 0), (1, 0), (0, 1), (31, 0), (30, 0), (31, 1), (0, 31), (0, 30), (1, 31), (31, 31), (31, 30), (30, 31)):
        back.set(x, y, CLEAR)
    back.enlarged(4).save("ICON")


if __name__ == "__main__":
    write_kettle()
    write_foes()
    write_things()
    write_marks()
