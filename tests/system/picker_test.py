"""The picker of a desktop with a portal, and the toolkit's own without; the portal also keeps the computer awake."""

import unittest

from gi.repository import GLib

from desktop import PICKER_TITLE, wait_for, xdotool
from portal import Portal
from scenario import Scenario

class Picker(Scenario):
    def start_with_portal(self):
        self.portal = Portal()
        self.addCleanup(self.portal.close)
        self.start()

    def ask(self):
        """Ctrl+O; the handle of what the portal is asked, the parent window and the options."""
        before = len(self.portal.all("OpenFile"))
        self.desktop.key("ctrl+o")
        wait_for(lambda: len(self.portal.all("OpenFile")) > before, "the portal to be asked")
        handle, (parent, title, options) = self.portal.all("OpenFile")[-1]
        self.assertEqual(title, PICKER_TITLE)
        return handle, parent, options

    def test_choice_in_the_portal_is_listed_played_and_leaves_no_trace(self):
        paths = [self.tone(name, 440) for name in ("a.wav", "b.wav")]
        before = sorted(self.desktop.home.rglob("*"))
        self.start_with_portal()
        handle, parent, options = self.ask()
        window = int(xdotool("search", "--onlyvisible", "--name", "^Lumaverdine$"))
        self.assertEqual(parent, f"x11:{window:x}")
        self.assertEqual(bytes(options["current_folder"]), bytes(self.desktop.music) + b"\0")
        uris = [path.as_uri() for path in paths]
        self.portal.respond(handle, 0, {"uris": GLib.Variant("as", uris)})
        wait_for(lambda: len(self.window.rows()) == 2, "2 rows")

        self.desktop.key("space")
        wait_for(lambda: self.portal.all("Inhibit"), "suspend to be inhibited")
        (_, (_, flags, options)), = self.portal.all("Inhibit")
        self.assertEqual((flags, options["reason"]), (4, "Reproduciendo música"))
        self.desktop.key("ctrl+Right")
        wait_for(lambda: self.window.current_row() == 1, "the second track")
        self.assertEqual(self.portal.closed, [])
        self.desktop.key("space")
        wait_for(lambda: self.portal.closed == ["Inhibit"], "suspend to be allowed")
        self.program.quit()
        self.assertEqual(sorted(self.desktop.home.rglob("*")), before)

    def test_question_is_asked_once_and_taken_back_by_quitting(self):
        self.start_with_portal()
        self.ask()
        self.desktop.key("ctrl+o")
        self.assertEqual(self.desktop.active_window(), "Lumaverdine")
        self.assertLess(self.program.quit(), 2)
        wait_for(lambda: self.portal.closed == ["OpenFile"], "the question to be taken back")
        self.assertEqual(len(self.portal.all("OpenFile")), 1)
        self.assertEqual(self.program.process.returncode, 0)

    def test_asking_again_shows_the_toolkits_dialog(self):
        self.start()
        window = xdotool("search", "--onlyvisible", "--name", "^Lumaverdine$").strip()
        self.desktop.key("ctrl+o")
        self.desktop.wait_for_window(PICKER_TITLE)
        picker = xdotool("search", "--onlyvisible", "--name", f"^{PICKER_TITLE}$").strip()
        for is_minimized in (False, True):
            with self.subTest(is_minimized=is_minimized):
                if is_minimized:
                    xdotool("windowminimize", picker)
                xdotool("windowactivate", "--sync", window)
                self.desktop.wait_for_window("Lumaverdine")
                self.desktop.key("ctrl+o")
                self.desktop.wait_for_window(PICKER_TITLE)
        self.assertEqual(self.desktop.visible_windows(), 2)
        xdotool("windowactivate", "--sync", window)
        self.assertLess(self.program.quit(), 2)
        self.assertEqual(self.program.process.returncode, 0)


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
