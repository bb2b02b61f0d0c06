"""What the checks of the games' files share."""
import os
import struct
import subprocess
import unittest
import wave

PEAKS = (8191, 16384)  # a quarter and a half of full scale


def rerun(art, folder, kinds):
    """Has the folder's make put each kind below `folder`, all at once; tells whether all went well."""
    places = {"ART_" + kind: os.path.join(folder, kind) for kind in kinds}
    parts = [subprocess.Popen([os.path.join(art, "make"), kind.lower()], env={**os.environ, **places})
             for kind in kinds]
    return all([part.wait() == 0 for part in parts])


class SoundsCase(unittest.TestCase):
    def check_sound(self, path):
        """The form, the level and the silent ends that every sound has; answers its samples."""
        with wave.open(path) as file:
            self.assertEqual((file.getnchannels(), file.getsampwidth(), file.getframerate()), (1, 2, 44100), path)
            count = file.getnframes()
            samples = struct.unpack("<%dh" % count, file.readframes(count))
        self.assertTrue(PEAKS[0] <= max(map(abs, samples)) <= PEAKS[1], path)
        self.assertEqual((samples[0], samples[-1]), (0, 0), path)
        return samples
