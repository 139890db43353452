"""The program ends at once and leaves nothing behind, whatever it does and whatever the sound server does."""

import os
import signal
import unittest

from desktop import wait_for
from scenario import Scenario

AT_MOST = 2  # seconds from the key to the end of the process


class Ending(Scenario):
    def setUp(self):
        super().setUp()
        for name, hertz in (("a.wav", 440), ("b.wav", 660)):
            self.tone(name, hertz)

    def quit(self):
        self.assertLess(self.program.quit(), AT_MOST)
        self.assertEqual(self.program.process.returncode, 0)

    def test_while_playing(self):
        self.start_with("a.wav", "b.wav")
        self.desktop.key("space")
        self.capture.wait_for_pitch(440)
        self.quit()

    def test_with_the_picker_open(self):
        self.start_with("a.wav")
        self.desktop.key("ctrl+o")
        wait_for(lambda: self.desktop.visible_windows() == 2, "the picker")
        self.desktop.close_window("Lumaverdine")
        self.program.process.wait(AT_MOST)
        self.assertEqual(self.program.process.returncode, 0)

    def test_with_a_sound_server_that_hangs(self):
        self.start_with("a.wav", "b.wav")
        self.desktop.key("space")
        self.capture.wait_for_pitch(440)
        server = self.desktop.sound_server
        server.send_signal(signal.SIGSTOP)
        self.addCleanup(server.send_signal, signal.SIGCONT)
        self.desktop.key("ctrl+Right")
        self.window.wait_for_current_row(1)
        self.quit()
        server.send_signal(signal.SIGCONT)

    def test_without_a_sound_server(self):
        self.start_with("a.wav", "b.wav", environment={"PULSE_SERVER": "unix:/nonexistent"})
        self.desktop.key("space")
        self.desktop.key("ctrl+Right")
        self.window.wait_for_current_row(1)
        self.quit()

    def test_five_hundred_loads_leave_no_thread_and_no_descriptor(self):
        self.start_with("a.wav", "b.wav")
        self.change_track(20)
        self.desktop.key("space")
        self.capture.wait_for_silence()
        threads, descriptors = self.threads(), self.descriptors()
        self.desktop.key("space")
        self.change_track(500)
        self.desktop.key("space")
        self.capture.wait_for_silence()
        settled = lambda: self.threads() <= threads and self.descriptors() <= descriptors
        wait_for(settled, f"at most {threads} threads and {descriptors} descriptors")

    def change_track(self, times):
        """Goes to the next track an even number of times; waits until the program has followed."""
        self.desktop.key(*["ctrl+Right"] * (times + 1))
        self.capture.wait_for_pitch(660, seconds=60)
        self.desktop.key("ctrl+Left")
        self.capture.wait_for_pitch(440)

    def threads(self):
        return len(os.listdir(f"/proc/{self.program.process.pid}/task"))

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.program.process.pid}/fd"))


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
