"""A desktop's portal, played by a test."""

from gi.repository import GLib

from bus import Service

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
INTERFACES = """
    <interface name="org.freedesktop.portal.FileChooser"><method name="OpenFile">
        <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
        <arg type="o" direction="out"/></method></interface>
    <interface name="org.freedesktop.portal.Inhibit"><method name="Inhibit">
        <arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="a{sv}" direction="in"/>
        <arg type="o" direction="out"/></method></interface>
    <interface name="org.freedesktop.portal.Settings">
    <method name="ReadAll"><arg type="as" direction="in"/><arg type="a{sa{sv}}" direction="out"/></method></interface>"""
REQUEST = """<interface name="org.freedesktop.portal.Request"><method name="Close"/>
    <signal name="Response"><arg type="u"/><arg type="a{sv}"/></signal></interface>"""


class Portal(Service):
    """Takes every question; notes what it is asked, and what of that is taken back. Tells the settings it is given: by
    group and key."""

    def __init__(self, settings=None):
        self.settings = settings or {}
        self.asked = {}  # by handle: the method and its arguments
        self.closed = []  # methods
        super().__init__(NAME, PATH, INTERFACES, self._take)

    def all(self, method):
        return [(handle, arguments) for handle, (asked, *arguments) in self.asked.items() if asked == method]

    def respond(self, handle, response, results):
        self.emit("Response", GLib.Variant("(ua{sv})", (response, results)), handle)

    def _take(self, method, arguments):
        if method == "ReadAll":
            return GLib.Variant("(a{sa{sv}})", (self.settings,))
        if method == "Close":
            self.closed.append(self.asked[self.path][0])
            return None
        sender = self.sender[1:].replace(".", "_")
        handle = f"{PATH}/request/{sender}/{arguments[-1]['handle_token']}"
        self.offer(handle, REQUEST)
        self.asked[handle] = (method, *arguments)
        return GLib.Variant("(o)", (handle,))
