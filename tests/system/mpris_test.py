"""The player as the desktop's shell and media keys see it: asked over the bus, driven by playerctl, heard."""

import os
import pathlib
import shutil
import signal
import subprocess
import unittest
import xml.etree.ElementTree
from urllib.parse import unquote, urlparse

from gi.repository import Gio, GLib

from desktop import Program, end, first_line, wait_for
from scenario import Scenario

MEDIA = pathlib.Path(__file__).parent.parent / "media"
NAME = "org.mpris.MediaPlayer2.lumaverdine"
ROOT = "org.mpris.MediaPlayer2"
PLAYER = "org.mpris.MediaPlayer2.Player"
A, B = 440, 660  # hertz


class Shell:
    """A desktop's shell on the bus of an address. Notes what players tell in `told`."""

    def __init__(self, address):
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self._bus = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
        self._bus.set_exit_on_close(False)
        self._told = []
        note = lambda _bus, _sender, _path, _interface, signal, values: self._told.append((signal, *values.unpack()))
        for interface in (PLAYER, "org.freedesktop.DBus.Properties"):
            self._bus.signal_subscribe(None, interface, None, "/org/mpris/MediaPlayer2", None, 0, note)

    def told(self):
        while GLib.MainContext.default().iteration(False):
            pass
        return self._told

    def ask(self, interface, method, arguments=None, name=NAME, path="/org/mpris/MediaPlayer2"):
        return self._bus.call_sync(name, path, interface, method, arguments, None, 0, 5000, None)

    def all(self, interface, name=NAME):
        arguments = GLib.Variant("(s)", (interface,))
        return self.ask("org.freedesktop.DBus.Properties", "GetAll", arguments, name).get_child_value(0)

    def get(self, property, name=NAME):
        return self.all(PLAYER, name).unpack()[property]

    def sees(self, name=NAME):
        arguments = GLib.Variant("(s)", (name,))
        bus = "org.freedesktop.DBus"
        return self.ask(bus, "NameHasOwner", arguments, bus, "/org/freedesktop/DBus").unpack()[0]

    def wait_for_player(self, name=NAME):
        wait_for(lambda: self.sees(name), name)


def playerctl(*arguments):
    return subprocess.run(
        ["playerctl", *map(str, arguments)], check=True, capture_output=True, text=True).stdout.strip()


