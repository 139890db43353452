"""The base of the whole-program tests: a desktop for the class, a fresh program for the test, tones to play.

The program under test is named by the environment variable LUMAVERDINE.
"""

import array
import math
import os
import shutil
import unittest
import wave

from desktop import RATE, Desktop, Program, end, wait_for


class Scenario(unittest.TestCase):
    Desktop = Desktop  # the kind that the tests of a class need

    @classmethod
    def setUpClass(cls):
        cls.desktop = cls.enterClassContext(cls.Desktop())
        cls.capture = cls.desktop.capture

    def setUp(self):
        shutil.rmtree(self.desktop.music)
        self.desktop.music.mkdir()

    def start(self, **keywords):
        """Starts the program; ends it with the test. Its window is read with self.window."""
        from window import Window  # needs the desktop's environment

        self.start_unread(**keywords)
        self.window = Window(self.program)

    def start_unread(self, **keywords):
        """The same, without a reader of its window."""
        self.program = Program(self.desktop, os.environ["LUMAVERDINE"], **keywords)
        self.addCleanup(self._end_program)

    def start_with(self, *names, **keywords):
        """Starts the program and chooses files of the music folder."""
        self.start(**keywords)
        self.program.pick(*names)
        wait_for(lambda: len(self.window.rows()) == len(names), f"{len(names)} rows")
        self.desktop.wait_for_window("Lumaverdine")

    def tone(self, name, hertz, seconds=10, level=0.5):
        """Puts a stereo sine of a known pitch, in whole hertz, and amplitude into the music folder."""
        kept = self.desktop.folder / f"{hertz}-{seconds}-{level}.wav"
        if not kept.exists():
            second = array.array("h")
            for index in range(RATE):
                value = round(32767 * level * math.sin(2 * math.pi * hertz * index / RATE))
                second.extend((value, value))
            samples = (second * math.ceil(seconds))[: 2 * int(seconds * RATE)]
            with wave.open(str(kept), "wb") as file:
                file.setparams((2, 2, RATE, 0, "NONE", ""))
                file.writeframes(samples.tobytes())
        path = self.desktop.music / name
        path.unlink(missing_ok=True)
        path.hardlink_to(kept)
        return path

    def _end_program(self):
        code = self.program.process.poll()
        end(self.program.process)
        self.assertIn(code, (None, 0), "the program ended by itself")
        self.capture.wait_for_silence()
