"""What is heard: play and pause, navigation, repeat, shuffle, volume. Each track is a tone of its own pitch."""

import array
import itertools
import math
import unittest
import wave

from desktop import RATE, amplitude, wait_for
from scenario import Scenario

A, B, C = 440, 660, 990  # hertz of the tracks a, b and c


class Playback(Scenario):
    def start_with_tones(self, names, seconds=10):
        for name, hertz in zip(names, (A, B, C)):
            self.tone(f"{name}.wav", hertz, seconds)
        self.start_with(*(f"{name}.wav" for name in names))
        self.window.wait_for(f"Canción 1 de {len(names)}")

    def album(self, **frames):
        """Cuts a sweep into files of so many frames each; answers all of it as it is heard."""
        turns = lambda index: 200 * index / RATE + 100 * (index / RATE) ** 2
        sweep = [round(16384 * math.sin(2 * math.pi * turns(index))) for index in range(sum(frames.values()))]
        pieces = iter(sweep)
        for name, count in frames.items():
            samples = array.array("h", (value for value in itertools.islice(pieces, count) for _ in range(2)))
            with wave.open(str(self.desktop.music / f"{name}.wav"), "wb") as file:
                file.setparams((2, 2, RATE, 0, "NONE", ""))
                file.writeframes(samples.tobytes())
        return array.array("f", (value / 32768 for value in sweep))

    def position(self):
        return self.window.value("Posición")

    def wait_past(self, seconds):
        wait_for(lambda: self.position() > seconds, f"the position to pass {seconds} s")

    def test_space_plays_and_pauses(self):
        self.start_with_tones("a")
        self.desktop.key("space")
        self.capture.wait_for_pitch(A)
        self.window.wait_for("Pausar")
        self.desktop.key("space")
        self.capture.wait_for_silence()
        self.window.wait_for("Reproducir")
        paused = self.position()
        self.desktop.key("space")
        self.capture.wait_for_pitch(A)
        self.assertGreaterEqual(self.position(), paused)

    def test_control_arrows_change_the_track_and_wrap(self):
        self.start_with_tones("abc")
        for key, hertz in (("Right", B), ("Right", C), ("Right", A), ("Left", C), ("Left", B)):
            self.desktop.key(f"ctrl+{key}")
            self.capture.wait_for_pitch(hertz)
        self.window.wait_for("Canción 2 de 3")

    def test_previous_restarts_a_track_that_is_past_three_seconds(self):
        self.start_with_tones("ab")
        self.desktop.key("ctrl+Right")
        self.wait_past(3.1)
        self.desktop.key("ctrl+Left")
        wait_for(lambda: self.position() < 2, "the track to start again")
        self.capture.wait_for_pitch(B)
        self.assertEqual(self.window.current_row(), 1)
        self.desktop.key("ctrl+Left")
        self.capture.wait_for_pitch(A)
        self.assertEqual(self.window.current_row(), 0)

    def test_after_the_last_track_the_first_one_plays(self):
        self.start_with_tones("ab", seconds=2)
        self.desktop.key("ctrl+Right")
        self.capture.wait_for_pitch(B)
        self.capture.wait_for_pitch(A)
        self.window.wait_for_current_row(0)
        self.window.wait_for("Pausar")

    def test_an_album_in_one_go_sounds_as_one(self):
        recording = self.album(a=50_021, b=50_023, c=240_000)
        joint = 50_021 + 50_023
        self.start_with("a.wav", "b.wav", "c.wav")
        self.window.set_value("Volumen", 100)
        self.window.wait_for("100 %")
        start = self.capture.now()
        self.desktop.key("space")
        self.window.wait_for("Canción 3 de 3")
        change = self.capture.now() - start
        self.assertIn("c", self.window.labels())
        heard = self.capture.frames(start)[0]
        first = next(index for index, value in enumerate(heard) if value) + 1000  # behind the fade
        place = recording.tobytes().find(heard[first : first + 100].tobytes()) // recording.itemsize
        self.assertGreater(change, first - place + joint - RATE / 20)  # of which the capture may be late
        wrong = [index for index, pair in enumerate(zip(heard[first:], recording[place:])) if pair[0] != pair[1]]
        self.assertEqual(wrong[:3], [])

    def test_repeat_plays_the_same_track_again(self):
        self.start_with_tones("ab", seconds=2)
        self.window.press("Repetir canción")
        self.desktop.key("space")
        for _ in range(2):
            self.wait_past(1.4)
            wait_for(lambda: self.position() < 1, "the track to begin again")
            self.capture.wait_for_pitch(A)
        self.assertEqual(self.window.current_row(), 0)

    def test_shuffle_with_two_tracks_alternates(self):
        self.start_with_tones("ab")
        self.window.press("Reproducción aleatoria")
        wait_for(lambda: self.window.is_checked("Reproducción aleatoria"), "shuffle to be on")
        self.desktop.key("space")
        for hertz in (B, A, B, A):
            self.desktop.key("ctrl+Right")
            self.capture.wait_for_pitch(hertz)

    def test_seeking_from_the_seek_bar_is_heard(self):
        self.start_with_tones("ab")
        self.desktop.key("space")
        self.capture.wait_for_pitch(A)
        self.window.set_value("Posición", 9)
        self.capture.wait_for_pitch(B, seconds=8)

    def test_volume_is_a_linear_factor(self):
        self.start_with_tones("a")
        self.desktop.key("space")
        self.capture.wait_for_pitch(A)
        self.assertTrue(self.window.shows("75 %"))
        self.capture.listen(0.2)
        self.assertAlmostEqual(amplitude(self.capture.listen(0.5)) / 0.5, 0.75, delta=0.005)
        self.window.set_value("Volumen", 25)
        self.window.wait_for("25 %")
        self.capture.listen(0.3)
        self.assertAlmostEqual(amplitude(self.capture.listen(0.5)) / 0.5, 0.25, delta=0.005)
        self.window.set_value("Volumen", 0)
        self.capture.wait_for_silence()

    def test_removing_the_current_row_loads_the_first_paused(self):
        self.start_with_tones("abc")
        self.desktop.key("ctrl+Right")
        self.capture.wait_for_pitch(B)
        self.desktop.click(*self.window.middle_of_row(1))
        self.desktop.key("Delete")
        self.window.wait_for("Canción 1 de 2")
        self.capture.wait_for_silence()
        self.assertEqual([row[0] for row in self.window.rows()], ["a", "c"])
        self.window.wait_for("Reproducir")
        self.desktop.key("space")
        self.capture.wait_for_pitch(A)

    def test_clearing_the_list_silences_it(self):
        self.start_with_tones("ab")
        self.desktop.key("space")
        self.capture.wait_for_pitch(A)
        self.window.press("Más opciones")
        wait_for(lambda: self.desktop.visible_windows() == 2, "the menu")
        self.desktop.key("Down", "Return")
        self.window.wait_for("Sin canciones")
        self.capture.wait_for_silence()
        self.assertEqual(self.window.rows(), [])


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