class MediaKeys(Scenario):
    def setUp(self):
        super().setUp()
        self.tone("a.wav", A)
        self.tone("b.wav", B)
        self.shell = Shell(os.environ["DBUS_SESSION_BUS_ADDRESS"])

    def start_playing(self, *names):
        self.start_with(*names)
        self.shell.wait_for_player()

    def test_the_interface_is_what_it_says_it_is(self):
        self.start_playing("a.wav")
        described = self.shell.ask("org.freedesktop.DBus.Introspectable", "Introspect").unpack()[0]
        node = xml.etree.ElementTree.fromstring(described)
        names = {interface.get("name") for interface in node.findall("interface")}
        standard = {f"org.freedesktop.DBus.{name}" for name in ("Introspectable", "Peer", "Properties")}
        self.assertEqual(names, {ROOT, PLAYER} | standard)
        for name in (ROOT, PLAYER):
            values = self.shell.all(name)
            types = {key: values.lookup_value(key).get_type_string() for key in values.keys()}
            properties = node.findall(f"interface[@name='{name}']/property")
            self.assertEqual({each.get("name"): each.get("type") for each in properties}, types)
        self.assertEqual(self.shell.all(ROOT).unpack()["Identity"], "Lumaverdine")

    def test_whoever_sees_the_name_gets_an_answer(self):
        self.start_unread()
        wait_for(self.shell.sees, NAME)
        self.assertEqual(self.shell.get("PlaybackStatus"), "Stopped")

    def test_playerctl_drives_what_is_heard(self):
        self.start_playing("a.wav", "b.wav")
        playerctl("play")
        self.capture.wait_for_pitch(A)
        self.assertEqual(playerctl("status"), "Playing")
        self.assertEqual(playerctl("metadata", "xesam:title"), "a")
        self.assertEqual(playerctl("metadata", "mpris:length"), "10000000")
        playerctl("play-pause")
        self.capture.wait_for_silence()
        playerctl("next")
        self.capture.wait_for_pitch(B)
        self.window.wait_for_current_row(1)
        playerctl("position", 8)
        wait_for(lambda: float(playerctl("position")) > 8, "the position to go on")
        playerctl("previous")
        self.assertLess(float(playerctl("position")), 3)
        self.assertEqual(playerctl("metadata", "xesam:title"), "b")
        playerctl("volume", 0.25)
        self.window.wait_for("25 %")
        playerctl("shuffle", "On")
        playerctl("loop", "Track")
        for name in ("Reproducción aleatoria", "Repetir canción"):
            wait_for(lambda: self.window.is_checked(name), name)
        playerctl("stop")
        self.capture.wait_for_silence()
        self.assertEqual(playerctl("status"), "Stopped")

    def test_what_the_window_does_is_told(self):
        self.start_playing("a.wav", "b.wav")
        self.shell.told().clear()
        self.desktop.key("space")
        status = ("PropertiesChanged", PLAYER, {"PlaybackStatus": "Playing"}, [])
        wait_for(lambda: self.shell.told() == [status], "the status")
        self.shell.told().clear()
        self.window.set_value("Posición", 5)
        wait_for(lambda: self.shell.told() == [("Seeked", 5_000_000)], "the leap")

    def test_normal_playing_tells_nothing(self):
        self.start_playing("a.wav")
        playerctl("play")
        self.capture.wait_for_pitch(A)
        self.shell.told().clear()
        wait_for(lambda: self.shell.get("Position") > 2_500_000, "some ticks")
        self.assertEqual(self.shell.told(), [])

    def test_next_track_by_itself_is_told_once(self):
        for name, hertz in (("a.wav", A), ("b.wav", B)):
            self.tone(name, hertz, seconds=2)
        self.start_playing("a.wav", "b.wav")
        playerctl("play")
        wait_for(lambda: self.shell.get("PlaybackStatus") == "Playing", "the first track")
        self.shell.told().clear()
        wait_for(lambda: len(self.shell.told()) == 2, "two more tracks")
        playerctl("loop", "Track")
        wait_for(lambda: len(self.shell.told()) == 5, "the loop and two repeats")
        titles = [told[2]["Metadata"]["xesam:title"] for told in self.shell.told()[:2]]
        self.assertEqual(titles, ["b", "a"])
        changes = [list(told[2]) if told[0] == "PropertiesChanged" else told[0] for told in self.shell.told()]
        self.assertEqual(changes, [["Metadata"], ["Metadata"], ["LoopStatus"], "Seeked", "Seeked"])
        # Without a gap the track already sounds when it is told of: for how long, TrackChangeTest hears.
        for _, position in self.shell.told()[3:]:
            self.assertLess(position, 1_000_000)

    def covers(self):
        return set((self.desktop.folder / "run").glob("lumaverdine-cover-*"))

    def cover(self, name=NAME):
        """The file of a player's cover."""
        url = wait_for(lambda: self.shell.get("Metadata", name).get("mpris:artUrl"), "the cover")
        return pathlib.Path(unquote(urlparse(url).path))

    def test_cover_lives_as_long_as_it_is_shown(self):
        shutil.copy(MEDIA / "id3v2.3.mp3", self.desktop.music / "c.mp3")
        self.start_playing("a.wav", "c.mp3")
        self.assertNotIn("mpris:artUrl", self.shell.get("Metadata"))
        playerctl("next")
        file = self.cover()
        self.assertEqual(file.stat().st_mode & 0o777, 0o600)
        self.assertIn(file.read_bytes(), (MEDIA / "id3v2.3.mp3").read_bytes())
        playerctl("pause")
        playerctl("previous")
        wait_for(lambda: not self.covers(), "the cover to go")
        playerctl("next")
        self.assertNotEqual(self.cover(), file)
        self.program.quit()
        self.assertEqual(self.covers(), set())

    def test_cover_of_a_crashed_player_goes_with_the_next_start(self):
        shutil.copy(MEDIA / "id3v2.3.mp3", self.desktop.music / "c.mp3")
        crashed = self.start_another()
        living = self.start_another()
        self.assertEqual(self.covers(), {crashed.cover, living.cover})
        crashed.process.kill()
        crashed.process.wait()
        wait_for(lambda: not self.shell.sees(), "its name to go")
        self.assertEqual(self.covers(), {crashed.cover, living.cover})
        third = self.start_another()
        self.assertEqual(self.covers(), {living.cover, third.cover})

    def start_another(self):
        """A player that shows a cover, under the name that is left for it."""
        is_second = self.shell.sees()
        program = Program(self.desktop, os.environ["LUMAVERDINE"])
        self.addCleanup(end, program.process)
        name = f"{NAME}.instance{program.process.pid}" if is_second else NAME
        self.shell.wait_for_player(name)
        program.pick("c.mp3")
        program.cover = self.cover(name)
        return program

    def test_second_player_is_another_one(self):
        self.start_playing("a.wav")
        second = Program(self.desktop, os.environ["LUMAVERDINE"])
        self.addCleanup(end, second.process)
        name = f"lumaverdine.instance{second.process.pid}"
        self.shell.wait_for_player(f"{ROOT}.{name}")
        self.assertEqual(playerctl("-p", name, "status"), "Stopped")
        second.quit()
        wait_for(lambda: not self.shell.sees(f"{ROOT}.{name}"), "the second name to go")
        self.assertEqual(playerctl("status"), "Paused")

    def test_player_goes_on_without_the_bus(self):
        self.check_playing_when_the_bus(signal.SIGKILL)

    def test_player_goes_on_beside_a_bus_that_hangs(self):
        self.check_playing_when_the_bus(signal.SIGSTOP)

    def check_playing_when_the_bus(self, gets):
        address = f"unix:path={self.desktop.folder}/bus-{gets}"
        bus = self.desktop.start(
            "dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1", f"--address={address}",
            stdout=subprocess.PIPE)
        first_line(bus)
        self.start_unread(environment={"DBUS_SESSION_BUS_ADDRESS": address})
        self.program.pick("a.wav", "b.wav")
        self.desktop.wait_for_window("Lumaverdine")
        shell = Shell(address)
        shell.wait_for_player()
        shell.ask(PLAYER, "Play")
        self.capture.wait_for_pitch(A)
        bus.send_signal(gets)
        self.desktop.key("ctrl+Right")
        self.capture.wait_for_pitch(B)
        self.desktop.key("space")
        self.capture.wait_for_silence()
        self.assertLess(self.program.quit(), 2)
        self.assertEqual(self.program.process.returncode, 0)

    def test_window_is_raised_and_closed(self):
        self.start_playing("a.wav")
        subprocess.run(["xdotool", "getactivewindow", "windowminimize", "--sync"], check=True)
        self.assertNotEqual(self.desktop.active_window(), "Lumaverdine")
        self.shell.ask(ROOT, "Raise")
        self.desktop.wait_for_window("Lumaverdine")
        self.shell.ask(ROOT, "Quit")
        self.assertEqual(self.program.process.wait(10), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
