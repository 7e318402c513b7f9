"""Programs that text is pasted into, each read by its own means."""
import json
import subprocess
import tempfile
import threading

import dbus

from desk import BUILD, DESKTOP, run, until


class Editor:
    """A window in front with the keyboard, as soon as the constructor returns."""

    def __init__(self, *command, **options):
        self.process = subprocess.Popen(command, stderr=subprocess.DEVNULL, **options)
        self.window = until(f"a window of {command[0]}", self._find_window)
        self.to_front()

    def _find_window(self):
        # The newest one: some have helper windows of an earlier number.
        windows = run("xdotool", "search", "--onlyvisible", "--pid", str(self.process.pid), stderr=subprocess.DEVNULL)
        return windows.split()[-1] if windows else None

    def activate(self):
        run("xdotool", "windowactivate", self.window, check=True)

    def to_front(self):
        self.activate()
        until("the window in front", self.is_in_front)

    def is_in_front(self):
        ask = {"stderr": subprocess.DEVNULL}
        return run("xdotool", "getactivewindow", **ask) == run("xdotool", "getwindowfocus", **ask) == self.window

    def wait_text(self, text):
        try:
            until("the text", lambda: self.text().strip() == text)
        except AssertionError as late:
            raise AssertionError(f"the editor holds {self.text()!r} and not {text!r}") from late

    def end(self):
        self.process.kill()
        self.process.wait()


class Accessible:
    """The focused text of a process, read as a screen reader reads it."""

    STATE_FOCUSED = 12
    CLOSED = ("menu bar", "tool bar", "status bar")

    def __init__(self, pid, roles):
        address = dbus.SessionBus().get_object("org.a11y.Bus", "/org/a11y/bus").GetAddress(dbus_interface="org.a11y.Bus")
        self.bus = dbus.bus.BusConnection(address)
        self.pid, self.roles = pid, roles
        self.field = until("the text that can be read", self._find)

    def text(self):
        return str(self.field.GetText(0, -1, dbus_interface="org.a11y.atspi.Text"))

    def _find(self):
        daemon = dbus.Interface(self.bus.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus"), "org.freedesktop.DBus")
        try:
            for service, path in self._at("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root").GetChildren():
                if int(daemon.GetConnectionUnixProcessID(service)) == self.pid:
                    if found := self._below(service, path):
                        return found
        except dbus.DBusException:  # it came or went while we looked
            pass
        return None

    def _below(self, service, path):
        accessible = self._at(service, path)
        role = str(accessible.GetRoleName())
        if role in self.roles and int(accessible.GetState()[0]) >> self.STATE_FOCUSED & 1:
            return self.bus.get_object(service, path)
        if role in self.CLOSED:
            return None
        return next((found for child in accessible.GetChildren() if (found := self._below(*child))), None)

    def _at(self, service, path):
        return dbus.Interface(self.bus.get_object(service, path), "org.a11y.atspi.Accessible")


class Mousepad(Editor):
    """GTK 3."""

    def __init__(self):
        super().__init__("mousepad", "--disable-server", stdout=subprocess.DEVNULL)
        self.accessible = Accessible(self.process.pid, ("text",))

    def text(self):
        return self.accessible.text()


class GnomeTextEditor(Editor):
    """GTK 4."""

    def __init__(self):
        super().__init__("gnome-text-editor", "--standalone", stdout=subprocess.DEVNULL)
        self.accessible = Accessible(self.process.pid, ("text box",))

    def text(self):
        return self.accessible.text()


class QtEditor(Editor):
    def __init__(self):
        self.changes = [""]
        super().__init__(str(BUILD / "tests/desktop/qt_test_editor"), stdout=subprocess.PIPE)
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.changes.append(json.loads(line)["text"])

    def text(self):
        return self.changes[-1]


class Terminal(Editor):
    """xterm, which puts each key that it gets into a file."""

    def __init__(self):
        self.typed = tempfile.NamedTemporaryFile(dir=DESKTOP, prefix="typed-")
        super().__init__("xterm", "-e", "sh", "-c", f"stty -icanon && exec cat >'{self.typed.name}'")

    def text(self):
        with open(self.typed.name, encoding="utf-8") as typed:
            return typed.read()
