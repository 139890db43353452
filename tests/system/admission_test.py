"""Files chosen in the picker: their order, what the window says of them, and that nothing sounds by itself."""

import unittest

from desktop import PICKER_TITLE, peak, wait_for
from scenario import Scenario


class Admission(Scenario):
    def test_an_empty_window_invites_to_choose_music(self):
        self.start()
        for text in ("Sin reproducción", "Añade música para comenzar", "La playlist está vacía", "Sin canciones"):
            self.assertIn(text, self.window.labels())

    def test_files_come_in_natural_order_with_placeholders_and_silence(self):
        for name in ("Pista 10.wav", "pista 2.wav", "zeta.b.wav"):
            self.tone(name, 440, seconds=1)
        start = self.capture.now()
        self.start_with("Pista 10.wav", "zeta.b.wav", "pista 2.wav")
        titles = [row.split(", ")[0] for row in self.window.rows()]
        self.assertEqual(titles, ["pista 2", "Pista 10", "zeta.b"])
        self.assertEqual(self.window.current_row(), 0)
        for text in ("pista 2", "Artista desconocido", "Álbum desconocido", "Canción 1 de 3", "3 canciones", "0:01"):
            self.assertIn(text, self.window.labels())
        self.capture.listen(0.5)
        self.assertEqual(peak(self.capture.frames(start)[0]), 0)
        self.assertTrue(self.window.shows("Reproducir"))
        self.assertEqual(self.program.lines(), [])

    def test_a_second_choice_is_appended_without_duplicates(self):
        for name in ("a.wav", "b.wav", "c.wav"):
            self.tone(name, 440, seconds=1)
        self.start_with("b.wav")
        self.window.wait_for("Canción 1 de 1")
        self.program.pick("a.wav", "b.wav", "c.wav")
        self.window.wait_for("Canción 1 de 3")
        self.assertEqual([row.split(", ")[0] for row in self.window.rows()], ["b", "a", "c"])

    def test_cancelling_leaves_everything_as_it_was(self):
        self.start()
        self.desktop.key("ctrl+o")
        self.desktop.wait_for_window(PICKER_TITLE)
        self.desktop.key("Escape")
        self.desktop.wait_for_window("Lumaverdine")
        self.assertEqual(self.window.rows(), [])
        self.window.wait_for("Sin canciones")

    def test_the_window_plays_on_behind_the_open_picker(self):
        self.tone("a.wav", 440)
        self.start_with("a.wav")
        self.desktop.key("space")
        self.capture.wait_for_pitch(440)
        self.desktop.key("ctrl+o")
        self.desktop.wait_for_window(PICKER_TITLE)
        before = self.window.value("Posición")
        wait_for(lambda: self.window.value("Posición") > before + 0.4, "the seek bar to go on")
        self.capture.wait_for_pitch(440)

    def test_a_location_on_another_machine_is_reported(self):
        self.start()
        self.program.pick("smb://servidor/a.mp3")
        self.window.wait_for("No se pudieron importar los archivos")
        self.window.wait_for("«smb://servidor/a.mp3» no es un archivo de este equipo.")
        self.desktop.key("Escape")
        wait_for(lambda: not self.window.shows("Aceptar"), "the alert to close")
        self.desktop.wait_for_window("Lumaverdine")
        self.assertEqual(self.window.rows(), [])


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
