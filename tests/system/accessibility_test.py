"""What assistive technology meets on the bus: names, roles, states, values, actions and announcements."""

import unittest

from desktop import wait_for
from scenario import Scenario

# What has no name of its own: it only holds others, or is decoration.
CONTAINERS = {"filler", "separator"}

# The names that controls may have, all of them Spanish; those with the title of a track aside.
CONTROLS = {
    "Lumaverdine", "Portada", "Reproducción aleatoria", "Canción anterior", "Reproducir", "Pausar", "Canción siguiente",
    "Repetir canción", "Posición", "Añadir archivos de audio", "Más opciones", "Eliminar todas las canciones", "Volumen",
    "Playlist", "Seleccionar música…", "Menú", "Archivo", "Añadir música…", "Salir", "Reproducción",
    "Eliminar de la playlist", "Cerrar", "Minimizar", "Ampliar", "Maximizar", "Restaurar",
}
CONTROL_ROLES = {
    "button", "check box", "toggle button", "slider", "menu item", "menu bar", "popup menu", "list", "image", "frame",
}


class Accessibility(Scenario):
    def start_with_tones(self, names="ab", seconds=185):
        for name, hertz in zip(names, (440, 660, 990)):
            self.tone(f"{name}.wav", hertz, seconds)
        self.start_with(*(f"{name}.wav" for name in names))
        self.window.wait_for(f"Canción 1 de {len(names)}")

    def check_tree(self):
        """Every object has a name, and that of a control is one of ours."""
        for node in self.window.nodes():
            role, name = self.window.role_of(node), node.get_name()
            is_hidden_text = role == "label" and "showing" not in self.window.states_of(node)
            if role in CONTAINERS or role == "application" or is_hidden_text:
                continue
            self.assertTrue(name, f"a {role} without a name")
            if role in CONTROL_ROLES and not name.startswith("Más opciones de "):
                self.assertIn(name, CONTROLS, role)

    def test_everything_is_named_while_the_list_is_empty(self):
        self.start()
        self.check_tree()
        transport = ("Reproducir", "Canción anterior", "Canción siguiente", "Reproducción aleatoria", "Repetir canción")
        for name in (*transport, "Posición"):
            self.assertNotIn("enabled", self.window.states(name), name)
        for name in ("Añadir archivos de audio", "Seleccionar música…", "Volumen", "Más opciones"):
            self.assertIn("enabled", self.window.states(name), name)

    def test_everything_is_named_while_a_track_is_ready_and_plays(self):
        self.start_with_tones()
        self.check_tree()
        row = self.window.row_node(0)
        self.assertEqual(row.get_name(), "a, Artista desconocido, 3:05, actual, en pausa")
        self.assertIn("active", self.window.states_of(row))
        self.assertNotIn("animated", self.window.states_of(row))
        self.window.press("Reproducir")
        self.window.wait_for("Pausar")
        self.check_tree()
        self.assertEqual(row.get_name(), "a, Artista desconocido, 3:05, actual, reproduciendo")
        self.assertIn("animated", self.window.states_of(row))
        self.assertNotIn("active", self.window.states_of(self.window.row_node(1)))

    def test_roles_are_those_of_what_is_drawn(self):
        self.start_with_tones()
        roles = {node.get_name(): self.window.role_of(node) for node in self.window.nodes()}
        for name, role in (("Posición", "slider"), ("Volumen", "slider"), ("Portada", "image"), ("Playlist", "list"),
                           ("Más opciones de b", "button"), ("b, Artista desconocido, 3:05", "list item"),
                           ("Repetir canción", "check box"), ("Canción 1 de 2", "label")):
            self.assertEqual(roles[name], role, name)
        self.assertIn("Lumaverdine", self.window.names("frame"))

    def test_shuffle_and_repeat_are_checked(self):
        self.start_with_tones()
        for name in ("Reproducción aleatoria", "Repetir canción"):
            self.assertFalse(self.window.is_checked(name))
            self.window.press(name)
            wait_for(lambda: self.window.is_checked(name), f"“{name}” to be checked")

    def test_the_position_is_read_in_words_too(self):
        self.start_with_tones()
        self.window.set_value("Posición", 80)
        said = lambda: self.window.words("Posición") == "1 minuto 20 segundos de 3 minutos 5 segundos"
        wait_for(said, "the position in words")
        self.assertEqual(self.window.value("Posición"), 80)

    def test_the_volume_is_read_in_hundredths(self):
        self.start_with_tones()
        self.assertEqual(self.window.value("Volumen"), 75)
        self.assertEqual(self.window.description("Volumen"), "")
        self.window.set_value("Volumen", 50)
        self.window.wait_for("50 %")

    def test_rows_are_played_and_removed_from_outside(self):
        self.start_with_tones("abc")
        self.window.row_node(1).do_action(0)
        self.window.wait_for_current_row(1)
        self.window.wait_for("Pausar")
        self.window.press("Más opciones de b")
        self.window.wait_for("Eliminar de la playlist")
        self.check_tree()
        self.window.choose("Eliminar de la playlist")
        self.window.wait_for("Canción 1 de 2")
        self.assertEqual([name[0] for name in self.window.rows()], ["a", "c"])

    def test_the_list_is_cleared_from_outside(self):
        self.start_with_tones()
        self.window.press("Más opciones")
        self.window.wait_for("Eliminar todas las canciones")
        self.window.choose("Eliminar todas las canciones")
        self.window.wait_for("Seleccionar música…")
        self.check_tree()

    def test_moving_through_the_list_moves_the_focus_of_readers(self):
        self.start_with_tones("abc")
        with self.window.listen("object:state-changed:focused") as heard:
            self.window.node("Volumen").get_component_iface().grab_focus()
            wait_for(lambda: ("Volumen", 1) in heard, "the volume's focus")
            self.desktop.key("Tab")
            wait_for(lambda: list(heard)[-1][0].startswith("a, "), "the row that the list is at")
            self.window.row_node(0).get_component_iface().grab_focus()
            wait_for(lambda: ("a, Artista desconocido, 3:05, actual, en pausa", 1) in heard, "the first row's focus")
            self.desktop.key("Down")
            wait_for(lambda: ("b, Artista desconocido, 3:05", 1) in heard, "the second row's focus")
        self.assertIn("focused", self.window.states_of(self.window.row_node(1)))
        self.assertIn("selected", self.window.states_of(self.window.row_node(1)))
        self.assertNotIn("focused", self.window.states_of(self.window.row_node(0)))

    def test_the_keyboard_menu_of_a_row_takes_space_as_a_choice(self):
        self.start_with_tones("ab")
        self.window.row_node(1).get_component_iface().grab_focus()
        wait_for(lambda: "focused" in self.window.states_of(self.window.row_node(1)), "the row's focus")
        self.desktop.key("shift+F10")
        wait_for(lambda: self.desktop.visible_windows() == 2, "the menu")
        self.desktop.key("Escape")
        wait_for(lambda: self.desktop.visible_windows() == 1, "the menu to close")
        self.desktop.key("Menu")
        wait_for(lambda: self.desktop.visible_windows() == 2, "the menu")
        self.desktop.key("space")
        self.window.wait_for_current_row(1)
        self.window.wait_for("Pausar")

    def test_space_in_the_list_toggles_playback_only(self):
        self.start_with_tones("ab")
        self.window.row_node(1).get_component_iface().grab_focus()
        wait_for(lambda: "focused" in self.window.states_of(self.window.row_node(1)), "the row's focus")
        self.desktop.key("space")
        self.window.wait_for("Pausar")
        self.assertEqual(self.window.current_row(), 0)

    def test_a_change_of_track_is_announced(self):
        self.start_with_tones("ab")
        events = ("object:state-changed:showing", "object:announcement")
        with self.window.listen(*events) as heard:
            self.desktop.key("ctrl+Right")
            wait_for(lambda: any(name == "b, Artista desconocido" for name, _ in heard), "the announcement")

    def test_playing_does_not_flood_the_bus(self):
        self.start_with_tones("a")
        self.window.press("Reproducir")
        self.window.wait_for("Pausar")
        with self.window.listen("object:property-change", "object:value-changed") as heard:
            started = self.window.value("Posición")
            wait_for(lambda: self.window.value("Posición") > started + 5, "five seconds of playing")
            told = sum(name == "Posición" for name, _ in heard)
        self.assertGreater(told, 2)  # what readers keep of it stays right
        self.assertLessEqual(told, 2 * 7)
        self.window.node("Posición").get_component_iface().grab_focus()
        wait_for(lambda: "focused" in self.window.states("Posición"), "the bar's focus")
        with self.window.listen("object:property-change", "object:value-changed") as heard:
            started = self.window.value("Posición")
            wait_for(lambda: self.window.value("Posición") > started + 2, "two seconds of playing")
            self.assertFalse([name for name, _ in heard if name == "Posición"])
            self.desktop.key("Right")
            wait_for(lambda: any(name == "Posición" for name, _ in heard), "the step to be told")

    def test_a_slider_tells_what_moved_under_the_keyboard_when_it_has_left(self):
        self.start_with_tones("a")
        self.window.press("Reproducir")
        self.window.wait_for("Pausar")
        self.window.node("Posición").get_component_iface().grab_focus()
        wait_for(lambda: "focused" in self.window.states("Posición"), "the bar's focus")
        started = self.window.value("Posición")
        wait_for(lambda: self.window.value("Posición") > started + 1, "a second of playing")
        self.desktop.key("space")
        self.window.wait_for("Reproducir")
        with self.window.listen("object:property-change") as heard:
            self.window.node("Volumen").get_component_iface().grab_focus()
            wait_for(lambda: "focused" in self.window.states("Volumen"), "the volume's focus")
            wait_for(lambda: any(name == "Posición" for name, _ in heard), "the position to be told")
            self.assertFalse([name for name, _ in heard if name == "Volumen"])


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
