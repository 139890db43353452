"""Reads and presses the player's window through the accessibility bus, as assistive technology does."""

import contextlib
import pathlib

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from desktop import wait_for  # noqa: E402


def children(node):
    for index in range(node.get_child_count()):
        if child := node.get_child_at_index(index):
            yield child


def applications():
    """The programs on the bus; whatever is read of them is asked of them."""
    for application in children(Atspi.get_desktop(0)):
        application.set_cache_mask(Atspi.Cache.NONE)
        yield application


def active_window():
    """The title of the window that has the keyboard, of those that tell; empty for none."""
    windows = (window for application in applications() for window in children(application))
    return next((w.get_name() for w in windows if w.get_state_set().contains(Atspi.StateType.ACTIVE)), "")


def is_shown(node):
    return node.get_state_set().contains(Atspi.StateType.SHOWING)


class Window:
    def __init__(self, program):
        self._process = program.process.pid
        self._controls = {}  # found so far, by name
        self._list = None
        self._application = wait_for(self._find_application, "the program on the accessibility bus")

    def names(self, role):
        """The names of everything of a role ("label", "list item") that shows, in order."""
        return [node.get_name() for node in self.showing() if self.role_of(node) == role]

    def labels(self):
        return self.names("label")

    def rows(self):
        return [node.get_name() for node in self.row_nodes()]

    def current_row(self):
        """The position of the row that reads as the current one; none where none does."""
        return next((index for index, row in enumerate(self.rows()) if ", actual" in row), None)

    def shows(self, text):
        return any(node.get_name() == text for node in self.showing())

    def wait_for(self, text):
        wait_for(lambda: self.shows(text), f"“{text}” in the window")

    def wait_for_current_row(self, index):
        wait_for(lambda: self.current_row() == index, f"row {index} to be the current one")

    def nodes(self):
        """Everything of the program, seen or not."""
        return self._nodes(self._application)

    def node(self, name):
        """The control `name`."""
        return self._node(name)

    def row_nodes(self):
        if not self._list:
            is_list = lambda node: node.get_name() == "Playlist" and self.role_of(node) == "list"
            self._list = next(filter(is_list, self.nodes()))
        return [node for node in children(self._list) if self.role_of(node) == "list item"]

    def row_node(self, index):
        return self.row_nodes()[index]

    def states(self, name):
        """The states of the control `name`, such as "enabled"."""
        return self.states_of(self._node(name))

    def states_of(self, node):
        return {state.value_nick for state in node.get_state_set().get_states()}

    def description(self, name):
        return self._node(name).get_description()

    @staticmethod
    def role_of(node):
        """The role of an object in words. A "button" is a "push button" to the versions of Debian 12."""
        return node.get_role_name().removeprefix("push ")

    def words(self, name):
        """What is read aloud for the value of the slider `name`: its description, before the toolkit's version 6.8."""
        return self.node(name).get_attributes().get("valuetext", self.description(name))

    def choose(self, name):
        """Presses the entry `name` of a menu that is open."""
        entries = (n for n in self.showing() if self.role_of(n) == "menu item" and n.get_name() == name)
        next(entries).do_action(0)

    @contextlib.contextmanager
    def listen(self, *events):
        """What readers are told from now on: a list of (name of the object, first detail), which grows when it is
        looked into."""
        heard = Heard(self._application)
        listener = Atspi.EventListener.new(heard.note)
        for event in events:
            listener.register(event)
        try:
            yield heard
        finally:
            for event in events:
                listener.deregister(event)

    def value(self, name):
        """What the slider `name` stands at."""
        return self._node(name).get_current_value()

    def set_value(self, name, value):
        self._node(name).set_current_value(value)

    def press(self, name):
        """Presses the button `name`."""
        self._node(name).do_action(0)

    def middle_of_row(self, index):
        """The point of the screen in the middle of a row that shows."""
        rows = [node for node in self.showing() if self.role_of(node) == "list item"]
        extents = rows[index].get_extents(Atspi.CoordType.SCREEN)
        return extents.x + extents.width // 2, extents.y + extents.height // 2

    def size(self):
        """The width and the height of the window."""
        extents = self._application.get_child_at_index(0).get_extents(Atspi.CoordType.WINDOW)
        return [extents.width, extents.height]

    def extents(self, name, role):
        """Left, top, width and height in the window of what shows by this name, as soon as it does."""
        found = lambda: [n for n in self.showing() if n.get_name() == name and self.role_of(n) == role]
        x, y, width, height = self.node_extents(wait_for(found, f"“{name}” in the window")[0])
        left, top, *_ = self.node_extents(self._application.get_child_at_index(0))  # a menu is a window of its own
        return x - left, y - top, width, height

    def screen_extents(self, is_wanted):
        """Left, top, width and height on the screen of what shows and is wanted, as soon as it does."""
        found = lambda: [node for node in self.showing() if is_wanted(node)]
        return self.node_extents(wait_for(found, "a piece of the window")[0])

    def node_extents(self, node):
        extents = node.get_extents(Atspi.CoordType.SCREEN)
        return extents.x, extents.y, extents.width, extents.height

    def is_checked(self, name):
        return self._node(name).get_state_set().contains(Atspi.StateType.CHECKED)

    def _node(self, name):
        roles = ("button", "check box", "slider")
        is_wanted = lambda node: node.get_name() == name and self.role_of(node) in roles
        known = self._controls.get(name)
        if not (known and is_shown(known) and is_wanted(known)):
            self._controls[name] = next(node for node in self.showing() if is_wanted(node))
        return self._controls[name]

    def showing(self, parent=None):
        """What shows is part only of what shows."""
        for node in children(parent or self._application):
            if is_shown(node):
                yield node
                yield from self.showing(node)

    def _nodes(self, parent):
        for child in children(parent):
            yield child
            yield from self._nodes(child)

    def _find_application(self):
        for application in applications():
            if self._process in (application.get_process_id(), parent_of(application)):
                return application
        return None


class Heard:
    """What has been told on the bus by one application."""

    def __init__(self, application):
        self._application = application
        self._events = []

    def note(self, event):
        if event.source and event.source.get_application() == self._application:
            self._events.append((event.source.get_name(), event.detail1))

    def __iter__(self):
        while GLib.MainContext.default().iteration(False):
            pass
        return iter(self._events)


def parent_of(application):
    """The process that started an application, such as a tracer; 0 where it is gone."""
    try:
        status = pathlib.Path(f"/proc/{application.get_process_id()}/stat").read_text()
    except OSError:
        return 0
    return int(status.rpartition(")")[2].split()[1])
