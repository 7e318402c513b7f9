"""One Dictation as a user does it, inside a private virtual desktop:

    scripts/desktop python3 demo.py PREFIX RECORDING SCREENSHOT    PREFIX is a build tree, or /usr
"""
import json
import os
import pathlib
import queue
import subprocess
import sys
import threading
import time

import dbus

PATIENCE = 120  # seconds for each event; a slow machine is no failure


def fail(sentence):
    print(f"The demo failed: {sentence}", file=sys.stderr)
    sys.exit(1)


class Tallowfern:
    """The application, followed through its control command."""

    def __init__(self, prefix):
        self.command = str(prefix / "bin/tallowfern")
        self.process = subprocess.Popen([self.command])
        self.reports = queue.Queue()
        threading.Thread(target=self.follow, daemon=True).start()
        self.wait("to start", lambda report: True)

    def follow(self):
        while self.process.poll() is None:  # until it is there to be followed
            with subprocess.Popen([self.command, "status", "--json", "--follow"], stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, text=True) as follower:
                for line in follower.stdout:
                    self.reports.put(json.loads(line))
            time.sleep(0.02)

    def wait(self, what, condition):
        deadline = time.monotonic() + PATIENCE
        while True:
            try:
                report = self.reports.get(timeout=max(0.01, deadline - time.monotonic()))
            except queue.Empty:
                fail(f"Tallowfern took more than {PATIENCE} s {what}")
            if report["status"]["case"] == "error":
                fail(report["status"]["payload"])
            if condition(report):
                return report

    def wait_for(self, case):
        return self.wait(f"to be {case}", lambda report: report["status"]["case"] == case)


class Editor:
    """Mousepad, read as a screen reader reads it."""

    def __init__(self):
        self.process = subprocess.Popen(["mousepad"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--class", "Mousepad", "windowactivate", "--sync"],
                       check=True, timeout=PATIENCE, stdout=subprocess.DEVNULL)
        address = dbus.SessionBus().get_object("org.a11y.Bus", "/org/a11y/bus").GetAddress(dbus_interface="org.a11y.Bus")
        self.bus = dbus.bus.BusConnection(address)
        deadline = time.monotonic() + PATIENCE
        while not (field := self.find_text("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")):
            if time.monotonic() > deadline:
                fail("the editor cannot be read")
            time.sleep(0.05)
        self.field = field

    def find_text(self, service, path):
        accessible = dbus.Interface(self.bus.get_object(service, path), "org.a11y.atspi.Accessible")
        try:
            if accessible.GetRoleName() == "text" and int(accessible.GetState()[0]) & (1 << 12):
                return self.bus.get_object(service, path)
            children = accessible.GetChildren()
        except dbus.DBusException:
            return None
        return next((found for child in children if (found := self.find_text(str(child[0]), str(child[1])))), None)

    def text(self):
        return str(self.field.GetText(0, -1, dbus_interface="org.a11y.atspi.Text"))


def clipboard():
    return subprocess.run(["xclip", "-o", "-selection", "clipboard"], capture_output=True, text=True).stdout


def speak(recording):
    if subprocess.run(["paplay", "-d", "vmic_in", recording]).returncode != 0:
        fail(f"{recording} is no recording that can be played")
    # What people leave before they press a key.
    subprocess.run(["paplay", "--raw", "--rate=16000", "--channels=1", "-d", "vmic_in"], input=bytes(16000), check=True)


def main():
    prefix, recording, screenshot = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
    settings = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "tallowfern"
    settings.mkdir(mode=0o700)
    (settings / "preferences.json").write_text('{"clipboardRestoreEnabled": true, "clipboardRestoreDelay": 1}')

    begun = time.monotonic()

    def step(text):
        nonlocal begun
        now = time.monotonic()
        print(f"{now - begun:7.2f} s  {text}", flush=True)
        begun = now

    editor = Editor()
    step("a text editor stands on the virtual desktop")
    subprocess.run(["xclip", "-selection", "clipboard"], input="what I had copied before", text=True, check=True)
    tallowfern = Tallowfern(prefix)
    step("Tallowfern has started")
    subprocess.run(["xdotool", "key", "alt+space"], check=True)
    tallowfern.wait_for("recording")
    step("Alt+Space: it records")
    speak(recording)
    step(f"{os.path.basename(recording)} was spoken into the microphone")
    subprocess.run(["xdotool", "key", "alt+space"], check=True)
    report = tallowfern.wait_for("success")
    step("Alt+Space: the words were recognised and pasted")
    subprocess.run(["import", "-window", "root", screenshot], check=True)
    tallowfern.wait_for("idle")
    deadline = time.monotonic() + PATIENCE
    while clipboard() != "what I had copied before" and time.monotonic() < deadline:
        time.sleep(0.05)
    step(f"the clipboard holds again: {clipboard()}")
    words = editor.text().strip()
    print(f"editor: {words}")
    print(f"screenshot: {screenshot}")
    subprocess.run([tallowfern.command, "quit"], check=True)
    if words != report["lastTranscript"]:
        fail(f"the words were \"{report['lastTranscript']}\"")


if __name__ == "__main__":
    try:
        main()
    except subprocess.SubprocessError as error:
        fail(str(error))
