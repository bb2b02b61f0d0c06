"""What the game relies on in its files, and that a rerun makes them again, byte for byte."""
import filecmp
import os
import struct
import tempfile
import unittest

import checks

HERE = os.path.dirname(os.path.abspath(__file__))
RESOURCES = os.path.join(HERE, "..", "resources")

SIZES = {
    "FONT": (114, 45), "KETTLE": (264, 24), "SLUG": (54, 12), "BEE": (48, 10), "FROG": (54, 12), "SUGAR": (48, 12),
    "LEAF": (64, 16), "NOLEAF": (16, 16), "STOVE": (54, 26), "CUP": (72, 32), "SAUCER": (36, 12), "CUSHION": (40, 14),
    "HEARTS": (16, 8), "LOGO": None, "ICON": (128, 128)}
SIZES.update({"TILES%d" % k: (128, 64) for k in range(1, 5)})
SIZES.update({"%s%d" % (name, k): (320, 180) for name in ("SKY", "FAR", "MID", "NEAR") for k in range(1, 5)})
MUSIC = ("TITLE", "MEADOW", "WOODS", "FROST", "SUMMIT", "END")
SOUNDS = ("JUMP", "PUFF", "BOUNCE", "STOMP", "SUGAR", "LEAF", "HEART", "STOVE", "CUP", "HURT", "SPILL", "MOVE", "PICK")


def names(kind):
    return sorted(os.listdir(os.path.join(RESOURCES, kind)))


class Files(checks.SoundsCase):
    def test_every_picture_is_there_in_its_size_and_no_other(self):
        self.assertEqual(names("PICTURES"), sorted(name + ".PNG" for name in SIZES))
        for name, size in SIZES.items():
            with open(os.path.join(RESOURCES, "PICTURES", name + ".PNG"), "rb") as file:
                header = file.read(26)
            if size:
                self.assertEqual(struct.unpack(">II", header[16:24]), size, name)
            self.assertEqual(header[24:26], b"\x08\x06", name)

    def test_all_music_and_sounds_are_there(self):
        self.assertEqual(names("MUSIC"), sorted(name + ".MID" for name in MUSIC))
        self.assertEqual(names("SOUNDS"), sorted(name + ".WAV" for name in SOUNDS))

    def test_sounds_have_their_form_their_level_and_silent_ends(self):
        for name in SOUNDS:
            self.check_sound(os.path.join(RESOURCES, "SOUNDS", name + ".WAV"))

    def test_levels_have_one_start_one_cup_and_three_leaves(self):
        for name in ("1.TXT", "2.TXT", "3.TXT", "4.TXT"):
            with open(os.path.join(RESOURCES, "LEVELS", name)) as file:
                text = file.read()
            self.assertEqual([text.count(letter) for letter in "@G*"], [1, 1, 3], name)
            self.assertLessEqual(set(text), set(" #=^o*@CGsbfHVSi\n"), name)


class Rerun(unittest.TestCase):
    def test_a_rerun_gives_the_same_files(self):
        with tempfile.TemporaryDirectory() as folder:
            kinds = ("PICTURES", "MUSIC", "SOUNDS", "LEVELS")
            self.assertTrue(checks.rerun(HERE, folder, kinds))
            for kind in kinds:
                old, new = os.path.join(RESOURCES, kind), os.path.join(folder, kind)
                same, different, failed = filecmp.cmpfiles(old, new, os.listdir(old), shallow=False)
                self.assertEqual((different, failed), ([], []), kind)


if __name__ == "__main__":
    unittest.main()
